// The values of the 256 u-law codes (ITU-T G.711 segments, inverted code order): eight segments of sixteen
// codes a half, the step halving from one to the next. The negative half lies 1/8192 below the mirror image
// of the positive one, so that code 255 is silence and code 127 the smallest negative value.
#pragma once

#include <array>
#include <cstdint>

namespace vantor {

constexpr double UlawValue(uint8_t code) {
    const int segment = (code & 127) / 16;
    const int place = code % 16;
    const double segmentTop = 1.0 / (1 << segment);
    const double magnitude = segmentTop - 17.0 / 4096 - place * segmentTop / 32;
    return code >= 128 ? magnitude : -magnitude - 1.0 / 8192;
}

inline constexpr std::array<double, 256> ulawTable = [] {
    std::array<double, 256> table{};
    for (unsigned code = 0; code < 256; ++code)
        table[code] = UlawValue(static_cast<uint8_t>(code));
    return table;
}();

}  // namespace vantor
