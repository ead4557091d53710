// The chunk walks of IFF files: AIFF, AIFC and 8SVX.
#include <algorithm>
#include <string_view>

#include "fileio/byte_order.h"
#include "formats/chunk_cursor.h"
#include "formats/container_walk.h"
#include "formats/document_chunks.h"
#include "formats/frame_count.h"
#include "formats/slice_points.h"
#include "metadata/read/read_metadata.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t commBytes = 18;
constexpr size_t commWithCompressionBytes = 22;

enum class SampleCode { asDeclared, float32, float64, integer24 };

struct Compression {
    std::string_view type;
    bool bigEndian;
    SampleCode code;
};

// Names of big-endian codings spelled backwards come from writers that swapped the name with the samples.
constexpr Compression compressions[] = {
    {"NONE", true, SampleCode::asDeclared},  {"twos", true, SampleCode::asDeclared},
    {"in32", true, SampleCode::asDeclared},  {"in24", true, SampleCode::integer24},
    {"fl32", true, SampleCode::float32},     {"FL32", true, SampleCode::float32},
    {"fl64", true, SampleCode::float64},     {"FL64", true, SampleCode::float64},
    {"sowt", false, SampleCode::asDeclared}, {"ENON", false, SampleCode::asDeclared},
    {"42ni", false, SampleCode::integer24},  {"23lf", false, SampleCode::float32},
    {"23LF", false, SampleCode::float32},    {"46lf", false, SampleCode::float64},
    {"46LF", false, SampleCode::float64},
};

WalkStatus TakeCompression(std::string_view type, AudioFormat& format) {
    const auto* row = std::ranges::find(compressions, type, &Compression::type);
    if (row == std::end(compressions)) return "AIFC has invalid compressed data type";
    format.bigEndian = row->bigEndian;
    switch (row->code) {
        case SampleCode::asDeclared:
            break;
        case SampleCode::float32:
            format.encoding = encodingFloat;
            format.bitsPerSample = 32;
            break;
        case SampleCode::float64:
            format.encoding = encodingFloat;
            format.bitsPerSample = 64;
            break;
        case SampleCode::integer24:
            format.bitsPerSample = 24;
            break;
    }
    return walkGoesOn;
}

// An 80-bit extended float (IEEE 754: sign and exponent 16, mantissa 64 bits) as a whole number of 32 bits:
// the top of the mantissa, shifted by the exponent's low byte; the last bit shifted out rounds. Larger ones
// give 0.
uint32_t WholeRate(const uint8_t* extended) {
    constexpr int noShift = 30;
    const uint32_t mantissa = ReadBe32(extended + 2);
    const int shift = noShift - extended[1];
    if (shift < 0) return 0;
    return shift == 0 ? mantissa : (mantissa >> shift) + ((mantissa >> (shift - 1)) & 1);
}

// | offset | width | field                        |
// |      0 |     2 | channels                     |
// |      2 |     4 | frames                       |
// |      6 |     2 | bits a sample                |
// |      8 |    10 | sample rate, 80-bit float    |
// |     18 |     4 | AIFC: compression type       |
WalkStatus TakeCommon(const uint8_t* comm, std::string_view compression, ContainerWalk& walk) {
    AudioFormat& format = walk.format;
    format.channels = ReadBe16(comm);
    format.bitsPerSample = ReadBe16(comm + 6);
    format.encoding = encodingInteger;
    format.bigEndian = true;
    walk.declaredFrames = ReadBe32(comm + 2);
    constexpr int32_t sizes[] = {8, 16, 20, 24, 32, 64};
    if (std::ranges::find(sizes, format.bitsPerSample) == std::end(sizes))
        return "AIFF is not 8/16/20/24/32/64 bit";
    if (format.channels < 1) return "AIFF is not >= 1ch";
    if (!compression.empty())
        if (const auto status = TakeCompression(compression, format); status.IsWrong()) return status;
    format.blockAlign = format.channels * WholeBytes(format.bitsPerSample);
    format.sampleRate = WholeRate(comm + 8);
    walk.declaredFrames += LostSizeBits(format.fileSize) / WholeBytes(format.bitsPerSample) / format.channels;
    walk.formatAccepted = true;
    return walkGoesOn;
}

