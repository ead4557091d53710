// Pictures decoded by the system's imaging component.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vantor::platform {

// Pixels of 32 bits, blue first, then green, red and alpha, which the colours are multiplied by; rows from
// the top down without gaps.
struct Picture {
    int32_t width = 0;  // as scaled
    int32_t height = 0;
    std::vector<uint8_t> pixels;  // none when the picture is too large to decode
    int32_t storedWidth = 0;
    int32_t storedHeight = 0;
};

inline constexpr int64_t mostDecodedPixels = int64_t{1} << 26;  // a file of a few bytes may claim any number

// The picture of an encoded file (PNG, JPEG, GIF, BMP and what else the system reads), made smaller where
// that is needed to fit the box, never larger. Nothing when the system cannot decode it or has no such
// component.
[[nodiscard]] std::optional<Picture> DecodePicture(std::span<const uint8_t> bytes, int32_t boxWidth,
                                                   int32_t boxHeight);

}  // namespace vantor::platform
