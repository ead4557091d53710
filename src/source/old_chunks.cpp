#include "source/old_chunks.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "edit/riff_chunks.h"
#include "formats/chunk_cursor.h"
#include "metadata/read/id3_frames.h"
#include "metadata/read/read_metadata.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

struct ReplacedChunk {
    std::string_view id;
    std::string_view kind;  // as ReadMetadataChunk knows it
};

// Those that an edit replaces. Lists of type INFO are never refused.
constexpr ReplacedChunk replacedChunks[] = {
    {"bext", "BWF"}, {"iXML", "IXML"}, {"cart", "CART"}, {"CART", "CART"}, {"_PMX", "XMP"}, {"axml", "AXML"},
    {"ID3 ", "ID3"}, {"id3 ", "ID3"},  {"ID3x", "ID3"},  {"id3x", "ID3"},  {"ID3_", "ID3"}, {"id3_", "ID3"},
};

std::string_view KindOf(const RiffChunk& chunk) {
    const auto* known = std::ranges::find(replacedChunks, chunk.Id(), &ReplacedChunk::id);
    return known == std::end(replacedChunks) ? std::string_view() : known->kind;
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

void Take(const RiffChunk& chunk, std::string_view kind, ChunkBody body, TakenChunks& taken) {
    OldChunks& old = taken.old;
    MetadataStore scratch;
    const bool isRefused = !ReadMetadataChunk(body, kind, scratch, chunk.BodyStart());
    const bool isTag = Id3FrameWalk(body).Version() != 0;
    if (kind == "AXML") {
        old.axmlDocuments.push_back(std::move(body));
    } else if (kind != "ID3") {
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
    RiffChunkWalk walk(file, isRf64, false);
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk) {
        const auto kind = KindOf(chunk);
        if (kind == "ID3" && !NoteUnsynchronised(file, chunk, taken.old.id3)) return std::nullopt;
        if (kind.empty() || !carriesOver) continue;
        ChunkBody body;
        if (!ReadChunkBody(file, chunk, body)) return std::nullopt;
        Take(chunk, kind, std::move(body), taken);
    }
    if (step == WalkStep::refused) return std::nullopt;
    RankTags(taken);
    return std::move(taken.old);
}

}  // namespace vantor
