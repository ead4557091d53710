// How Microsoft ADPCM, IMA ADPCM and cADPCM lay out a block: a header that holds the first frames, then
// rounds, the smallest runs of bytes that give every channel the same number of frames.
#pragma once

#include <cstdint>

#include "formats/audio_format.h"

namespace vantor {

// For each channel of a block.
struct AdpcmShape {
    int32_t encoding;
    int32_t headerBytes;
    int32_t headerFrames;
    int32_t framesPerByte;
    int32_t roundBytes;
};

inline constexpr AdpcmShape adpcmShapes[] = {
    {encodingMsAdpcm, 7, 2, 2, 1},
    {encodingImaAdpcm, 4, 1, 2, 4},
    {encodingCAdpcm, 4, 1, 4, 4},
};

// Null for any other coding.
[[nodiscard]] constexpr const AdpcmShape* FindAdpcmShape(int32_t encoding) {
    for (const auto& shape : adpcmShapes)
        if (shape.encoding == encoding) return &shape;
    return nullptr;
}

[[nodiscard]] constexpr bool IsAdpcm(int32_t encoding) {
    return FindAdpcmShape(encoding) != nullptr;
}

}  // namespace vantor