WalkStatus ReadCommonOf(ContainerWalk& walk, const Chunk& chunk, bool isAifc) {
    uint8_t comm[24];
    const auto bytes = std::min<uint64_t>(chunk.bodyBytes, sizeof comm);
    if (!walk.reader.ReadExactly(comm, static_cast<int64_t>(bytes))) return "Error reading AIFF COMM chunk";
    const bool hasType = isAifc && bytes >= commWithCompressionBytes;
    return TakeCommon(comm, hasType ? FourCharacters(comm + commBytes) : std::string_view(), walk);
}

WalkStatus ReadAiffCommon(ContainerWalk& walk, const Chunk& chunk) {
    return ReadCommonOf(walk, chunk, false);
}

WalkStatus ReadAifcCommon(ContainerWalk& walk, const Chunk& chunk) {
    return ReadCommonOf(walk, chunk, true);
}

// | offset | width | field               |
// |      0 |     4 | offset of the audio |
// |      4 |     4 | block size (unused) |
WalkStatus ReadSoundData(ContainerWalk& walk, const Chunk& chunk) {
    uint8_t header[8];
    if (!walk.reader.ReadExactly(header, sizeof header)) {
        walk.failed = true;
        return "Error reading AIFF SSND header";
    }
    const int64_t offset = int64_t{ReadBe32(header)} + 8;
    walk.dataStart = chunk.bodyStart + offset;
    return walkGoesOn;
}

// Apple Loops.
// | offset | width | field                      |
// |      4 |     4 | beats                      |
// |      8 |     2 | root note                  |
// |     12 |     2 | time signature numerator   |
// |     14 |     2 | time signature denominator |
WalkStatus ReadLoop(ContainerWalk& walk, const Chunk&) {
    uint8_t basc[16];
    if (!walk.reader.ReadExactly(basc, sizeof basc)) return walkGoesOn;
    const uint32_t beats = ReadBe32(basc + 4);
    if (beats < 1 || beats > 65535) return walkGoesOn;
    const int32_t note = ReadBe16(basc + 8);
    const int32_t numerator = ReadBe16(basc + 12);
    const int32_t denominator = ReadBe16(basc + 14);
    const auto isMeterPart = [](int32_t value) { return value >= 2 && value <= 16; };
    AudioFormat& format = walk.format;
    format.loopKind = 2;
    format.beatCount = static_cast<int32_t>(beats);
    if (note >= 48 && note <= 59) format.musicalKey = note % 12;
    if (isMeterPart(numerator) && isMeterPart(denominator)) format.meter = numerator * 256 + denominator;
    return walkGoesOn;
}

WalkStatus ReadTransients(ContainerWalk& walk, const Chunk& chunk) {
    constexpr SliceTable trns{100, 24, [](const uint8_t* entry) -> int64_t { return ReadBe32(entry + 4); }};
    ReadSlicePoints(walk, chunk.bodyBytes, trns);
    return walkGoesOn;
}

WalkStatus ReadApplication(ContainerWalk& walk, const Chunk& chunk) {
    uint8_t signature[4];
    if (!walk.reader.ReadExactly(signature, sizeof signature)) return walkGoesOn;
    if (FourCharacters(signature) != xmpSignature) return walkGoesOn;
    if (const auto body = LendBody(walk.reader, chunk.bodyBytes - 4, walk.scratch))
        (void)ReadMetadataChunk(*body, "XMP", walk.format.metadata, chunk.bodyStart);
    return walkGoesOn;
}

WalkStatus StoreText(ContainerWalk& walk, const Chunk& chunk, std::string_view key) {
    if (const auto body = LendBody(walk.reader, chunk.bodyBytes, walk.scratch))
        walk.format.metadata.Set(key, Utf8OrWindows1252(UpToNul(*body)));
    return walkGoesOn;
}

WalkStatus ReadName(ContainerWalk& walk, const Chunk& chunk) {
    return StoreText(walk, chunk, "IFF:NAME");
}

WalkStatus ReadAuthor(ContainerWalk& walk, const Chunk& chunk) {
    return StoreText(walk, chunk, "IFF:AUTH");
}

