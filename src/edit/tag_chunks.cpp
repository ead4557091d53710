#include "edit/tag_chunks.h"

#include <utility>

#include "formats/chunk_cursor.h"
#include "metadata/read/id3_frames.h"

namespace vantor {

namespace {

bool NoteUnsynchronised(FileReader& file, const RiffChunk& chunk, std::vector<FileRange>& ranges) {
    uint8_t header[id3HeaderBytes];
    if (chunk.bodyBytes < static_cast<int64_t>(sizeof header)) return true;
    if (!file.Seek(chunk.BodyStart()) || !file.ReadExactly(header, sizeof header)) return false;
    if (IsUnsynchronised(header))
        ranges.push_back({static_cast<uint64_t>(chunk.BodyStart()), static_cast<uint64_t>(chunk.BodyEnd())});
    return true;
}

}  // namespace

bool ReadChunkBody(FileReader& file, const RiffChunk& chunk, ChunkBody& body) {
    return file.Seek(chunk.BodyStart()) && ReadBody(file, static_cast<uint64_t>(chunk.bodyBytes), body);
}

std::optional<TagChunks> ReadTagChunks(FileReader& file, bool isRf64, bool carriesOver) {
    TagChunks chunks;
    RiffChunkWalk walk(file, isRf64, tagSchemes);
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk) {
        const auto* scheme = FindScheme(chunk.scheme);
        if (chunk.scheme == "ID3" && !NoteUnsynchronised(file, chunk, chunks.unsynchronised))
            return std::nullopt;
        if (!carriesOver || !scheme || !scheme->read) continue;
        ChunkBody body;
        if (!ReadChunkBody(file, chunk, body)) return std::nullopt;
        MetadataStore scratch;
        const bool isRefused = !ReadMetadataChunk(body, scheme->name, scratch, chunk.BodyStart());
        chunks.list.push_back(
            {scheme, std::string(chunk.Id()), chunk.BodyStart(), std::move(body), isRefused});
    }
    if (step == WalkStep::refused) return std::nullopt;
    return chunks;
}

}  // namespace vantor
