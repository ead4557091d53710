#include "wavehost/values/shown_text.h"

#include <cstdint>

#include "text/text.h"

namespace vantor::wavehost {

namespace {

std::optional<std::string> NarrowUnits(std::string_view bytes, bool isBigEndian) {
    if (bytes.size() % 2 != 0) return std::nullopt;
    std::u16string units;
    for (size_t i = 0; i < bytes.size(); i += 2) {
        const auto first = static_cast<uint8_t>(bytes[i]), second = static_cast<uint8_t>(bytes[i + 1]);
        units += static_cast<char16_t>(isBigEndian ? first << 8 | second : second << 8 | first);
    }
    return NarrowText(units);
}

}  // namespace

bool IsUtf8(std::string_view text) {
    return IsValidUtf8(text);
}

std::string ShownText(std::string_view text) {
    return Utf8OrWindows1252(text);
}

std::optional<std::string> MarkedText(std::string_view bytes) {
    const bool isBigEndian = bytes.starts_with("\xFE\xFF");
    if (isBigEndian || bytes.starts_with("\xFF\xFE")) return NarrowUnits(bytes.substr(2), isBigEndian);
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    return IsValidUtf8(bytes) ? std::optional(std::string(bytes)) : std::nullopt;
}

}  // namespace vantor::wavehost
