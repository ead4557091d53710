// The one way through a file's chunks, whatever the container: only these functions move, pad and clamp.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "fileio/file_reader.h"
#include "formats/walk_status.h"

namespace vantor {

// How a container frames its chunks.
struct ChunkFraming {
    uint8_t idBytes;
    uint8_t sizeBytes;  // 4 or 8
    bool bigEndian;
    uint8_t alignment;              // a body is padded to a multiple of it
    bool sizeCountsHeader;          // the size field counts the header too
    bool paddingWrapsAt32 = false;  // the padded size is taken modulo 2^32
};

inline constexpr ChunkFraming riffFraming{4, 4, false, 2, false};
inline constexpr ChunkFraming wave64Framing{16, 8, false, 8, true};
inline constexpr ChunkFraming iffFraming{4, 4, true, 2, false, true};
inline constexpr ChunkFraming cafFraming{4, 8, true, 1, false};

inline constexpr int64_t riffHeaderBytes = 12;  // in front of a RIFF, RF64 or BW64 file's first chunk
inline constexpr int64_t chunkHeaderBytes = 8;  // of each of its chunks

// A chunk that the reader has come to. Its sizes are claims: the file may end earlier.
struct Chunk {
    std::array<uint8_t, 24> header{};  // as it stands in the file
    uint64_t sizeField = 0;
    uint64_t bodyBytes = 0;  // 0 when the size field is smaller than the header that it counts
    int64_t bodyStart = 0;

    // The first four characters of the id.
    [[nodiscard]] std::string_view Id() const { return {reinterpret_cast<const char*>(header.data()), 4}; }
};

// Wave64: the chunk's id is that of a chunk which RIFF knows by its first four characters.
[[nodiscard]] bool IsRiffChunk(const Chunk& chunk);

// Reads the header at the reader's position. False when the file ends first.
[[nodiscard]] bool ReadChunkHeader(FileReader& reader, const ChunkFraming& framing, Chunk& chunk);

// A header of nothing but zeros is an empty chunk. Some writers leave large files full of them.
[[nodiscard]] bool IsZeroHeader(std::span<const uint8_t> header);
// Steps over such headers, many at a time. False when the reader is not open.
[[nodiscard]] bool SkipZeroHeaders(FileReader& reader, size_t headerBytes);

// Where the next header stands; beyond the end of the file for a size that is too large. Always behind the
// header of `chunk`.
[[nodiscard]] int64_t NextChunkPosition(const ChunkFraming& framing, const Chunk& chunk);

// Moves to the next header, at most to the end of the file. False when the reader is not open.
[[nodiscard]] bool SeekPastChunk(FileReader& reader, const ChunkFraming& framing, const Chunk& chunk);

// Reads a body, or the whole rest of one, into `scratch`. False, with no memory taken, when the file does not
// hold that many bytes or when there are more than any metadata has.
[[nodiscard]] bool ReadBody(FileReader& reader, uint64_t bodyBytes, std::vector<uint8_t>& scratch);
// The same where the bytes lie, in the reader's buffer or in `scratch`; valid until either is used again.
[[nodiscard]] std::optional<std::span<const uint8_t>> LendBody(FileReader& reader, uint64_t bodyBytes,
                                                               std::vector<uint8_t>& scratch);

// Reads a body piece by piece and never beyond its end. One that is larger than any is taken for empty.
struct BodyReader {
    BodyReader(FileReader& from, uint64_t bodyBytes);

    FileReader& reader;
    uint64_t remaining;

    // False when the body or the file does not hold `count` bytes more.
    [[nodiscard]] bool Read(uint8_t* destination, uint64_t count);
    [[nodiscard]] bool Skip(uint64_t count);
};

// One line of a container's dispatch table. `read` tells what is wrong with the file.
template <typename Walk>
struct ChunkHandler {
    std::string_view id;
    uint64_t smallestBody;
    WalkStatus (*read)(Walk& walk, const Chunk& chunk);
};

// The first line for the chunk's id that its body is large enough for; null when there is none.
template <typename Walk, size_t count>
const ChunkHandler<Walk>* FindHandler(const ChunkHandler<Walk> (&table)[count], const Chunk& chunk) {
    for (const auto& handler : table)
        if (handler.id == chunk.Id() && chunk.bodyBytes >= handler.smallestBody) return &handler;
    return nullptr;
}

}  // namespace vantor
