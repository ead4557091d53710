// The pass over the header chunks of a RIFF, RF64 or BW64 file.
#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "fileio/byte_order.h"
#include "formats/chunk_catalogue.h"
#include "formats/chunk_cursor.h"
#include "formats/ds64.h"
#include "formats/fmt_rules.h"
#include "formats/riff_data_size.h"
#include "source/metadata_header_pass.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr uint16_t formatTagPcm = 1;

// | offset | width | `fmt ` field    |
// |      0 |     2 | format tag      |
// |      2 |     2 | channels        |
// |      4 |     4 | sample rate     |
// |     14 |     2 | bits per sample |
void ReadPcmFormat(MetadataHeaderPass& pass, int64_t bodyBytes) {
    const auto body = ReadStart<16>(pass.reader, bodyBytes);
    if (!body || ReadLe16(body->data()) != formatTagPcm) return;
    pass.header.channels = ReadLe16(&(*body)[2]);
    pass.header.sampleRate = static_cast<int32_t>(ReadLe32(&(*body)[4]));
    pass.header.bitsPerSample = ReadLe16(&(*body)[14]);
}

// The walk through a RIFF file: what it knows of 64-bit sizes and of the audio.
struct RiffPass {
    MetadataHeaderPass& pass;
    bool is64Bit;
    std::optional<Ds64> ds64;
    int64_t dataBytes = 0;
};

// Reads one chunk and returns the bytes of its body.
uint64_t ReadRiffChunk(RiffPass& riff, const std::array<uint8_t, 8>& chunk, int64_t bodyStart) {
    MetadataHeaderPass& pass = riff.pass;
    const auto id = FourCharacters(chunk.data());
    const uint32_t sizeField = ReadLe32(&chunk[4]);
    if (riff.is64Bit && !riff.ds64 && id == "ds64"sv) {
        Ds64 ds64;
        if (ReadDs64(pass.reader, sizeField, smallestSizes, ds64) == Ds64Result::ok)
            riff.ds64 = std::move(ds64);
        return sizeField;
    }
    const Ds64* ds64 = riff.ds64 ? &*riff.ds64 : nullptr;
    if (id == "data"sv) {
        riff.dataBytes = RiffDataBytes(sizeField, ds64, true, bodyStart, pass.reader.Size());
        return static_cast<uint64_t>(std::max<int64_t>(riff.dataBytes, 0));
    }
    const uint64_t bodyBytes = ds64 ? SizeFromTable(*ds64, id, sizeField) : sizeField;
    if (id == "fmt "sv && bodyBytes >= smallestFmtBody) {
        ReadPcmFormat(pass, smallestFmtBody);
    } else {
        // Longer than 32 bits can say is longer than any metadata.
        const auto catalogued = static_cast<uint32_t>(std::min<uint64_t>(bodyBytes, sizeInDs64));
        CatalogueChunk(pass.reader, chunk.data(), bodyStart, catalogued, pass.scratch, pass.header.metadata);
    }
    return bodyBytes;
}

}  // namespace

bool ParseRiffHeader(MetadataHeaderPass& pass, bool is64Bit) {
    RiffPass riff{pass, is64Bit, std::nullopt};
    std::array<uint8_t, 8> chunk;
    int64_t next = riffHeaderBytes;
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

}  // namespace vantor
