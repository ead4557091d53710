#include "decode/adpcm.h"

#include <algorithm>

#include "decode/ima_adpcm.h"
#include "decode/ms_adpcm.h"
#include "formats/adpcm_shape.h"
#include "formats/audio_format.h"

namespace vantor {

namespace {

void SetSizes(AdpcmCoding& coding, const AdpcmShape& shape) {
    const int32_t channelBytes = coding.blockAlign / coding.channels;
    if (channelBytes < shape.headerBytes) return;
    coding.framesPerBlock = shape.headerFrames + (channelBytes - shape.headerBytes) * shape.framesPerByte;
    coding.headerBytes = shape.headerBytes * coding.channels;
    coding.headerFrames = shape.headerFrames;
    coding.roundBytes = shape.roundBytes * coding.channels;
    coding.roundFrames = shape.roundBytes * shape.framesPerByte;
}

}  // namespace

AdpcmCoding CodingOf(const AudioFormat& format) {
    AdpcmCoding coding;
    coding.encoding = format.encoding;
    coding.channels = format.channels;
    coding.blockAlign = format.blockAlign;
    coding.bitsPerSample = format.bitsPerSample;
    coding.coefficients = format.msadpcmCoefficients.value_or(standardMsCoefficients);
    if (coding.channels < 1 || coding.blockAlign > maxAdpcmBlockBytes) return coding;
    if (const auto* shape = FindAdpcmShape(coding.encoding)) SetSizes(coding, *shape);
    return coding;
}

bool DecodeHeader(const AdpcmCoding& coding, const uint8_t* block, AdpcmChannel* channels, int16_t* frames) {
    if (coding.encoding == encodingMsAdpcm) return DecodeMsHeader(coding, block, channels, frames);
    DecodeImaHeader(coding, block, channels, frames);
    return true;
}

size_t BlocksTogether(const AdpcmCoding& coding) {
    // Beyond that it is the memory that counts.
    constexpr int32_t longestBlock = 1 << 13;
    constexpr int32_t imaLanes = 4;  // channels decoded side by side, as many as the registers hold
    if (coding.blockAlign > longestBlock) return 1;
    if (coding.encoding == encodingMsAdpcm) return coding.channels == 2 ? MsStereoRunsTogether() : 1;
    return static_cast<size_t>(std::max(1, imaLanes / coding.channels));
}

void DecodeRounds(const AdpcmCoding& coding, std::span<const AdpcmRun> runs, int64_t count) {
    switch (coding.encoding) {
        case encodingMsAdpcm:
            return DecodeMsRounds(coding.channels, runs, count);
        case encodingImaAdpcm:
            return DecodeImaRounds(coding.channels, runs, count);
        case encodingCAdpcm:
            return DecodeCAdpcmRounds(coding.channels, runs, count);
        default:
            return;
    }
}

}  // namespace vantor
