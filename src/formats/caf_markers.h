// Markers, regions and the string table that names them in Core Audio Format files.
#pragma once

#include <cstdint>
#include <vector>

#include "formats/chunk_cursor.h"
#include "formats/marker.h"
#include "text/text_pool.h"

namespace vantor {

// Each reads a body and adds to `markers`; a marker carries the id of its name in the string table until
// NameCafMarkers. False when the body ends early. Without a sample rate (in Hz) nothing is added.
[[nodiscard]] bool ReadCafMarkers(BodyReader body, double sampleRate, std::vector<Marker>& markers);
[[nodiscard]] bool ReadCafRegions(BodyReader body, double sampleRate, std::vector<Marker>& markers);

struct CafStrings {
    struct Entry {
        uint32_t id;
        int64_t offset;  // of the NUL-terminated UTF-8 string in `text`, not negative
    };
    std::vector<Entry> entries;  // by id; of several with one id the first counts
    std::vector<uint8_t> text;
};
// Reads the body into `strings`, in place of what they held. False when the body ends early.
[[nodiscard]] bool ReadCafStrings(BodyReader body, CafStrings& strings);

// Gives the markers their names, kept in the pool, and numbers them from 1.
void NameCafMarkers(std::vector<Marker>& markers, const CafStrings& strings, TextPool& names);

}  // namespace vantor
