// The tag keeps its version and all frames that no changed key stands for, byte for byte; a changed one is
// replaced where it stands, new ones go behind the last. Documents in private frames are patched as their
// chunks would be.
#include <algorithm>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "metadata/patch/id3_extended_header.h"
#include "metadata/patch/patch_chunks.h"
#include "metadata/read/id3_entries.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/id3_change.h"
#include "metadata/write/id3_entry_writer.h"

namespace vantor {

namespace {

constexpr uint8_t extendedHeaderFlag = 0x40, footerFlag = 0x10;
constexpr size_t flagsOffset = 5, sizeOffset = 6;

using Bytes = std::span<const uint8_t>;

// One of version 2.4 that is too short to be one: the frames would begin within its size field.
bool OverlapsExtendedHeader(Bytes tag) {
    constexpr size_t leastBytes = 6;
    return tag[3] == 4 && (tag[flagsOffset] & extendedHeaderFlag) &&
           Id3FrameWalk(tag).Position() < id3HeaderBytes + leastBytes;
}

bool IsZero(uint8_t byte) {
    return byte == 0;
}

// The footer repeats the header (ID3v2.4.0, section 3.4), so it would have to follow every change; no reader
// of a chunk needs it. It stands behind the frames, or behind padding that should not be there.
Bytes WithoutFooter(Bytes tag, Bytes rest) {
    const std::string_view stored(reinterpret_cast<const char*>(rest.data()), rest.size());
    const size_t start = std::min(stored.find_first_not_of('\0'), stored.size());
    const bool isFooter = (tag[flagsOffset] & footerFlag) && stored.substr(start).starts_with("3DI");
    return isFooter ? rest.first(start) : rest;
}

// A zero that comes to stand behind 0xFF would be taken for one of unsynchronisation.
void KeepZero(ChunkBody& front, Bytes behind) {
    if (!front.empty() && front.back() == 0xFF && !behind.empty() && behind[0] == 0) front.push_back(0);
}

class TagPatch {
  public:
    TagPatch(const PatchInput& input, int version)
        : input_(input),
          version_(version),
          writer_{version, input.file, input.unsynchronised, input.newPicture} {
        ReadId3Tag(input.body, own_, 0);
        change_ = Id3ChangeFor(version, input.change, own_);
    }

    Patched Done();

  private:
    void Visit(const Id3Frame& frame, const Id3Entry& entry, Bytes whole);
    void Add(Bytes bytes) { out_.insert(out_.end(), bytes.begin(), bytes.end()); }
    void Keep(Bytes whole);
    void Put(const Id3Frames& frames);
    void PutDocument(const Id3Frame& frame, const Id3Entry& entry, Bytes whole);
    void PutNew();
    [[nodiscard]] bool GivesWay(const Id3Frame& frame) const;
    void PutHead(const Id3TagParts& old, size_t framesEnd);
    [[nodiscard]] size_t BehindStuffing(size_t end) const;

