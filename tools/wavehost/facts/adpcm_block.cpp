#include "wavehost/facts/adpcm_block.h"

#include <algorithm>
#include <array>

namespace vantor::wavehost {

namespace {

// What differs between the two kinds of file. The size in a Wave64 chunk counts the chunk's header.
struct Walk {
    int64_t firstChunk;
    int64_t idBytes, sizeBytes;
    int64_t alignment;
    bool sizeCountsHeader;
};
constexpr Walk riffWalk{12, 4, 4, 2, false}, wave64Walk{40, 16, 8, 8, true};
constexpr int mostChunks = 1000;

// fmt  (the fields of WAVEFORMATEX, and the first that ADPCM adds)
// 0   2  format tag
// 2   2  channels
// 12  2  bytes a block
// 14  2  bits a sample
// 18  2  frames a block
constexpr size_t formatBytes = 20;
using FormatChunk = std::array<uint8_t, formatBytes>;

int64_t LittleEndian(const uint8_t* bytes, int64_t width) {
    uint64_t number = 0;
    for (int64_t i = width; i-- > 0;)
        number = number << 8 | bytes[i];
    return static_cast<int64_t>(number);
}

bool IsAdpcm(int64_t formatTag) {
    constexpr std::array<int64_t, 3> tags = {0x02, 0x11, 0xAC0C};  // MS, IMA, cADPCM
    return std::find(tags.begin(), tags.end(), formatTag) != tags.end();
}

bool FindFormat(std::FILE* stream, const Walk& walk, FormatChunk& format) {
    const int64_t headerBytes = walk.idBytes + walk.sizeBytes;
    std::array<uint8_t, 24> header{};
    int64_t position = walk.firstChunk;
    for (int chunk = 0; chunk < mostChunks && position >= 0; ++chunk) {
        if (!SeekStream(stream, position)) return false;
        if (std::fread(header.data(), static_cast<size_t>(headerBytes), 1, stream) != 1) return false;
        if (std::string_view(reinterpret_cast<const char*>(header.data()), 4) == "fmt ")
            return std::fread(format.data(), format.size(), 1, stream) == 1;
        const int64_t size = LittleEndian(&header[static_cast<size_t>(walk.idBytes)], walk.sizeBytes);
        if (size < 0 || size > INT64_MAX / 4) return false;
        const int64_t bodyBytes = walk.sizeCountsHeader ? std::max(size - headerBytes, int64_t{0}) : size;
        position += headerBytes + (bodyBytes + walk.alignment - 1) / walk.alignment * walk.alignment;
    }
    return false;
}

}  // namespace

int64_t AdpcmBlockFrames(const fs::path& file) {
    const Stream stream(OpenStream(file, "rb"));
    char first[4] = {};
    if (!stream || std::fread(first, sizeof first, 1, stream.get()) != 1) return 0;
    const bool isWave64 = std::string_view(first, sizeof first) == "riff";
    FormatChunk format{};
    if (!FindFormat(stream.get(), isWave64 ? wave64Walk : riffWalk, format)) return 0;
    const auto field = [&](size_t offset) { return LittleEndian(&format[offset], 2); };
    if (!IsAdpcm(field(0))) return 0;
    const int64_t frameBits = std::max<int64_t>(field(2) * field(14), 1);
    return std::max(field(18), field(12) * 8 / frameBits);
}

}  // namespace vantor::wavehost
