// The "id3 " chunk: an ID3v2.4 tag in UTF-8, not unsynchronised, of even size.
//
// The frames of the old tag come first and in their order: unchanged where the store still holds their key
// and value, made anew where the value has changed, left out where the key is gone. Frames without a key are
// taken over as they stand; those of iXML and XMP documents are left out, for a RIFF file has chunks of its
// own for them and would read every document twice; one that its reader refuses is kept. Entries without an
// old frame follow.
//
// Of several old tags the last comes first, so that its frames keep their keys: it is the one whose values
// the store holds. Of those before it follow the frames whose key it does not have, and those of which the
// store holds no more than that they are there; what is the same in both stands once.
#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "metadata/key_table.h"
#include "metadata/read/id3_entries.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/id3_frame_ids.h"
#include "metadata/write/id3_old_frame.h"
#include "text/text.h"

namespace vantor {

namespace {

using PendingEntries = std::map<std::string_view, std::string_view>;  // key, value

struct NewEntry {
    std::string_view base;  // the key without its running number
    uint64_t number = 1;
    std::string_view value;
};

PendingEntries Id3EntriesOf(const MetadataStore& store) {
    PendingEntries entries;
    store.ForEach([&](const MetadataEntry& entry) {
        if (entry.key.starts_with(id3Prefix) && !entry.value.empty()) entries.emplace(entry.key, entry.value);
    });
    return entries;
}

// A number counts frames of the key before it, when there is such a key or none of its frames has a
// description that could end so.
NewEntry SplitNumber(std::string_view key, std::string_view value, const MetadataStore& store) {
    const size_t colon = key.rfind(':');
    if (colon < id3Prefix.size() || !IsRunningNumber(key.substr(colon + 1))) return {key, 1, value};
    const std::string_view base = key.substr(0, colon), id = SplitId3Key(key).frameId;
    const bool isPlain = SplitId3Key(base).qualifier.empty() && id != "TXXX" && id != "WXXX" && id != "UFID";
    if (!isPlain && !store.Has(base)) return {key, 1, value};
    return {base, UnsignedDecimal(key.substr(colon + 1)), value};
}

// Two descriptors of one picture, wherever it lies.
bool DescribesSamePicture(std::string_view left, std::string_view right) {
    auto first = ParseDescriptor(left), second = ParseDescriptor(right);
    if (!first || !second) return false;
    first->offset = second->offset = 0;
    return DescriptorText(*first) == DescriptorText(*second);
}

std::optional<std::vector<uint8_t>> ReadRange(FileReader* source, uint64_t offset, uint64_t length) {
    if (!source || !source->IsOpen() || length > maxId3FrameBytes) return std::nullopt;
    const auto fileBytes = static_cast<uint64_t>(source->Size());
    if (offset > fileBytes || length > fileBytes - offset) return std::nullopt;
    std::vector<uint8_t> bytes(static_cast<size_t>(length));
    if (!source->Seek(static_cast<int64_t>(offset))) return std::nullopt;
    if (!source->ReadExactly(bytes.data(), static_cast<int64_t>(length))) return std::nullopt;
    return bytes;
}

// Nothing of such a document is in the store.
bool IsRefusedDocument(const Id3Entry& entry) {
    MetadataStore scratch;
    if (entry.kind == Id3Entry::Kind::Ixml) return !ReadIxml(entry.document, scratch);
    return entry.kind == Id3Entry::Kind::Xmp && !ReadXmp(entry.document, scratch);
}

// Takes the zeros out that unsynchronisation put behind bytes of 255.
void Synchronise(std::vector<uint8_t>& bytes) {
    uint8_t before = 0;
    std::erase_if(bytes, [&](uint8_t byte) { return std::exchange(before, byte) == 0xFF && byte == 0; });
}

// True for a frame whose value in the store only says that it is there.
bool HoldsMoreThanItsValue(const Id3Frame& frame, const Id3Entry& entry) {
    return frame.id == "APIC" || frame.id == "CHAP" || frame.id == "CTOC" || entry.value == id3BinaryData;
}

class TagMerge {
  public:
    TagMerge(const MetadataStore& store, FileReader* source, const OldId3Tags& old)
        : store_(store), source_(source), old_(old), pending_(Id3EntriesOf(store)) {}

    void TakeOverAll();
    void AppendNewEntries();
    [[nodiscard]] const Id3Frames& Frames() const { return frames_; }

  private:
    void TakeOver(std::span<const uint8_t> oldTag);
    // `once`: not when another tag has brought the same frame.
    void KeepFrame(const Id3FrameWalk& walk, const Id3Frame& frame, bool once);
    std::optional<std::vector<uint8_t>> PictureAt(const PictureDescriptor& descriptor);
    void MergeEntry(const Id3FrameWalk& walk, const Id3Frame& frame, const Id3Entry& entry);
    bool AppendEntry(std::string_view base, std::string_view value);
    [[nodiscard]] bool HasSuccessor(std::string_view id) const;

