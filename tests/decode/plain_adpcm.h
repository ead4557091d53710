// A second decoder of the three ADPCM codings, one code after another, to compare with.
#pragma once

#include <array>
#include <cstdint>

#include "tests/decode/decode_support.h"

namespace vantor::test {

using Coefficients = std::array<int16_t, 14>;  // seven pairs

// Every frame of whole blocks of `blockBytes`. Bytes that a channel lacks in the last round count as zeros.
Samples PlainIma(const Bytes& stream, size_t channels, size_t blockBytes, int bitsPerCode);
Samples PlainMs(const Bytes& stream, size_t channels, size_t blockBytes, const Coefficients& coefficients);

}  // namespace vantor::test
