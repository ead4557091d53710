#include "edit/old_chunks.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "metadata/read/id3_entries.h"

namespace vantor {

namespace {

bool IsEqual(const MetadataStore& left, const MetadataStore& right) {
    bool isEqual = left.Count() == right.Count();
    left.ForEach([&](const MetadataEntry& entry) {
        const auto* value = right.Get(entry.key);
        isEqual = isEqual && value && *value == entry.value;
    });
    return isEqual;
}

// The iXML documents of a file, those of its chunks before those in its ID3 tags.
class Documents {
  public:
    explicit Documents(OldChunks& old) : old_(old) {}

    void TakeChunk(const ChunkBody& body) {
        ReadIxml(body, chunks_.emplace_back());
        ReadIxml(body, old_.documentEntries);
    }
    void TakeTag(const ChunkBody& body) {
        Id3EntryWalk walk(body, 0);
        Id3Frame frame;
        Id3Entry entry;
        while (walk.Next(frame, entry))
            if (entry.kind == Id3Entry::Kind::Ixml) TakeFrame(entry.document);
    }

  private:
    void TakeFrame(std::span<const uint8_t> document) {
        MetadataStore entries;
        if (!ReadIxml(document, entries)) return;
        const bool isThere =
            std::ranges::any_of(chunks_, [&](const MetadataStore& chunk) { return IsEqual(chunk, entries); });
        old_.repeatsDocument = old_.repeatsDocument || isThere;
        if (!isThere) ReadIxml(document, old_.documentEntries);
    }

    OldChunks& old_;
    std::vector<MetadataStore> chunks_;
};

void NoteDocuments(const TagChunks& chunks, OldChunks& old) {
    Documents documents(old);
    for (const auto& chunk : chunks.list)
        if (chunk.Is("IXML") && !chunk.isRefused) documents.TakeChunk(chunk.body);
    for (const auto& chunk : chunks.list)
        if (chunk.Is("ID3") && !chunk.isRefused) documents.TakeTag(chunk.body);
}

// A chunk of nothing but zeros has been blanked.
void TakeRefused(const TagChunk& chunk, OldChunks& old) {
    if (std::ranges::any_of(chunk.body, [](uint8_t byte) { return byte != 0; }))
        AppendChunk(chunk.Is("IXML") ? old.refusedDocuments : old.refused, chunk.id, chunk.body.data(),
                    chunk.body.size());
}

void Take(TagChunk chunk, OldChunks& old, std::vector<ChunkBody>& refusedTags) {
    const bool isTag = chunk.Is("ID3") && Id3FrameWalk(chunk.body).Version() != 0;
    if (!chunk.isRefused && (isTag || !chunk.Is("ID3"))) {
        old.bodies[chunk.scheme->name].push_back(std::move(chunk.body));
    } else if (isTag && IsWalkedWhole(chunk.body)) {
        MetadataStore entries;
        ReadId3Tag(chunk.body, entries, chunk.bodyStart);
        old.refusedTagEntries.AddMissing(entries);
        refusedTags.push_back(std::move(chunk.body));
    } else {
        TakeRefused(chunk, old);
    }
}

}  // namespace

OldChunks OldChunksOf(TagChunks chunks) {
    OldChunks old;
    NoteDocuments(chunks, old);
    std::vector<ChunkBody> refusedTags;
    for (auto& chunk : chunks.list)
        if (chunk.scheme->replaced == Replaced::withTags) Take(std::move(chunk), old, refusedTags);
    // The values of refused tags count less than those of the tags that the store was read from, and less
    // than those of the refused ones before it.
    std::ranges::reverse(refusedTags);
    auto& tags = old.bodies["ID3"];
    tags.insert(tags.begin(), std::move_iterator(refusedTags.begin()), std::move_iterator(refusedTags.end()));
    old.unsynchronised = std::move(chunks.unsynchronised);
    return old;
}

}  // namespace vantor
