#include "source/old_chunks.h"

#include <algorithm>
#include <array>

#include "formats/chunk_cursor.h"
#include "rewrite/riff_chunks.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr std::array id3Ids = {"ID3 "sv, "id3 "sv, "ID3x"sv, "id3x"sv, "ID3_"sv, "id3_"sv};

bool IsId3(const RiffChunk& chunk) {
    return std::ranges::find(id3Ids, chunk.Id()) != id3Ids.end();
}

bool ReadChunkBody(FileReader& file, const RiffChunk& chunk, ChunkBody& body) {
    return file.Seek(chunk.BodyStart()) && ReadBody(file, static_cast<uint64_t>(chunk.bodyBytes), body);
}

}  // namespace

std::optional<OldChunks> ReadOldChunks(FileReader& file, bool isRf64) {
    OldChunks old;
    RiffChunkWalk walk(file, isRf64, false);
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk) {
        if (IsId3(chunk) && old.id3Tag.empty()) {
            if (!ReadChunkBody(file, chunk, old.id3Tag)) return std::nullopt;
        } else if (chunk.Id() == "axml"sv) {
            if (!ReadChunkBody(file, chunk, old.axmlDocuments.emplace_back())) return std::nullopt;
        }
    }
    if (step == WalkStep::refused) return std::nullopt;
    return old;
}

}  // namespace vantor
