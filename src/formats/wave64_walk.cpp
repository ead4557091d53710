// The chunk walk of Wave64 files: RIFF WAVE with GUIDs for ids and 64-bit sizes.
#include <algorithm>
#include <limits>
#include <string_view>

#include "fileio/byte_order.h"
#include "formats/broadcast.h"
#include "formats/chunk_catalogue.h"
#include "formats/chunk_cursor.h"
#include "formats/container_walk.h"
#include "formats/fmt_rules.h"
#include "formats/markers.h"

namespace vantor {

namespace {

constexpr FmtRules fmtRules{
    .shortRead = "Error reading w64 fmt chunk",
    .shortExtension = "w64 ex-type is not supported",
    .unknownSubFormat = "w64 ex-type is not supported",
    .unknownTag = "w64 type is not supported",
    .noChannels = "w64 fmt nch is not >= 1 channels",
    .badUlaw = "w64 fmt type is ulaw but not 8-bit",
    .badFloat = "w64 fmt type is floating point PCM but not 32/64 bit",
    .badInteger = "w64 fmt type is PCM but not 8/16/20/24/32 bit",
    .badMsAdpcm = "w64 is MSADPCM, but invalid parameters",
    .badImaAdpcm = "w64 is IMA ADPCM, but invalid parameters",
    .badCAdpcm = "w64 is cADPCM, but invalid parameters",
    .keepsSpeakerMask = false,
    .marksMpeg = false,
};

constexpr uint64_t headerBytes = 24;

int64_t SignedBytes(uint64_t bytes) {
    return static_cast<int64_t>(std::min<uint64_t>(bytes, std::numeric_limits<int64_t>::max()));
}

WalkStatus ReadFact(ContainerWalk& walk, const Chunk&) {
    uint8_t bytes[8];
    if (!walk.reader.ReadExactly(bytes, sizeof bytes)) return "Error reading w64 fact chunk";
    walk.factFrames = SignedBytes(ReadLe64(bytes));
    return walkGoesOn;
}

WalkStatus ReadData(ContainerWalk& walk, const Chunk& chunk) {
    walk.dataStart = chunk.bodyStart;
    walk.dataBytes = SignedBytes(chunk.bodyBytes);
    return walkGoesOn;
}

WalkStatus ReadFormat(ContainerWalk& walk, const Chunk& chunk) {
    return ReadFmt(walk, chunk.bodyBytes, fmtRules);
}

WalkStatus ReadCues(ContainerWalk& walk, const Chunk& chunk) {
    AudioFormat& format = walk.format;
    ReadWave64Cues(walk.reader, chunk.bodyBytes, format.sampleRate, format.markers, format.markerNames);
    return walkGoesOn;
}

constexpr ChunkHandler<ContainerWalk> handlers[] = {
    {"bext", smallestBroadcast, ReadBroadcast}, {"fact", 8, ReadFact}, {"data", 0, ReadData},
    {"fmt ", smallestFmtBody, ReadFormat},      {"cue ", 0, ReadCues},
};

WalkStatus ReadChunk(ContainerWalk& walk, const Chunk& chunk) {
    if (chunk.sizeField < headerBytes) return "Invalid w64 chunk length (<24)";
    if (!IsRiffChunk(chunk)) return walkGoesOn;
    if (const auto* handler = FindHandler(handlers, chunk)) return handler->read(walk, chunk);
    CatalogueChunk(walk.reader, chunk.header.data(), chunk.bodyStart, static_cast<uint32_t>(chunk.bodyBytes),
                   walk.scratch, walk.format.metadata);
    return walkGoesOn;
}

}  // namespace

WalkStatus WalkWave64(ContainerWalk& walk) {
    Chunk chunk;
    do {
        if (!ReadChunkHeader(walk.reader, wave64Framing, chunk)) return "Error reading w64 chunk header";
        if (const auto status = ReadChunk(walk, chunk); status.IsWrong()) return status;
    } while (SeekPastChunk(walk.reader, wave64Framing, chunk));
    return walkGoesOn;
}

}  // namespace vantor
