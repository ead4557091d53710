// The "id3 " chunk: an ID3v2 tag, not unsynchronised, of even size. It has the version of the old tag; 2.4,
// in UTF-8, when there is none, or when there are several of different versions.
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

#include "metadata/read/id3_entries.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/id3_change.h"
#include "metadata/write/id3_entry_writer.h"
#include "metadata/write/id3_frame_ids.h"
#include "metadata/write/id3_old_frame.h"

namespace vantor {

namespace {

using PendingEntries = std::map<std::string_view, std::string_view>;  // key, value

struct NewEntry {
    Id3NewEntry key;
    std::string_view value;
};

PendingEntries AllOf(const MetadataStore& store) {
    PendingEntries entries;
    store.ForEach([&](const MetadataEntry& entry) { entries.emplace(entry.key, entry.value); });
    return entries;
}

// Two descriptors of one picture, wherever it lies.
bool DescribesSamePicture(std::string_view left, std::string_view right) {
    auto first = ParseDescriptor(left), second = ParseDescriptor(right);
    if (!first || !second) return false;
    first->offset = second->offset = 0;
    return DescriptorText(*first) == DescriptorText(*second);
}

// Nothing of such a document is in the store.
bool IsRefusedDocument(const Id3Entry& entry) {
    MetadataStore scratch;
    if (entry.kind == Id3Entry::Kind::Ixml) return !ReadIxml(entry.document, scratch);
    return entry.kind == Id3Entry::Kind::Xmp && !ReadXmp(entry.document, scratch);
}

// True for a frame whose value in the store only says that it is there.
bool HoldsMoreThanItsValue(const Id3Frame& frame, const Id3Entry& entry) {
    return frame.id == "APIC" || frame.id == "CHAP" || frame.id == "CTOC" || entry.value == id3BinaryData;
}

// The version of the old tags; 4 when they differ, or when there is none.
int CommonVersion(const OldId3Tags& old) {
    int version = 0;
    for (const auto& body : old.bodies) {
        const int own = Id3FrameWalk(body).Version();
        version = version == 0 || version == own ? own : 4;
    }
    return version == 0 ? 4 : version;
}

// The entries of the store as a tag of that version holds them.
MetadataStore EntriesFor(int version, const MetadataStore& store, const OldId3Tags& old) {
    MetadataStore own, change;
    for (const auto& body : old.bodies)
        ReadId3Tag(body, own, 0);
    store.ForEach([&](const MetadataEntry& entry) {
        if (entry.key.starts_with(id3Prefix) && own.Value(entry.key) != entry.value)
            change.Set(entry.key, entry.value);
    });
    own.ForEach([&](const MetadataEntry& entry) {
        if (!store.Has(entry.key)) change.Set(entry.key, {});
    });
    MetadataStore wanted;
    own.ForEach([&](const MetadataEntry& entry) {
        if (entry.key.starts_with(id3Prefix)) wanted.Set(entry.key, entry.value);
    });
    Id3ChangeFor(version, change, own).ForEach([&](const MetadataEntry& entry) {
        if (entry.value.empty())
            wanted.Remove(entry.key);
        else
            wanted.Set(entry.key, entry.value);
    });
    return wanted;
}

class TagMerge {
  public:
    TagMerge(int version, const MetadataStore& entries, FileReader* source, const OldId3Tags& old)
        : version_(version),
          store_(entries),
          writer_{version, source, old.unsynchronised},
          old_(old),
          pending_(AllOf(entries)) {}

    void TakeOverAll();
    void AppendNewEntries();
    [[nodiscard]] const Id3Frames& Frames() const { return frames_; }

  private:
    void TakeOver(std::span<const uint8_t> oldTag);
    // `once`: not when another tag has brought the same frame.
    void KeepFrame(const Id3FrameWalk& walk, const Id3Frame& frame, bool once);
    void MergeEntry(const Id3FrameWalk& walk, const Id3Frame& frame, const Id3Entry& entry);
    [[nodiscard]] bool HasSuccessor(std::string_view id) const;

    int version_;
    const MetadataStore& store_;
    Id3EntryWriter writer_;
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
    if (!AppendOldFrame(frames_, version_, walk, frame) || old_.bodies.size() < 2) return;
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
    if (!isUnchanged && writer_.Append(frames_, entry.base, value, &frame)) return;
    KeepFrame(walk, frame, false);
    if (HoldsMoreThanItsValue(frame, entry)) kept_.insert(entry.key);
}

// In the order of their numbers, which is not that of their keys from 1000 on.
void TagMerge::AppendNewEntries() {
    std::vector<NewEntry> entries;
    for (const auto& [key, value] : pending_)
        entries.push_back({SplitId3Number(key, store_), value});
    std::sort(entries.begin(), entries.end(), [](const NewEntry& left, const NewEntry& right) {
        return std::tie(left.key.base, left.key.number, left.value) <
               std::tie(right.key.base, right.key.number, right.value);
    });
    for (const auto& [key, value] : entries) {
        const std::string_view id = SplitId3Key(key.base).frameId;
        if (id.size() != 3 || !HasSuccessor(id)) writer_.Append(frames_, key.base, value);
    }
}

}  // namespace

int BuildId3Chunk(ChunkImage& image, const MetadataStore& store, FileReader* source, const OldId3Tags& old) {
    const int version = CommonVersion(old);
    const auto entries = EntriesFor(version, store, old);
    TagMerge merge(version, entries, source, old);
    merge.TakeOverAll();
    merge.AppendNewEntries();
    const Id3Frames& frames = merge.Frames();
    if (frames.empty()) return 0;

    // One zero of padding makes an odd tag even: readers differ on who owns the pad byte of a chunk.
    std::vector<uint8_t> tag = {'I', 'D', '3', static_cast<uint8_t>(version), 0, 0, 0, 0, 0, 0};
    tag.insert(tag.end(), frames.begin(), frames.end());
    if (tag.size() % 2 != 0) tag.push_back(0);
    WriteSyncsafe(&tag[6], static_cast<uint32_t>(tag.size() - id3HeaderBytes));
    const size_t before = image.size();
    AppendChunk(image, "id3 ", tag.data(), tag.size());
    return static_cast<int>(image.size() - before);
}

}  // namespace vantor
