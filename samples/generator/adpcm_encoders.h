// Small ADPCM encoders for the sample files: each code is found by trying all of them, with the decoder's own
// arithmetic.
#pragma once

#include <cstdint>
#include <vector>

namespace vantor::samples {

using Signal = std::vector<int16_t>;  // mono

// Blocks of `blockAlign` bytes, the last one filled up with silence.
std::vector<uint8_t> EncodeIma(const Signal& signal, int blockAlign);
std::vector<uint8_t> EncodeCAdpcm(const Signal& signal, int blockAlign);
std::vector<uint8_t> EncodeMs(const Signal& signal, int blockAlign);

// Frames a block of one channel holds.
constexpr int ImaBlockFrames(int blockAlign) {
    return blockAlign * 2 - 7;
}
constexpr int CAdpcmBlockFrames(int blockAlign) {
    return blockAlign * 4 - 15;
}
constexpr int MsBlockFrames(int blockAlign) {
    return blockAlign * 2 - 12;
}

}  // namespace vantor::samples
