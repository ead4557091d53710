#include "source/metadata_header_parse.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>

#include "fileio/byte_order.h"
#include "formats/channel_layout.h"
#include "formats/chunk_catalogue.h"
#include "formats/chunk_cursor.h"
#include "formats/ds64.h"
#include "formats/riff_data_size.h"
#include "metadata/read/read_metadata.h"
#include "text/text.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr int64_t riffChunksStart = 12;
constexpr int64_t cafChunksStart = 8;
constexpr uint16_t formatTagPcm = 1;
constexpr uint32_t smallestFormat = 16;
constexpr uint32_t smallestDs64 = 16;  // the sizes alone

// What one pass carries from chunk to chunk.
struct Pass {
    FileReader& reader;
    MetadataHeader& header;
    std::vector<uint8_t> scratch;
};

// Where the header behind this one stands: at `next`, or behind a run of empty chunks that begins there.
int64_t NextHeader(FileReader& reader, std::span<const uint8_t> header, int64_t next) {
    return IsZeroHeader(header) && reader.Seek(next) && SkipZeroHeaders(reader, header.size()) ? reader.Tell()
                                                                                               : next;
}

// Reads the first bytes of a body that claims `bodyBytes`; nothing when it is smaller or not all there.
template <size_t count>
std::optional<std::array<uint8_t, count>> ReadStart(FileReader& reader, int64_t bodyBytes) {
    std::array<uint8_t, count> bytes;
    if (bodyBytes < static_cast<int64_t>(count) || !reader.ReadExactly(bytes.data(), count))
        return std::nullopt;
    return bytes;
}

// A tempo from the length in beats, when that is a whole number of 32nds of a beat.
void CompleteTempo(MetadataHeader& header, std::string_view tempoKey, std::string_view beatsKey) {
    if (!header.metadata.Value(tempoKey).empty() || !(header.durationSeconds > 0)) return;
    const double beats = DecimalNumber(header.metadata.Value(beatsKey));
    if (!(beats > 0) || !std::isfinite(beats) || 32 * beats != std::floor(32 * beats)) return;
    header.metadata.Set(tempoKey, TrimNumber(FixedText(beats * 60 / header.durationSeconds, 6)));
}

// | offset | width | `desc` field       |
// |      0 |     8 | sample rate, float |
// |     24 |     4 | channels a frame   |
// |     28 |     4 | bits a channel     |
void ReadDescription(Pass& pass, int64_t bodyBytes) {
    const auto body = ReadStart<32>(pass.reader, bodyBytes);
    if (!body) return;
    const double rate = ReadBeDouble(body->data());
    if (rate > 1 && rate < 1000000) pass.header.sampleRate = static_cast<int32_t>(rate);
    pass.header.channels = static_cast<int32_t>(ReadBe32(&(*body)[24]));
    pass.header.bitsPerSample = static_cast<int32_t>(ReadBe32(&(*body)[28]));
}

// | offset | width | `pakt` field     |
// |      8 |     8 | valid frames     |
// |     16 |     4 | priming frames   |
// |     20 |     4 | remainder frames |
void ReadPacketTable(Pass& pass, int64_t bodyBytes) {
    const auto body = ReadStart<24>(pass.reader, bodyBytes);
    if (!body) return;
    pass.header.validFrames = static_cast<int64_t>(ReadBe64(&(*body)[8]));
    pass.header.primingFrames = static_cast<int32_t>(ReadBe32(&(*body)[16]));
    pass.header.remainderFrames = static_cast<int32_t>(ReadBe32(&(*body)[20]));
}

// | offset | width | `chan` field   |
// |      0 |     4 | layout tag     |
// |      4 |     4 | speaker bitmap |
void ReadChannelLayout(Pass& pass, int64_t bodyBytes) {
    const auto body = ReadStart<12>(pass.reader, bodyBytes);
    if (!body) return;
    const auto text = ChannelLayoutText(ReadBe32(body->data()), ReadBe32(&(*body)[4]));
    if (!text.empty()) pass.header.metadata.Set("CAFINFO:channel configuration", text);
}

void ReadInformation(Pass& pass, int64_t bodyBytes) {
    if (ReadBody(pass.reader, static_cast<uint64_t>(bodyBytes), pass.scratch))
        (void)ReadMetadataChunk(pass.scratch, "CAFINFO", pass.header.metadata, 0);
}

void ReadUuid(Pass& pass, int64_t bodyBytes) {
    constexpr std::array<uint8_t, 16> information = {0x29, 0x81, 0x92, 0x73, 0xB5, 0xBF, 0x4A, 0xEF,
                                                     0xB7, 0x8D, 0x62, 0xD1, 0xEF, 0x90, 0xBB, 0x2C};
    if (ReadStart<16>(pass.reader, bodyBytes) == information) ReadInformation(pass, bodyBytes - 16);
}

void SkipChunk(Pass&, int64_t) {}

struct CafChunk {
    std::string_view type;
    void (*read)(Pass& pass, int64_t bodyBytes);
};

constexpr std::array cafChunks = {
    CafChunk{"desc", ReadDescription}, CafChunk{"pakt", ReadPacketTable}, CafChunk{"chan", ReadChannelLayout},
    CafChunk{"info", ReadInformation}, CafChunk{"uuid", ReadUuid},        CafChunk{"data", SkipChunk},
    CafChunk{"ovvw", SkipChunk},       CafChunk{"kuki", SkipChunk},       CafChunk{"mark", SkipChunk},
    CafChunk{"regn", SkipChunk},       CafChunk{"free", SkipChunk},
};

