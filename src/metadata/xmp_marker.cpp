#include "metadata/xmp_marker.h"

#include <cmath>
#include <cstdio>

#include "text/text.h"

namespace vantor {

std::string XmpMarkerKey(int number) {
    char key[24];
    std::snprintf(key, sizeof key, "XMP:MARK%03d", number);
    return key;
}

std::optional<XmpMarkerValue> ParseXmpMarker(std::string_view value) {
    const size_t colon = value.find(':');
    if (colon == value.npos) return {};
    const size_t nameColon = value.find(':', colon + 1);
    XmpMarkerValue marker{DecimalNumber(value.substr(0, colon)), DecimalNumber(value.substr(colon + 1)), {}};
    if (nameColon != value.npos) marker.name = value.substr(nameColon + 1);
    if (!(marker.start >= 0 && marker.start <= marker.end && std::isfinite(marker.end))) return {};
    return marker;
}

}  // namespace vantor
