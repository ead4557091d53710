// The chunk walk of Core Audio Format files, version 1.
#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "fileio/byte_order.h"
#include "formats/caf_markers.h"
#include "formats/chunk_cursor.h"
#include "formats/container_walk.h"
#include "formats/document_chunks.h"
#include "metadata/read/read_metadata.h"

namespace vantor {

namespace {

constexpr int64_t toEndOfFile = -1;  // as a chunk's size
constexpr uint32_t flagFloat = 1;
constexpr uint32_t flagLittleEndian = 2;
constexpr uint32_t mostChannels = 128;
constexpr size_t descBytes = 32;

int64_t SignedSize(const Chunk& chunk) {
    return static_cast<int64_t>(chunk.sizeField);
}

BodyReader BodyOf(const ContainerWalk& walk, const Chunk& chunk) {
    const bool isLast = SignedSize(chunk) == toEndOfFile;
    return {walk.reader, isLast ? static_cast<uint64_t>(walk.reader.Remaining()) : chunk.bodyBytes};
}

WalkStatus CheckBits(bool isFloat, uint32_t bits) {
    constexpr std::array floatBits{32u, 64u};
    constexpr std::array integerBits{8u, 16u, 20u, 24u, 32u};
    const auto isOneOf = [bits](const auto& list) { return std::ranges::find(list, bits) != list.end(); };
    if (isFloat)
        return isOneOf(floatBits) ? walkGoesOn : WalkStatus("CAFF is floating point PCM, but not 32/64 bit");
    return isOneOf(integerBits) ? walkGoesOn : WalkStatus("CAFF is PCM, but unsupported bit depth");
}

int32_t PacketFrameBytes(const AudioFormat& format, int32_t packetBytes, int32_t packetFrames) {
    const int32_t tight = format.channels * format.bitsPerSample / 8;
    return packetFrames > 0 ? std::max(tight, packetBytes / packetFrames) : tight;
}

// | offset | width | field                                         |
// |      0 |     8 | sample rate, float                            |
// |      8 |     4 | format id                                     |
// |     12 |     4 | flags: 1 float, 2 little-endian               |
// |     16 |     4 | bytes a packet                                |
// |     20 |     4 | frames a packet                               |
// |     24 |     4 | channels                                      |
// |     28 |     4 | bits a channel                                |
WalkStatus TakeDescription(const uint8_t* desc, AudioFormat& format) {
    const double rate = ReadBeDouble(desc);
    if (!(rate > 0) || std::isinf(rate)) return "CAFF has invalid sample rate";
    if (FourCharacters(desc + 8) != "lpcm") return "CAFF has unsupported compressed data type";
    const uint32_t flags = ReadBe32(desc + 12), channels = ReadBe32(desc + 24), bits = ReadBe32(desc + 28);
    if (channels < 1 || channels > mostChannels) return "CAFF channel count invalid";
    if (const auto status = CheckBits(flags & flagFloat, bits); status.IsWrong()) return status;
    // A description that is refused leaves an earlier one as it was.
    format.sampleRate = rate;
    format.encoding = flags & flagFloat ? encodingFloat : encodingInteger;
    format.bigEndian = !(flags & flagLittleEndian);
    format.channels = static_cast<int32_t>(channels);
    format.bitsPerSample = static_cast<int32_t>(bits);
    const auto packetBytes = ReadBig<int32_t>(desc + 16);
    if (bits == 24 && packetBytes == 4 * format.channels) format.bitsPerSample = 32;  // padded
    format.blockAlign = PacketFrameBytes(format, packetBytes, ReadBig<int32_t>(desc + 20));
    return walkGoesOn;
}

WalkStatus ReadDescription(ContainerWalk& walk, const Chunk& chunk) {
    if (chunk.bodyBytes < descBytes) return "CAFF desc chunk is invalid";
    uint8_t desc[descBytes];
    if (!walk.reader.ReadExactly(desc, sizeof desc)) return "Error reading CAFF desc chunk";
    if (const auto status = TakeDescription(desc, walk.format); status.IsWrong()) return status;
    walk.formatAccepted = true;
    return walkGoesOn;
}

// The samples follow an edit count of 4 bytes.
WalkStatus ReadData(ContainerWalk& walk, const Chunk& chunk) {
    constexpr int64_t editCountBytes = 4;
    const bool isLast = SignedSize(chunk) == toEndOfFile;
    const int64_t start = chunk.bodyStart + editCountBytes;
    const int64_t bytes =
        isLast ? walk.reader.Size() - start : static_cast<int64_t>(chunk.bodyBytes) - editCountBytes;
    if (bytes <= 0) return "CAFF data block too short";
    walk.dataStart = start;
    walk.dataBytes = bytes;
    walk.openEnded = isLast;
    return walkGoesOn;
}

// | offset | width | field                          |
// |      0 |     4 | layout tag                     |
// |      4 |     4 | speaker mask                   |
// |      8 |     4 | number of descriptions (unused) |
WalkStatus ReadLayout(ContainerWalk& walk, const Chunk&) {
    uint8_t body[12];
    if (!walk.reader.ReadExactly(body, sizeof body)) return "Error reading CAFF channel layout chunk";
    walk.format.layoutTag = ReadBe32(body);
    walk.format.channelMask = ReadBe32(body + 4);
    return walkGoesOn;
}

// | offset | width | field                      |
// |      0 |     8 | number of packets (unused) |
// |      8 |     8 | valid frames               |
// |     16 |     4 | priming frames             |
// |     20 |     4 | remainder frames           |
WalkStatus ReadPacketTable(ContainerWalk& walk, const Chunk&) {
    uint8_t body[24];
    if (!walk.reader.ReadExactly(body, sizeof body)) return walkGoesOn;
    walk.format.validFrames = ReadBig<int64_t>(body + 8);
    walk.format.primingFrames = ReadBig<int32_t>(body + 16);
    walk.format.remainderFrames = ReadBig<int32_t>(body + 20);
    return walkGoesOn;
}

WalkStatus ReadInformation(ContainerWalk& walk, const Chunk& chunk) {
    const auto body = LendBody(walk.reader, chunk.bodyBytes, walk.scratch);
    if (!body) return "Error reading CAFF info chunk";
    (void)ReadMetadataChunk(*body, "CAFINFO", walk.format.metadata, chunk.bodyStart);
    return walkGoesOn;
}

WalkStatus ReadMarks(ContainerWalk& walk, const Chunk& chunk) {
    const bool whole = ReadCafMarkers(BodyOf(walk, chunk), walk.format.sampleRate, walk.format.markers);
    return whole ? walkGoesOn : WalkStatus("Error reading CAFF mark chunk");
}

WalkStatus ReadRegions(ContainerWalk& walk, const Chunk& chunk) {
    const bool whole = ReadCafRegions(BodyOf(walk, chunk), walk.format.sampleRate, walk.format.markers);
    return whole ? walkGoesOn : WalkStatus("Error reading CAFF regn chunk");
}

WalkStatus ReadStrings(ContainerWalk& walk, const Chunk& chunk) {
    const bool whole = ReadCafStrings(BodyOf(walk, chunk), walk.cafStrings);
    return whole ? walkGoesOn : WalkStatus("Error reading CAFF strg chunk");
}

WalkStatus Skip(ContainerWalk&, const Chunk&) {
    return walkGoesOn;
}

// A chunk of a type that only its UUID tells: an XMP packet is read.
void ReadUuid(ContainerWalk& walk, const Chunk& chunk) {
    uint8_t uuid[sizeof xmpUuid];
    if (chunk.bodyBytes < sizeof uuid || !walk.reader.ReadExactly(uuid, sizeof uuid)) return;
    if (!std::ranges::equal(uuid, xmpUuid)) return;
    if (const auto body = LendBody(walk.reader, chunk.bodyBytes - sizeof uuid, walk.scratch))
        (void)ReadMetadataChunk(*body, "XMP", walk.format.metadata, chunk.bodyStart);
}

// Known chunks that are too small are skipped by the second lines.
constexpr ChunkHandler<ContainerWalk> handlers[] = {
    {"desc", 0, ReadDescription},
    {"data", 0, ReadData},
    {"chan", 12, ReadLayout},
    {"chan", 0, Skip},
    {"pakt", 24, ReadPacketTable},
    {"pakt", 0, Skip},
    {"info", 5, ReadInformation},
    {"info", 0, Skip},
    {"mark", 0, ReadMarks},
    {"regn", 0, ReadRegions},
    {"strg", 4, ReadStrings},
    {"strg", 0, Skip},
    {"ovvw", 0, Skip},
    {"kuki", 0, Skip},
    {"free", 0, Skip},
};

WalkStatus ReadChunk(ContainerWalk& walk, const Chunk& chunk) {
    if (const auto* handler = FindHandler(handlers, chunk)) return handler->read(walk, chunk);
    walk.format.metadata.Set(chunk.Id(), {});
    if (chunk.Id() == "uuid") ReadUuid(walk, chunk);
    return walkGoesOn;
}

}  // namespace

WalkStatus WalkCaf(ContainerWalk& walk) {
    Chunk chunk;
    do {
        if (!ReadChunkHeader(walk.reader, cafFraming, chunk)) return "Error reading CAFF chunk header";
        if (SignedSize(chunk) < 0) chunk.bodyBytes = 0;
        if (const auto status = ReadChunk(walk, chunk); status.IsWrong()) return status;
        if (SignedSize(chunk) < 0) return walkGoesOn;  // the last chunk, or a size that leads nowhere
    } while (SeekPastChunk(walk.reader, cafFraming, chunk));
    return walkGoesOn;
}

}  // namespace vantor
