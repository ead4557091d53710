// A second ADPCM decoder, written for clarity from the layout of the codings: one sample list a channel, one
// code after another. What the module decodes is held against it.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "tests/support/byte_writer.h"

namespace vantor::test {

struct ReferenceCoding {
    int32_t encoding;
    int32_t channels;
    int32_t blockAlign;
    std::array<int16_t, 14> coefficients{256, 0, 512, -256, 0, 0, 192, 64, 240, 0, 460, -208, 392, -232};
};

[[nodiscard]] int32_t ReferenceFramesPerBlock(const ReferenceCoding& coding);

// Interleaved samples of all whole blocks, full scale 1.0. A block with an unknown predictor is silent.
[[nodiscard]] std::vector<double> ReferenceDecode(const ReferenceCoding& coding, const Bytes& stream);

}  // namespace vantor::test
