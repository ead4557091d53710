#include "formats/chunk_cursor.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

// No metadata comes near it, and a sparse file may claim any size.
constexpr uint64_t largestBody = uint64_t{1} << 30;

uint64_t SizeField(const uint8_t* bytes, const ChunkFraming& framing) {
    if (framing.sizeBytes == 8) return framing.bigEndian ? ReadBe64(bytes) : ReadLe64(bytes);
    return framing.bigEndian ? ReadBe32(bytes) : ReadLe32(bytes);
}

bool IsZero(uint8_t byte) {
    return byte == 0;
}

// Bytes at the start that are 0, sixteen at a time.
size_t LeadingZeros(std::span<const uint8_t> bytes) {
    size_t zeros = 0;
    for (uint64_t words[2]; zeros + sizeof words <= bytes.size(); zeros += sizeof words) {
        std::memcpy(words, bytes.data() + zeros, sizeof words);
        if ((words[0] | words[1]) != 0) break;
    }
    return zeros + static_cast<size_t>(std::ranges::find_if_not(bytes.subspan(zeros), IsZero) -
                                       bytes.subspan(zeros).begin());
}

// What follows the four characters in the GUID of a Wave64 chunk that RIFF knows too.
constexpr std::string_view guidTail("\xF3\xAC\xD3\x11\x8C\xD1\0\xC0\x4F\x8E\xDB\x8A", 12);

}  // namespace

bool IsRiffChunk(const Chunk& chunk) {
    return std::string_view(reinterpret_cast<const char*>(chunk.header.data()) + 4, guidTail.size()) ==
           guidTail;
}

bool ReadChunkHeader(FileReader& reader, const ChunkFraming& framing, Chunk& chunk) {
    const uint64_t headerBytes = framing.idBytes + framing.sizeBytes;
    if (static_cast<uint64_t>(reader.Remaining()) < headerBytes) return false;  // without asking the system
    if (!reader.ReadExactly(chunk.header.data(), static_cast<int64_t>(headerBytes))) return false;
    chunk.bodyStart = reader.Tell();
    chunk.sizeField = SizeField(chunk.header.data() + framing.idBytes, framing);
    const uint64_t counted = framing.sizeCountsHeader ? headerBytes : 0;
    chunk.bodyBytes = chunk.sizeField - std::min(chunk.sizeField, counted);
    return true;
}

bool IsZeroHeader(std::span<const uint8_t> header) {
    return std::all_of(header.begin(), header.end(), IsZero);
}

// What the file system has no room for is not read.
bool SkipZeroHeaders(FileReader& reader, size_t headerBytes) {
    uint8_t block[24576];  // whole headers of 8 and of 12 bytes
    const auto header = static_cast<int64_t>(headerBytes);
    int64_t wanted = 768;  // a gap between chunks is seldom longer
    for (;;) {
        const int64_t start = reader.Tell();
        const int64_t count = reader.Read(block, wanted);
        const auto zeros = static_cast<int64_t>(LeadingZeros({block, static_cast<size_t>(count)}));
        if (zeros < wanted) return reader.Seek(start + zeros / header * header);
        wanted = sizeof block;
        const int64_t hole = reader.NextStored() - reader.Tell();
        if (hole >= header && !reader.Seek(reader.Tell() + hole / header * header)) return false;
    }
}

int64_t NextChunkPosition(const ChunkFraming& framing, const Chunk& chunk) {
    constexpr auto farthest = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    const uint64_t padMask = framing.alignment - 1u;
    const auto start = static_cast<uint64_t>(chunk.bodyStart);
    if (chunk.bodyBytes > farthest - padMask - start) return std::numeric_limits<int64_t>::max();
    const uint64_t padded = (chunk.bodyBytes + padMask) & ~padMask;
    return static_cast<int64_t>(start + (framing.paddingWrapsAt32 ? static_cast<uint32_t>(padded) : padded));
}

bool SeekPastChunk(FileReader& reader, const ChunkFraming& framing, const Chunk& chunk) {
    const size_t headerBytes = framing.idBytes + framing.sizeBytes;
    if (IsZeroHeader({chunk.header.data(), headerBytes})) return SkipZeroHeaders(reader, headerBytes);
    return reader.Seek(NextChunkPosition(framing, chunk));
}

bool ReadBody(FileReader& reader, uint64_t bodyBytes, std::vector<uint8_t>& scratch) {
    if (bodyBytes > largestBody || bodyBytes > static_cast<uint64_t>(reader.Remaining())) return false;
    try {
        scratch.resize(static_cast<size_t>(bodyBytes));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return reader.ReadExactly(scratch.data(), static_cast<int64_t>(bodyBytes));
}

std::optional<std::span<const uint8_t>> LendBody(FileReader& reader, uint64_t bodyBytes,
                                                 std::vector<uint8_t>& scratch) {
    if (bodyBytes <= largestBody)
        if (const uint8_t* held = reader.BorrowHeld(static_cast<int64_t>(bodyBytes)))
            return std::span(held, static_cast<size_t>(bodyBytes));
    if (!ReadBody(reader, bodyBytes, scratch)) return std::nullopt;
    return scratch;
}

BodyReader::BodyReader(FileReader& from, uint64_t bodyBytes)
    : reader(from), remaining(bodyBytes <= largestBody ? bodyBytes : 0) {}

bool BodyReader::Read(uint8_t* destination, uint64_t count) {
    if (count > remaining) return false;
    remaining -= count;
    return reader.ReadExactly(destination, static_cast<int64_t>(count));
}

bool BodyReader::Skip(uint64_t count) {
    if (count > remaining || count > static_cast<uint64_t>(reader.Remaining())) return false;
    remaining -= count;
    return reader.Seek(reader.Tell() + static_cast<int64_t>(count));
}

}  // namespace vantor
