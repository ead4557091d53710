#include "edit/old_chunks.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "edit/chunk_walk.h"
#include "formats/chunk_cursor.h"
#include "metadata/read/id3_frames.h"
#include "metadata/read/read_metadata.h"

namespace vantor {

namespace {

// Lists of type INFO are never refused, and nothing in them has to be taken over.
bool IsOfInterest(const RiffChunk& chunk) {
    return chunk.isReplaceable && chunk.scheme != paddingScheme && chunk.scheme != "INFO";
}

bool ReadChunkBody(FileReader& file, const RiffChunk& chunk, ChunkBody& body) {
    return file.Seek(chunk.BodyStart()) && ReadBody(file, static_cast<uint64_t>(chunk.bodyBytes), body);
}

struct TakenChunks {
    OldChunks old;
    std::vector<ChunkBody> refusedTags;
};

bool NoteUnsynchronised(FileReader& file, const RiffChunk& chunk, OldId3Tags& tags) {
    uint8_t header[id3HeaderBytes];
    if (chunk.bodyBytes < static_cast<int64_t>(sizeof header)) return true;
    if (!file.Seek(chunk.BodyStart()) || !file.ReadExactly(header, sizeof header)) return false;
    if (IsUnsynchronised(header))
        tags.unsynchronised.push_back(
            {static_cast<uint64_t>(chunk.BodyStart()), static_cast<uint64_t>(chunk.BodyEnd())});
    return true;
}

// A tag that only its chunk's length speaks against.
void TakeRefusedTag(ChunkBody tag, int64_t fileOffset, TakenChunks& taken) {
    MetadataStore entries;
    ReadId3Tag(tag, entries, fileOffset);
    taken.old.refusedTagEntries.AddMissing(entries);
    taken.refusedTags.push_back(std::move(tag));
}

// Its values count less than those of the tags that the store was read from, and less than those of the
// refused ones before it.
void RankTags(TakenChunks& taken) {
    auto& refused = taken.refusedTags;
    auto& tags = taken.old.id3.bodies;
    std::ranges::reverse(refused);
    tags.insert(tags.begin(), std::move_iterator(refused.begin()), std::move_iterator(refused.end()));
}

// A chunk of nothing but zeros has been blanked.
void TakeRefused(const RiffChunk& chunk, const ChunkBody& body, OldChunks& old) {
    if (std::ranges::any_of(body, [](uint8_t byte) { return byte != 0; }))
        AppendChunk(old.refused, chunk.Id(), body.data(), body.size());
}

void Take(const RiffChunk& chunk, ChunkBody body, TakenChunks& taken) {
    OldChunks& old = taken.old;
    MetadataStore scratch;
    const bool isRefused = !ReadMetadataChunk(body, chunk.scheme, scratch, chunk.BodyStart());
    const bool isTag = Id3FrameWalk(body).Version() != 0;
    if (chunk.scheme == "AXML") {
        old.axmlDocuments.push_back(std::move(body));
    } else if (chunk.scheme != "ID3") {
        if (isRefused) TakeRefused(chunk, body, old);
    } else if (!isRefused && isTag) {
        old.id3.bodies.push_back(std::move(body));
    } else if (IsWalkedWhole(body)) {
        TakeRefusedTag(std::move(body), chunk.BodyStart(), taken);
    } else {
        TakeRefused(chunk, body, old);
    }
}

}  // namespace

std::optional<OldChunks> ReadOldChunks(FileReader& file, bool isRf64, bool carriesOver) {
    TakenChunks taken;
    RiffChunkWalk walk(file, isRf64, tagSchemes);
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk) {
        if (chunk.scheme == "ID3" && !NoteUnsynchronised(file, chunk, taken.old.id3)) return std::nullopt;
        if (!IsOfInterest(chunk) || !carriesOver) continue;
        ChunkBody body;
        if (!ReadChunkBody(file, chunk, body)) return std::nullopt;
        Take(chunk, std::move(body), taken);
    }
    if (step == WalkStep::refused) return std::nullopt;
    RankTags(taken);
    return std::move(taken.old);
}

}  // namespace vantor