    const MetadataStore& store_;
    FileReader* source_;
    const OldId3Tags& old_;
    PendingEntries pending_;       // without a frame so far
    std::set<std::string> kept_;   // keys whose frames stand as they were and may stand again, of another tag
    std::set<std::string> there_;  // the bytes of frames taken over that another tag may hold too
    Id3Frames frames_;
};

void TagMerge::TakeOverAll() {
    for (auto tag = old_.bodies.rbegin(); tag != old_.bodies.rend(); ++tag)
        TakeOver(*tag);
}

void TagMerge::TakeOver(std::span<const uint8_t> oldTag) {
    Id3EntryWalk walk(oldTag, 0);
    Id3Frame frame;
    Id3Entry entry;
    while (walk.Next(frame, entry)) {
        if (entry.kind == Id3Entry::Kind::Value) MergeEntry(walk.Frames(), frame, entry);
        const bool isForeign = entry.kind == Id3Entry::Kind::Foreign || IsRefusedDocument(entry);
        if (isForeign && !(frame.data.empty() && HasSuccessor(frame.id)))
            KeepFrame(walk.Frames(), frame, true);
    }
}

void TagMerge::KeepFrame(const Id3FrameWalk& walk, const Id3Frame& frame, bool once) {
    const size_t start = frames_.size();
    if (!AppendOldFrame(frames_, walk, frame) || old_.bodies.size() < 2) return;
    const bool isNew = there_.emplace(frames_.begin() + static_cast<ptrdiff_t>(start), frames_.end()).second;
    if (once && !isNew) frames_.resize(start);
}

// A compressed or encrypted text, or one that has an id of version 2.2, gives way to the entry of its present
// id.
bool TagMerge::HasSuccessor(std::string_view id) const {
    if (!id.starts_with('T') || id == "TXXX") return false;
    return store_.Has(std::string(id3Prefix).append(FrameId24(id)));
}

void TagMerge::MergeEntry(const Id3FrameWalk& walk, const Id3Frame& frame, const Id3Entry& entry) {
    const auto found = pending_.find(entry.key);
    if (found == pending_.end()) {
        if (kept_.contains(entry.key)) KeepFrame(walk, frame, true);
        return;
    }
    const std::string_view value = found->second;
    pending_.erase(found);
    if (frame.id == "CHAP" && !store_.Has(id3ChapterKey)) return;
    if (frame.id.size() == 3 && HasSuccessor(frame.id)) return;
    const bool isUnchanged =
        frame.id == "APIC" ? DescribesSamePicture(value, entry.value) : value == entry.value;
    if (!isUnchanged && AppendEntry(entry.base, value)) return;
    KeepFrame(walk, frame, false);
    if (HoldsMoreThanItsValue(frame, entry)) kept_.insert(entry.key);
}

std::optional<std::vector<uint8_t>> TagMerge::PictureAt(const PictureDescriptor& descriptor) {
    auto picture = ReadRange(source_, descriptor.offset, descriptor.length);
    const auto tag = std::ranges::upper_bound(old_.unsynchronised, descriptor.offset, {}, &FileRange::end);
    const bool isInside = tag != old_.unsynchronised.end() && descriptor.offset >= tag->start;
    if (picture && isInside) Synchronise(*picture);
    return picture;
}

bool TagMerge::AppendEntry(std::string_view base, std::string_view value) {
    if (!IsPictureKey(base)) {
        const auto [id, qualifier] = SplitId3Key(base);
        return AppendValueFrame(frames_, id, qualifier, value);
    }
    const auto descriptor = ParseDescriptor(value);
    if (!descriptor) return false;
    const auto picture = PictureAt(*descriptor);
    return picture && AppendPictureFrame(frames_, *descriptor, *picture);
}

// In the order of their numbers, which is not that of their keys from 1000 on.
void TagMerge::AppendNewEntries() {
    std::vector<NewEntry> entries;
    for (const auto& [key, value] : pending_)
        entries.push_back(SplitNumber(key, value, store_));
    std::sort(entries.begin(), entries.end(), [](const NewEntry& left, const NewEntry& right) {
        return std::tie(left.base, left.number, left.value) < std::tie(right.base, right.number, right.value);
    });
    for (const auto& entry : entries) {
        const std::string_view id = SplitId3Key(entry.base).frameId;
        if (id.size() != 3 || !HasSuccessor(id)) AppendEntry(entry.base, entry.value);
    }
}

}  // namespace

int BuildId3Chunk(ChunkImage& image, const MetadataStore& store, FileReader* source, const OldId3Tags& old) {
    TagMerge merge(store, source, old);
    merge.TakeOverAll();
    merge.AppendNewEntries();
    const Id3Frames& frames = merge.Frames();
    if (frames.empty()) return 0;

    // One zero of padding makes an odd tag even: readers differ on who owns the pad byte of a chunk.
    std::vector<uint8_t> tag = {'I', 'D', '3', 4, 0, 0, 0, 0, 0, 0};
    tag.insert(tag.end(), frames.begin(), frames.end());
    if (tag.size() % 2 != 0) tag.push_back(0);
    WriteSyncsafe(&tag[6], static_cast<uint32_t>(tag.size() - id3HeaderBytes));
    const size_t before = image.size();
    AppendChunk(image, "id3 ", tag.data(), tag.size());
    return static_cast<int>(image.size() - before);
}

}  // namespace vantor
