// The tag keeps its version and all frames that no changed key stands for, byte for byte; a changed one is
// replaced where it stands, new ones go behind the last. Documents in private frames are patched as their
// chunks would be.
#include <algorithm>
#include <map>
#include <string>
#include <tuple>

#include "metadata/patch/patch_chunks.h"
#include "metadata/read/id3_entries.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/id3_change.h"
#include "metadata/write/id3_entry_writer.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr uint8_t extendedHeaderFlag = 0x40, footerFlag = 0x10;
constexpr size_t flagsOffset = 5, sizeOffset = 6;

using Bytes = std::span<const uint8_t>;

// A zero behind every 255 that could be taken for the start of something else.
void AppendUnsynchronised(ChunkBody& to, Bytes frames) {
    for (size_t i = 0; i < frames.size(); ++i) {
        to.push_back(frames[i]);
        if (frames[i] != 0xFF) continue;
        if (i + 1 == frames.size() || frames[i + 1] == 0 || frames[i + 1] >= 0xE0) to.push_back(0);
    }
}

class TagPatch {
  public:
    TagPatch(const PatchInput& input, int version)
        : input_(input), version_(version), writer_{version, input.file, input.unsynchronised} {
        ReadId3Tag(input.body, own_, 0);
        change_ = Id3ChangeFor(version, input.change, own_);
    }

    Patched Done();

  private:
    void Visit(const Id3Frame& frame, const Id3Entry& entry, Bytes whole);
    void Keep(Bytes whole) { out_.insert(out_.end(), whole.begin(), whole.end()); }
    void Put(const Id3Frames& frames);
    void PutDocument(const Id3Frame& frame, const Id3Entry& entry, Bytes whole);
    void PutNew();
    [[nodiscard]] bool GivesWay(const Id3Frame& frame, const Id3Entry& entry) const;
    [[nodiscard]] size_t HeadBytes(size_t firstFrame);

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
        Keep(frames);
}

// A compressed or encrypted text makes way for the entry of its id.
bool TagPatch::GivesWay(const Id3Frame& frame, const Id3Entry& entry) const {
    if (entry.kind != Id3Entry::Kind::Foreign || !frame.data.empty() || !frame.id.starts_with('T'))
        return false;
    return !change_.Value(std::string(id3Prefix).append(frame.id)).empty();
}

void TagPatch::Visit(const Id3Frame& frame, const Id3Entry& entry, Bytes whole) {
    if (entry.kind == Id3Entry::Kind::Ixml || entry.kind == Id3Entry::Kind::Xmp)
        return PutDocument(frame, entry, whole);
    if (GivesWay(frame, entry)) return;
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

// What stands before the frames. A check sum in the extended header would be wrong: then it goes.
size_t TagPatch::HeadBytes(size_t firstFrame) {
    const bool hasExtended =
        version_ > 2 && (input_.body[flagsOffset] & extendedHeaderFlag) && firstFrame >= 16;
    const uint8_t flags = input_.body[14 + (version_ == 4 ? 1 : 0)];
    return hasExtended && (flags & (version_ == 4 ? 0x20 : 0x80)) ? id3HeaderBytes : firstFrame;
}

Patched TagPatch::Done() {
    Id3EntryWalk walk(input_.body, 0);
    size_t position = walk.Frames().Position();
    const size_t headBytes = input_.body.size() > 16 ? HeadBytes(position) : position;
    Keep(input_.body.first(headBytes));
    if (headBytes < position) out_[flagsOffset] &= static_cast<uint8_t>(~extendedHeaderFlag);
    Id3Frame frame;
    Id3Entry entry;
    while (walk.Next(frame, entry)) {
        Visit(frame, entry, input_.body.subspan(position, frame.bodyEnd - position));
        position = walk.Frames().Position();
    }
    PutNew();
    if (out_.size() == headBytes && headBytes == id3HeaderBytes) return ChunkBody();
    const size_t framesEnd = out_.size();
    Keep(input_.body.subspan(position));
    KeepParity(out_, input_.body.size(), framesEnd);
    if (out_.size() - id3HeaderBytes >= syncsafeLimit) return std::nullopt;
    WriteSyncsafe(&out_[sizeOffset], static_cast<uint32_t>(out_.size() - id3HeaderBytes));
    return std::move(out_);
}

}  // namespace

ChunkBody BlankId3() {
    return {'I', 'D', '3', 4, 0, 0, 0, 0, 0, 0};
}

Patched PatchId3(const PatchInput& input) {
    const int version = Id3FrameWalk(input.body).Version();
    if (version == 0 || (input.body[flagsOffset] & footerFlag)) return std::nullopt;
    return TagPatch(input, version).Done();
}

}  // namespace vantor
