// The markers of an XMP packet in a store: their keys and values, and the key of the packet's language.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantor {

inline constexpr const char* xmpLanguageKey = "XMP:dc/language";
inline constexpr int xmpMarkerLimit = 1000;

// "XMP:MARK000" and so on, for numbers below the limit.
[[nodiscard]] std::string XmpMarkerKey(int number);

struct XmpMarkerValue {
    double start;  // microseconds
    double end;
    std::string_view name;  // of the value
};
// "start:end" or "start:end:name" with 0 <= start <= end; nothing else is a marker.
[[nodiscard]] std::optional<XmpMarkerValue> ParseXmpMarker(std::string_view value);

}  // namespace vantor
