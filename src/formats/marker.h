// A cue point or region of a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vantor {

// Which kind of text gave a marker its name; a higher one replaces a lower one.
enum NamePriority : int32_t { nameNone = 0, nameFromLtxt = 8, nameFromNote = 16, nameFromLabl = 24 };

struct Marker {
    int32_t id = 0;
    double start = 0;  // seconds
    double end = 0;    // seconds
    bool isRegion = false;
    std::optional<std::string> name;
    int32_t namePriority = nameNone;
};

}  // namespace vantor