void ReadCafChunk(Pass& pass, std::string_view type, int64_t bodyBytes) {
    const auto* chunk = std::find_if(cafChunks.begin(), cafChunks.end(),
                                     [&](const CafChunk& known) { return known.type == type; });
    if (chunk != cafChunks.end()) {
        chunk->read(pass, bodyBytes);
    } else {
        pass.header.metadata.Set(type, "");
    }
}

bool ParseCaf(Pass& pass) {
    std::array<uint8_t, 12> chunk;
    int64_t next = cafChunksStart;
    while (pass.reader.Seek(next) && pass.reader.ReadExactly(chunk.data(), chunk.size())) {
        const auto bodyBytes = static_cast<int64_t>(ReadBe64(&chunk[4]));
        if (bodyBytes < 0) break;
        const int64_t bodyStart = pass.reader.Tell();
        const bool isLast = bodyBytes > pass.reader.Remaining();
        ReadCafChunk(pass, FourCharacters(chunk.data()), bodyBytes);
        if (isLast) break;
        next = NextHeader(pass.reader, chunk, bodyStart + bodyBytes);
    }
    MetadataHeader& header = pass.header;
    if (header.sampleRate < 1 || header.channels < 1) return false;
    if (header.validFrames >= 1)
        header.durationSeconds = static_cast<double>(header.validFrames) / header.sampleRate;
    CompleteTempo(header, "CAFINFO:tempo", "CAFINFO:beat count");
    return true;
}

// | offset | width | `fmt ` field    |
// |      0 |     2 | format tag      |
// |      2 |     2 | channels        |
// |      4 |     4 | sample rate     |
// |     14 |     2 | bits per sample |
void ReadPcmFormat(Pass& pass, int64_t bodyBytes) {
    const auto body = ReadStart<16>(pass.reader, bodyBytes);
    if (!body || ReadLe16(body->data()) != formatTagPcm) return;
    pass.header.channels = ReadLe16(&(*body)[2]);
    pass.header.sampleRate = static_cast<int32_t>(ReadLe32(&(*body)[4]));
    pass.header.bitsPerSample = ReadLe16(&(*body)[14]);
}

// The walk through a RIFF file: what it knows of 64-bit sizes and of the audio.
struct RiffPass {
    Pass& pass;
    bool is64Bit;
    std::optional<Ds64> ds64;
    int64_t dataBytes = 0;
};

// Reads one chunk and returns the bytes of its body.
uint64_t ReadRiffChunk(RiffPass& riff, const std::array<uint8_t, 8>& chunk, int64_t bodyStart) {
    Pass& pass = riff.pass;
    const auto id = FourCharacters(chunk.data());
    const uint32_t sizeField = ReadLe32(&chunk[4]);
    if (riff.is64Bit && !riff.ds64 && id == "ds64"sv) {
        Ds64 ds64;
        if (ReadDs64(pass.reader, sizeField, smallestDs64, ds64) == Ds64Result::ok)
            riff.ds64 = std::move(ds64);
        return sizeField;
    }
    const Ds64* ds64 = riff.ds64 ? &*riff.ds64 : nullptr;
    if (id == "data"sv) {
        riff.dataBytes = RiffDataBytes(sizeField, ds64, true, bodyStart, pass.reader.Size());
        return static_cast<uint64_t>(std::max<int64_t>(riff.dataBytes, 0));
    }
    const uint64_t bodyBytes = ds64 ? SizeFromTable(*ds64, id, sizeField) : sizeField;
    if (id == "fmt "sv && bodyBytes >= smallestFormat) {
        ReadPcmFormat(pass, smallestFormat);
    } else {
        // Longer than 32 bits can say is longer than any metadata.
        const auto catalogued = static_cast<uint32_t>(std::min<uint64_t>(bodyBytes, sizeInDs64));
        CatalogueChunk(pass.reader, chunk.data(), bodyStart, catalogued, pass.scratch, pass.header.metadata);
    }
    return bodyBytes;
}

bool ParseRiff(Pass& pass, bool is64Bit) {
    RiffPass riff{pass, is64Bit, std::nullopt};
    std::array<uint8_t, 8> chunk;
    int64_t next = riffChunksStart;
    while (pass.reader.Seek(next) && pass.reader.ReadExactly(chunk.data(), chunk.size())) {
        const int64_t bodyStart = pass.reader.Tell();
        const auto remaining = static_cast<uint64_t>(pass.reader.Remaining());
        const uint64_t bodyBytes = ReadRiffChunk(riff, chunk, bodyStart);
        if (bodyBytes >= remaining) break;
        next = NextHeader(pass.reader, chunk, bodyStart + static_cast<int64_t>(bodyBytes + (bodyBytes & 1)));
    }
    MetadataHeader& header = pass.header;
    if (header.bitsPerSample < 1 || header.channels < 1 || header.sampleRate < 1) return false;
    header.durationSeconds =
        static_cast<double>(riff.dataBytes) * 8 / header.bitsPerSample / header.sampleRate / header.channels;
    CompleteTempo(header, "ACID:BPM", "ACID:BEATS");
    return true;
}

}  // namespace

bool ParseMetadataHeader(FileReader& reader, MetadataHeader& header) {
    Pass pass{reader, header, {}};
    std::array<uint8_t, 12> start{};
    if (!reader.Seek(0) || !reader.ReadExactly(start.data(), 8)) return false;
    const auto kind = FourCharacters(start.data());
    if (kind == "caff"sv) return ParseCaf(pass);
    const bool is64Bit = kind == "RF64"sv || kind == "BW64"sv;
    if (kind != "RIFF"sv && !is64Bit) return false;
    if (!reader.ReadExactly(&start[8], 4) || FourCharacters(&start[8]) != "WAVE"sv) return false;
    return ParseRiff(pass, is64Bit);
}

}  // namespace vantor
