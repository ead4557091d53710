// The pass over a CAF file's header chunks.
#include <algorithm>
#include <array>

#include "fileio/byte_order.h"
#include "formats/channel_layout.h"
#include "formats/chunk_cursor.h"
#include "metadata/read/read_metadata.h"
#include "source/metadata_header_pass.h"

namespace vantor {

namespace {

constexpr int64_t cafChunksStart = 8;

// | offset | width | `desc` field       |
// |      0 |     8 | sample rate, float |
// |     24 |     4 | channels a frame   |
void ReadDescription(MetadataHeaderPass& pass, int64_t bodyBytes) {
    const auto body = ReadStart<32>(pass.reader, bodyBytes);
    if (!body) return;
    const double rate = ReadBeDouble(body->data());
    if (rate > 1 && rate < 1000000) pass.header.sampleRate = static_cast<int32_t>(rate);
    pass.header.channels = static_cast<int32_t>(ReadBe32(&(*body)[24]));
}

// | offset | width | `pakt` field     |
// |      8 |     8 | valid frames     |
// |     16 |     4 | priming frames   |
// |     20 |     4 | remainder frames |
void ReadPacketTable(MetadataHeaderPass& pass, int64_t bodyBytes) {
    const auto body = ReadStart<24>(pass.reader, bodyBytes);
    if (!body) return;
    pass.header.validFrames = static_cast<int64_t>(ReadBe64(&(*body)[8]));
    pass.header.primingFrames = static_cast<int32_t>(ReadBe32(&(*body)[16]));
    pass.header.remainderFrames = static_cast<int32_t>(ReadBe32(&(*body)[20]));
}

// | offset | width | `chan` field   |
// |      0 |     4 | layout tag     |
// |      4 |     4 | speaker bitmap |
void ReadChannelLayout(MetadataHeaderPass& pass, int64_t bodyBytes) {
    const auto body = ReadStart<12>(pass.reader, bodyBytes);
    if (!body) return;
    const auto text = ChannelLayoutText(ReadBe32(body->data()), ReadBe32(&(*body)[4]));
    if (!text.empty()) pass.header.metadata.Set("CAFINFO:channel configuration", text);
}

void ReadInformation(MetadataHeaderPass& pass, int64_t bodyBytes) {
    if (const auto body = LendBody(pass.reader, static_cast<uint64_t>(bodyBytes), pass.scratch))
        (void)ReadMetadataChunk(*body, "CAFINFO", pass.header.metadata, 0);
}

void ReadUuid(MetadataHeaderPass& pass, int64_t bodyBytes) {
    constexpr std::array<uint8_t, 16> information = {0x29, 0x81, 0x92, 0x73, 0xB5, 0xBF, 0x4A, 0xEF,
                                                     0xB7, 0x8D, 0x62, 0xD1, 0xEF, 0x90, 0xBB, 0x2C};
    if (ReadStart<16>(pass.reader, bodyBytes) == information) ReadInformation(pass, bodyBytes - 16);
}

void SkipChunk(MetadataHeaderPass&, int64_t) {}

struct CafChunk {
    std::string_view type;
    void (*read)(MetadataHeaderPass& pass, int64_t bodyBytes);
};

constexpr std::array cafChunks = {
    CafChunk{"desc", ReadDescription}, CafChunk{"pakt", ReadPacketTable}, CafChunk{"chan", ReadChannelLayout},
    CafChunk{"info", ReadInformation}, CafChunk{"uuid", ReadUuid},        CafChunk{"data", SkipChunk},
    CafChunk{"ovvw", SkipChunk},       CafChunk{"kuki", SkipChunk},       CafChunk{"mark", SkipChunk},
    CafChunk{"regn", SkipChunk},       CafChunk{"free", SkipChunk},
};

void ReadCafChunk(MetadataHeaderPass& pass, std::string_view type, int64_t bodyBytes) {
    const auto* chunk = std::find_if(cafChunks.begin(), cafChunks.end(),
                                     [&](const CafChunk& known) { return known.type == type; });
    if (chunk != cafChunks.end()) {
        chunk->read(pass, bodyBytes);
    } else {
        pass.header.metadata.Set(type, "");
    }
}

}  // namespace

bool ParseCafHeader(MetadataHeaderPass& pass) {
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

}  // namespace vantor
