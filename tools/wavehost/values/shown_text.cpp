#include "wavehost/values/shown_text.h"

#include <cstdint>

#include "text/text.h"

namespace vantor::wavehost {

namespace {

// 0x80 to 0x9F.
constexpr uint32_t letters[] = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178,
};

}  // namespace

bool IsUtf8(std::string_view text) {
    return IsValidUtf8(text);
}

std::string ShownText(std::string_view text) {
    if (IsValidUtf8(text)) return std::string(text);
    std::string shown;
    for (const char letter : text) {
        const auto byte = static_cast<uint8_t>(letter);
        AppendUtf8(shown, byte >= 0x80 && byte < 0xA0 ? letters[byte - 0x80] : byte);
    }
    return shown;
}

}  // namespace vantor::wavehost