    const PatchInput& input_;
    int version_;
    Id3EntryWriter writer_;
    MetadataStore own_, change_;
    std::map<std::string, bool, std::less<>> done_;  // keys that a frame of the tag stood for
    ChunkBody out_;
};

void TagPatch::Put(const Id3Frames& frames) {
    if (IsUnsynchronised(input_.body))
        AppendUnsynchronised(out_, frames);
    else
        Add(frames);
}

// A piece of the old tag.
void TagPatch::Keep(Bytes whole) {
    if (IsUnsynchronised(input_.body)) KeepZero(out_, whole);
    Add(whole);
}

// A compressed or encrypted text makes way for the entry of its id.
bool TagPatch::GivesWay(const Id3Frame& frame) const {
    if (!frame.data.empty() || !frame.id.starts_with('T')) return false;
    return !change_.Value(std::string(id3Prefix).append(frame.id)).empty();
}

void TagPatch::Visit(const Id3Frame& frame, const Id3Entry& entry, Bytes whole) {
    if (entry.kind == Id3Entry::Kind::Ixml || entry.kind == Id3Entry::Kind::Xmp)
        return PutDocument(frame, entry, whole);
    if (GivesWay(frame)) return;
    const auto* value = entry.kind == Id3Entry::Kind::Value ? change_.Get(entry.key) : nullptr;
    if (value != nullptr) done_[entry.key] = true;
    const auto* chapters = frame.id == "CHAP" ? change_.Get(id3ChapterKey) : nullptr;
    if ((value != nullptr && value->empty()) || (chapters != nullptr && chapters->empty())) return;
    Id3Frames frames;
    if (value != nullptr && writer_.Append(frames, entry.base, *value, &frame))
        Put(frames);
    else
        Keep(whole);
}

// Owner and its zero, then the document.
void TagPatch::PutDocument(const Id3Frame& frame, const Id3Entry& entry, Bytes whole) {
    const bool isIxml = entry.kind == Id3Entry::Kind::Ixml;
    const PatchInput document{entry.document, input_.change, input_.entriesBefore};
    MetadataStore scratch;
    const bool isRead = isIxml ? ReadIxml(entry.document, scratch) : ReadXmp(entry.document, scratch);
    const auto patched = !isRead ? std::nullopt : isIxml ? PatchIxml(document) : PatchXmp(document);
    if (!patched || std::ranges::equal(*patched, entry.document)) return Keep(whole);
    if (patched->empty()) return;
    const size_t ownerBytes = frame.body.size() - entry.document.size();
    ChunkBody body(frame.body.begin(), frame.body.begin() + static_cast<std::ptrdiff_t>(ownerBytes));
    body.insert(body.end(), patched->begin(), patched->end());
    Id3Frames frames;
    if (AppendId3Frame(frames, version_, frame.id, body, frame.status, frame.format))
        Put(frames);
    else
        Keep(whole);
}

void TagPatch::PutNew() {
    using Entry = std::tuple<std::string_view, uint64_t, std::string_view>;  // key without number, it, value
    std::vector<Entry> entries;
    MetadataStore has;
    has.AddMissing(own_);
    has.AddMissing(change_);
    change_.ForEach([&](const MetadataEntry& entry) {
        if (!entry.key.starts_with(id3Prefix) || entry.value.empty() || done_.contains(entry.key)) return;
        const auto [base, number] = SplitId3Number(entry.key, has);
        entries.emplace_back(base, number, entry.value);
    });
    std::ranges::sort(entries);
    for (const auto& [base, number, value] : entries) {
        Id3Frames frames;
        if (writer_.Append(frames, base, value)) Put(frames);
    }
}

// In front of what is there: the frames, up to `framesEnd`, and the rest.
void TagPatch::PutHead(const Id3TagParts& old, size_t framesEnd) {
    const Bytes out = out_;
    auto head = Id3HeadFor({{}, out.first(framesEnd), out.subspan(framesEnd)}, old);
    if (old.frames.size() + old.rest.size() + old.head.size() < input_.body.size())
        head[flagsOffset] &= static_cast<uint8_t>(~footerFlag);
    if (IsUnsynchronised(head)) KeepZero(head, out_);
    out_.insert(out_.begin(), head.begin(), head.end());
    WriteSyncsafe(&out_[sizeOffset], static_cast<uint32_t>(out_.size() - id3HeaderBytes));
}

// The zero that keeps a last byte of 0xFF from being taken for a synchronisation goes with what it follows.
size_t TagPatch::BehindStuffing(size_t end) const {
    const auto& body = input_.body;
    const bool isStuffed =
        IsUnsynchronised(body) && end < body.size() && body[end - 1] == 0xFF && body[end] == 0;
    return end + isStuffed;
}

Patched TagPatch::Done() {
    Id3EntryWalk walk(input_.body, 0);
    const size_t first = BehindStuffing(walk.Frames().Position());  // an extended header, too
    size_t position = first;
    Id3Frame frame;
    Id3Entry entry;
    while (walk.Next(frame, entry)) {
        const size_t end = BehindStuffing(frame.bodyEnd);
        Visit(frame, entry, input_.body.subspan(position, end - position));
        position = std::max(walk.Frames().Position(), end);
    }
    PutNew();
    if (out_.empty()) return ChunkBody();
    const size_t framesEnd = out_.size();
    const auto rest = WithoutFooter(input_.body, input_.body.subspan(position));
    Keep(rest);
    // A frame that is cut off must not become whole.
    if (std::ranges::all_of(rest, IsZero)) KeepParity(out_, input_.body.size() - first, framesEnd);
    if (out_.size() + first - id3HeaderBytes >= syncsafeLimit) return std::nullopt;
    PutHead({input_.body.first(first), input_.body.subspan(first, position - first), rest}, framesEnd);
    return std::move(out_);
}

}  // namespace

ChunkBody BlankId3() {
    return {'I', 'D', '3', 4, 0, 0, 0, 0, 0, 0};
}

Patched PatchId3(const PatchInput& input) {
    const int version = Id3FrameWalk(input.body).Version();
    if (version == 0 || OverlapsExtendedHeader(input.body)) return std::nullopt;
    return TagPatch(input, version).Done();
}

}  // namespace vantor
