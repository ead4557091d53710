// The keys under which the markers of an XMP packet lie in a store.
#pragma once

#include <cstdio>
#include <string>

namespace vantor {

inline constexpr int xmpMarkerLimit = 1000;

// "XMP:MARK000" and so on, for numbers below the limit.
[[nodiscard]] inline std::string XmpMarkerKey(int number) {
    char key[24];
    std::snprintf(key, sizeof key, "XMP:MARK%03d", number);
    return key;
}

}  // namespace vantor
