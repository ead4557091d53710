// The chunk walk of RIFF WAVE files and of their 64-bit kin, RF64 (EBU Tech 3306) and BW64 (ITU-R BS.2088).
#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "fileio/byte_order.h"
#include "formats/broadcast.h"
#include "formats/chunk_catalogue.h"
#include "formats/chunk_cursor.h"
#include "formats/container_walk.h"
#include "formats/ds64.h"
#include "formats/fmt_rules.h"
#include "formats/markers.h"
#include "formats/riff_data_size.h"
#include "formats/slice_points.h"
#include "metadata/acid_layout.h"
#include "metadata/read/read_metadata.h"

namespace vantor {

namespace {

constexpr FmtRules fmtRules{
    .shortRead = "Error reading WAV fmt chunk",
    .shortExtension = "WAV type is not supported",
    .unknownSubFormat = "WAV ex-type is not supported",
    .unknownTag = "WAV type is not supported",
    .noChannels = "WAV is not >= 1ch",
    .badUlaw = "WAV fmt type is ulaw but not 8-bit",
    .badFloat = "WAV is floating point PCM, but not 32/64 bit",
    .badInteger = "WAV is PCM, but not 8/16/20/24/32 bit",
    .badMsAdpcm = "WAV is MSADPCM, but invalid parameters",
    .badImaAdpcm = "WAV is IMA ADPCM, but invalid parameters",
    .badCAdpcm = "WAV is cADPCM, but invalid parameters",
    .keepsSpeakerMask = true,
    .marksMpeg = true,
};

struct RiffWalk {
    ContainerWalk& walk;
    bool is64;                 // RF64 or BW64
    std::optional<Ds64> ds64;  // once read
    MarkerTable markers;
    std::vector<uint8_t> rf64Markers;  // the body of `r64m`, for after the walk
};

WalkStatus ReadFormat(RiffWalk& riff, const Chunk& chunk) {
    return ReadFmt(riff.walk, chunk.bodyBytes, fmtRules);
}

WalkStatus ReadFact(RiffWalk& riff, const Chunk&) {
    uint8_t bytes[4];
    if (!riff.walk.reader.ReadExactly(bytes, sizeof bytes)) return "Error reading WAV fact chunk";
    const uint32_t frames = ReadLe32(bytes);
    constexpr auto most = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    const bool in64 = riff.ds64 && frames == sizeInDs64;
    riff.walk.factFrames = static_cast<int64_t>(in64 ? std::min(riff.ds64->sampleCount, most) : frames);
    return walkGoesOn;
}

void TakeAcid(const uint8_t* body, uint64_t bodyBytes, AudioFormat& format) {
    const auto flags = body[acid::flagsOffset];
    if (flags & acid::flagOneShot) return;
    format.loopKind = 1;
    if (flags & acid::flagRootNote) {
        format.hasRootNote = 1;
        format.rootNoteOffset = body[acid::rootNoteOffset] - acid::middleC;
    }
    (flags & acid::flagNoBeatCount ? format.beatCountAlt : format.beatCount) =
        ReadLittle<int32_t>(body + acid::beatCountOffset);
    // A tempo is believed in 4/4 loops only.
    const bool isFourFour = ReadLe16(body + acid::meterDenominatorOffset) == 4 &&
                            ReadLe16(body + acid::meterNumeratorOffset) == 4;
    if ((flags & acid::flagTempo) && bodyBytes >= acid::bodyBytes && isFourFour)
        format.tempo = ReadLeFloat(body + acid::tempoOffset);
}

WalkStatus ReadAcidLoop(RiffWalk& riff, const Chunk& chunk) {
    uint8_t body[acid::bodyBytes] = {};
    const uint64_t bodyBytes = std::min<uint64_t>(chunk.bodyBytes, sizeof body);
    if (!riff.walk.reader.ReadExactly(body, static_cast<int64_t>(bodyBytes)))
        return "Error reading WAV acid chunk";
    TakeAcid(body, bodyBytes, riff.walk.format);
    return walkGoesOn;
}

WalkStatus ReadSlices(RiffWalk& riff, const Chunk& chunk) {
    constexpr SliceTable strc{28, 32, [](const uint8_t* entry) { return ReadLittle<int64_t>(entry + 8); }};
    ReadSlicePoints(riff.walk, chunk.bodyBytes, strc);
    return walkGoesOn;
}

// | offset | width | field                |
// |      0 |     2 | number of tracks     |
// |      2 |     2 | number of track UIDs |
WalkStatus ReadTrackCounts(RiffWalk& riff, const Chunk&) {
    uint8_t body[4];
    if (!riff.walk.reader.ReadExactly(body, sizeof body)) return walkGoesOn;
    const int tracks = ReadLe16(body);
    const int uids = ReadLe16(body + 2);
    if (tracks == 0 || tracks > uids) return walkGoesOn;
    riff.walk.format.metadata.Set("ADM:numTracks", std::to_string(tracks));
    riff.walk.format.metadata.Set("ADM:numUIDs", std::to_string(uids));
    return walkGoesOn;
}

WalkStatus ReadCues(RiffWalk& riff, const Chunk& chunk) {
    ContainerWalk& walk = riff.walk;
    if (const auto body = LendBody(walk.reader, chunk.bodyBytes, walk.scratch))
        ReadCueList(*body, walk.format.sampleRate, riff.markers);
    return walkGoesOn;
}

WalkStatus ReadSampler(RiffWalk& riff, const Chunk& chunk) {
    ContainerWalk& walk = riff.walk;
    if (const auto body = LendBody(walk.reader, chunk.bodyBytes, walk.scratch))
        ReadSamplerLoops(*body, walk.format.sampleRate, riff.markers);
    return walkGoesOn;
}

// Labels of a list that would take much memory. False, with nothing read, when it is another one.
bool ReadLongLabels(RiffWalk& riff, const Chunk& chunk) {
    constexpr uint64_t shortListBytes = 4096;
    FileReader& reader = riff.walk.reader;
    if (chunk.bodyBytes <= shortListBytes || chunk.bodyBytes > static_cast<uint64_t>(reader.Remaining()))
        return false;
    BodyReader list(reader, chunk.bodyBytes);
    uint8_t type[4];
    if (list.Read(type, sizeof type) && FourCharacters(type) == "adtl") {
        ReadAssociatedData(list, riff.walk.format.sampleRate, riff.markers);
        return true;
    }
    (void)reader.Seek(chunk.bodyStart);
    return false;
}

WalkStatus ReadList(RiffWalk& riff, const Chunk& chunk) {
    ContainerWalk& walk = riff.walk;
    if (ReadLongLabels(riff, chunk)) return walkGoesOn;
    const auto body = LendBody(walk.reader, chunk.bodyBytes, walk.scratch);
    if (!body || ReadAssociatedData(*body, walk.format.sampleRate, riff.markers)) return walkGoesOn;
    const auto type = FourCharacters(body->data());
    if (type == "INFO" || type == "info")
        ReadMetadataChunk(*body, "INFO", walk.format.metadata, chunk.bodyStart);
    return walkGoesOn;
}

constexpr ChunkHandler<RiffWalk> handlers[] = {
    {"fmt ", smallestFmtBody, ReadFormat},
    {"fact", 4, ReadFact},
    {"acid", acid::leastBytes, ReadAcidLoop},
    {"strc", 60, ReadSlices},
    {"bext", smallestBroadcast,
     [](RiffWalk& riff, const Chunk& chunk) { return ReadBroadcast(riff.walk, chunk); }},
    {"chna", 4, ReadTrackCounts},
    {"cue ", 4, ReadCues},
    {"LIST", 4, ReadList},
    {"list", 4, ReadList},
    {"smpl", 4, ReadSampler},
};

WalkStatus ReadFirstDs64(RiffWalk& riff, const Chunk& chunk) {
    if (chunk.Id() != "ds64") return "RF64 requires ds64 chunk";
    Ds64 ds64;
    switch (ReadDs64(riff.walk.reader, static_cast<uint32_t>(chunk.sizeField), smallestDs64, ds64)) {
        case Ds64Result::tooSmall:
            return "RF64 ds64 chunk is too small";
        case Ds64Result::shortRead:
            return "Error reading RF64 ds64 chunk";
        case Ds64Result::ok:
            break;
    }
    riff.ds64 = std::move(ds64);
    return walkGoesOn;
}

// Notes where the audio lies and makes the chunk's size that of the audio, for the step to the next one.
void TakeData(RiffWalk& riff, Chunk& chunk) {
    ContainerWalk& walk = riff.walk;
    const auto sizeField = static_cast<uint32_t>(chunk.sizeField);
    walk.dataStart = chunk.bodyStart;
    walk.dataBytes = RiffDataBytes(sizeField, riff.ds64 ? &*riff.ds64 : nullptr, walk.formatAccepted,
                                   chunk.bodyStart, walk.reader.Size());
    walk.openEnded = sizeField == 0 && walk.formatAccepted;
    chunk.bodyBytes = static_cast<uint64_t>(walk.dataBytes);
}

void Catalogue(RiffWalk& riff, const Chunk& chunk) {
    const auto bodyBytes = static_cast<uint32_t>(std::min<uint64_t>(chunk.bodyBytes, UINT32_MAX));
    CatalogueChunk(riff.walk.reader, chunk.header.data(), chunk.bodyStart, bodyBytes, riff.walk.scratch,
                   riff.walk.format.metadata);
}

WalkStatus ReadChunk(RiffWalk& riff, Chunk& chunk) {
    if (riff.is64 && !riff.ds64) return ReadFirstDs64(riff, chunk);
    if (chunk.Id() == "data") {
        TakeData(riff, chunk);
        return walkGoesOn;
    }
    if (riff.ds64)
        chunk.bodyBytes = SizeFromTable(*riff.ds64, chunk.Id(), static_cast<uint32_t>(chunk.sizeField));
    if (riff.is64 && chunk.Id() == "r64m") {
        if (!ReadBody(riff.walk.reader, chunk.bodyBytes, riff.rf64Markers)) riff.rf64Markers.clear();
        return walkGoesOn;
    }
    if (const auto* handler = FindHandler(handlers, chunk)) return handler->read(riff, chunk);
    Catalogue(riff, chunk);
    return walkGoesOn;
}

WalkStatus WalkChunks(RiffWalk& riff) {
    FileReader& reader = riff.walk.reader;
    Chunk chunk;
    do {
        if (!ReadChunkHeader(reader, riffFraming, chunk)) return "Error reading WAV chunk header";
        if (const auto status = ReadChunk(riff, chunk); status.IsWrong()) return status;
    } while (SeekPastChunk(reader, riffFraming, chunk));
    return walkGoesOn;
}

WalkStatus WalkFile(ContainerWalk& walk, bool is64) {
    RiffWalk riff{walk, is64, {}, {walk.format.markers, walk.format.markerNames}, {}};
    const WalkStatus status = WalkChunks(riff);
    ReadRf64Markers(riff.rf64Markers, walk.format.sampleRate, walk.format.markers, walk.format.markerNames);
    return status;
}

}  // namespace

WalkStatus WalkRiff(ContainerWalk& walk) {
    return WalkFile(walk, false);
}

WalkStatus WalkRf64(ContainerWalk& walk) {
    return WalkFile(walk, true);
}

}  // namespace vantor
