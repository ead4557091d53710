// A cue point or region of a file.
#pragma once

#include <cstdint>

namespace vantor {

// Which kind of text gave a marker its name; a higher one replaces a lower one.
enum NamePriority : int8_t { nameNone = 0, nameFromLtxt = 8, nameFromNote = 16, nameFromLabl = 24 };

// Small, for a file may bring very many: twelve bytes of it make one.
struct Marker {
    int32_t id = 0;
    bool isRegion = false;
    NamePriority namePriority = nameNone;
    double start = 0;            // seconds
    double end = 0;              // seconds
    const char* name = nullptr;  // in the pool beside the markers; null when there is none
};

}  // namespace vantor
