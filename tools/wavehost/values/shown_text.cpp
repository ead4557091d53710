#include "wavehost/values/shown_text.h"

#include <cstdint>

#include "text/text.h"

namespace vantor::wavehost {

bool IsUtf8(std::string_view text) {
    return IsValidUtf8(text);
}

std::string ShownText(std::string_view text) {
    return Utf8OrWindows1252(text);
}

std::optional<std::string> MarkedText(std::string_view bytes) {
    const bool isBigEndian = bytes.starts_with("\xFE\xFF");
    if (isBigEndian || bytes.starts_with("\xFF\xFE"))
        return Utf16ToUtf8({reinterpret_cast<const uint8_t*>(bytes.data()) + 2, bytes.size() - 2},
                           isBigEndian);
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    return IsValidUtf8(bytes) ? std::optional(std::string(bytes)) : std::nullopt;
}

}  // namespace vantor::wavehost
