#include "metadata/read/id3_entries.h"
#include "metadata/read/read_metadata.h"

namespace vantor {

namespace {

int StoreEntry(const Id3Entry& entry, MetadataStore& store) {
    const size_t before = store.Count();
    switch (entry.kind) {
        case Id3Entry::Kind::Value:
            store.Set(entry.key, entry.value);
            return 1;
        case Id3Entry::Kind::Xmp:
            ReadXmp(entry.document, store);
            break;
        case Id3Entry::Kind::Ixml:
            ReadIxml(entry.document, store);
            break;
        case Id3Entry::Kind::Nothing:
        case Id3Entry::Kind::Foreign:
            break;
    }
    return static_cast<int>(store.Count() - before);
}

}  // namespace

int ReadId3Tag(std::span<const uint8_t> tag, MetadataStore& store, int64_t fileOffset) {
    Id3EntryWalk walk(tag, fileOffset);
    Id3Frame frame;
    Id3Entry entry;
    int stored = 0;
    while (walk.Next(frame, entry))
        stored += StoreEntry(entry, store);
    if (walk.ChapterCount() > 0) {
        store.Set(id3ChapterKey, std::to_string(walk.ChapterCount()) + " chapters");
        ++stored;
    }
    return stored;
}

bool ReadId3Chunk(std::span<const uint8_t> chunk, MetadataStore& store, int64_t fileOffset) {
    if (chunk.size() < id3HeaderBytes + 1) return false;
    const auto size = ReadSyncsafe(&chunk[6]);
    if (!size) return false;
    const size_t bytes = chunk.size() - id3HeaderBytes;
    // An odd tag may count its pad byte to the chunk.
    const bool hasPad = *size % 2 != 0 && bytes == size_t{*size} + 1;
    if (bytes != *size && !hasPad) return false;
    ReadId3Tag(chunk, store, fileOffset);
    return true;
}

}  // namespace vantor