WalkStatus ReadCopyright(ContainerWalk& walk, const Chunk& chunk) {
    return StoreText(walk, chunk, "IFF:COPY");
}

WalkStatus ReadAnnotation(ContainerWalk& walk, const Chunk& chunk) {
    return StoreText(walk, chunk, "IFF:ANNO");
}

WalkStatus ReadId3(ContainerWalk& walk, const Chunk& chunk) {
    if (const auto body = LendBody(walk.reader, chunk.bodyBytes, walk.scratch))
        ReadMetadataChunk(*body, "ID3", walk.format.metadata, chunk.bodyStart);
    return walkGoesOn;
}

// | offset | width | field                |
// |     12 |     2 | samples a second     |
// |     15 |     1 | compression, 0 none  |
WalkStatus ReadVoiceHeader(ContainerWalk& walk, const Chunk&) {
    uint8_t vhdr[20];
    if (!walk.reader.ReadExactly(vhdr, sizeof vhdr)) return "Error reading 8SVX IFF VHDR chunk";
    if (vhdr[15] != 0) return "8SVX IFF unsupported compression";
    AudioFormat& format = walk.format;
    format.sampleRate = ReadBe16(vhdr + 12);
    format.bitsPerSample = 8;
    format.encoding = encodingInteger;
    format.bigEndian = true;
    format.channels = 1;
    format.blockAlign = 1;
    walk.formatAccepted = true;
    return walkGoesOn;
}

WalkStatus ReadVoiceBody(ContainerWalk& walk, const Chunk& chunk) {
    walk.dataStart = chunk.bodyStart;
    walk.declaredFrames = static_cast<uint32_t>(chunk.bodyBytes) - 8u;  // modulo 2^32
    return walkGoesOn;
}

using Handler = ChunkHandler<ContainerWalk>;

constexpr Handler aiffFormat[] = {{"COMM", commBytes, ReadAiffCommon}};
constexpr Handler aifcFormat[] = {{"COMM", commBytes, ReadAifcCommon}};
constexpr Handler aiffHandlers[] = {
    {"SSND", 8, ReadSoundData},   {"basc", 84, ReadLoop},      {"trns", 124, ReadTransients},
    {"APPL", 5, ReadApplication}, {"NAME", 0, ReadName},       {"AUTH", 0, ReadAuthor},
    {"(c) ", 0, ReadCopyright},   {"ANNO", 0, ReadAnnotation}, {"ID3 ", 0, ReadId3},
    {"id3 ", 0, ReadId3},         {"ID3x", 0, ReadId3},        {"id3x", 0, ReadId3},
};
constexpr Handler voiceHandlers[] = {{"VHDR", 20, ReadVoiceHeader}, {"BODY", 0, ReadVoiceBody}};

template <typename FindHandlerOf>
WalkStatus WalkChunks(ContainerWalk& walk, FindHandlerOf findHandlerOf) {
    Chunk chunk;
    do {
        if (!ReadChunkHeader(walk.reader, iffFraming, chunk)) return "Error reading AIFF chunk header";
        const Handler* handler = findHandlerOf(chunk);
        const WalkStatus status = handler ? handler->read(walk, chunk) : walkGoesOn;
        if (status.IsWrong()) return status;
    } while (SeekPastChunk(walk.reader, iffFraming, chunk));
    return walkGoesOn;
}

template <size_t count>
WalkStatus WalkAudio(ContainerWalk& walk, const Handler (&formatHandler)[count]) {
    return WalkChunks(walk, [&](const Chunk& chunk) {
        const Handler* handler = FindHandler(formatHandler, chunk);
        return handler ? handler : FindHandler(aiffHandlers, chunk);
    });
}

}  // namespace

WalkStatus WalkAiff(ContainerWalk& walk) {
    return WalkAudio(walk, aiffFormat);
}

WalkStatus WalkAifc(ContainerWalk& walk) {
    return WalkAudio(walk, aifcFormat);
}

WalkStatus Walk8svx(ContainerWalk& walk) {
    return WalkChunks(walk, [](const Chunk& chunk) { return FindHandler(voiceHandlers, chunk); });
}

}  // namespace vantor
