#include "formats/caf_markers.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>

#include "fileio/byte_order.h"
#include "formats/markers.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr uint64_t countHeaderBytes = 8;  // SMPTE time type (4, unused), count (4): of `mark` and `regn`
constexpr uint64_t markerBytes = 28;
constexpr uint64_t regionHeaderBytes = 12;
constexpr uint64_t stringEntryBytes = 12;

// | offset | width | field                                                        |
// |      0 |     4 | type (unused)                                                |
// |      4 |     8 | frame position; read as an integer, though declared as float |
// |     12 |     4 | id, a string's                                               |
// |     16 |     8 | SMPTE time (unused)                                          |
// |     24 |     4 | channel (unused)                                             |
struct CafMarker {
    int64_t frame;
    uint32_t id;
};

bool ReadMarker(BodyReader& body, CafMarker& marker) {
    uint8_t bytes[markerBytes];
    if (!body.Read(bytes, markerBytes)) return false;
    marker = {ReadBig<int64_t>(bytes + 4), ReadBe32(bytes + 12)};
    return true;
}

bool ReadCount(BodyReader& body, uint32_t& count) {
    uint8_t bytes[countHeaderBytes];
    if (!body.Read(bytes, countHeaderBytes)) return false;
    count = ReadBe32(bytes + 4);
    return true;
}

double Seconds(int64_t frame, double sampleRate) {
    return static_cast<double>(frame) / sampleRate;
}

struct Region {
    uint32_t id = 0;
    int64_t first = std::numeric_limits<int64_t>::max();
    int64_t last = std::numeric_limits<int64_t>::min();
};

// | offset | width | field               |
// |      0 |     4 | region id, a string's |
// |      4 |     4 | flags (unused)      |
// |      8 |     4 | number of markers m |
// |     12 |  28 m | markers             |
bool ReadRegion(BodyReader& body, Region& region) {
    uint8_t header[regionHeaderBytes];
    if (!body.Read(header, regionHeaderBytes)) return false;
    region.id = ReadBe32(header);
    CafMarker marker{};
    for (uint32_t left = ReadBe32(header + 8); left > 0; --left) {
        if (!ReadMarker(body, marker)) return false;
        region.first = std::min(region.first, marker.frame);
        region.last = std::max(region.last, marker.frame);
    }
    return true;
}

std::string StringOf(const CafStrings& strings, int32_t markerId) {
    if (markerId < 0) return {};
    const auto id = static_cast<uint32_t>(markerId);
    const auto entry = std::ranges::lower_bound(strings.entries, id, {}, &CafStrings::Entry::id);
    if (entry == strings.entries.end() || entry->id != id) return {};
    const auto offset = static_cast<uint64_t>(entry->offset);
    if (offset >= strings.text.size()) return {};
    const auto rest = std::span(strings.text).subspan(static_cast<size_t>(offset));
    return MarkerName(UpToNul(rest.first(std::min(rest.size(), longestMarkerName + 1))));
}

}  // namespace

bool ReadCafMarkers(BodyReader body, double sampleRate, std::vector<Marker>& markers) {
    uint32_t left = 0;
    if (!ReadCount(body, left)) return false;
    CafMarker read{};
    for (; left > 0; --left) {
        if (!ReadMarker(body, read)) return false;
        if (read.id == 0 || !(sampleRate > 0)) continue;
        Marker& marker = markers.emplace_back();
        marker.id = static_cast<int32_t>(read.id);
        marker.start = Seconds(read.frame, sampleRate);
    }
    return true;
}

bool ReadCafRegions(BodyReader body, double sampleRate, std::vector<Marker>& markers) {
    uint32_t left = 0;
    if (!ReadCount(body, left)) return false;
    for (; left > 0; --left) {
        Region region;
        if (!ReadRegion(body, region)) return false;
        if (region.first >= region.last || region.id == 0 || !(sampleRate > 0)) continue;
        Marker& marker = markers.emplace_back();
        marker.id = static_cast<int32_t>(region.id);
        marker.start = Seconds(region.first, sampleRate);
        marker.end = Seconds(region.last, sampleRate);
        marker.isRegion = true;
    }
    return true;
}

// | offset | width | field                                          |
// |      0 |     4 | number of strings n                            |
// |      4 |  12 n | string id (4), offset into the text (8)        |
// |        |       | text: NUL-terminated UTF-8 strings             |
bool ReadCafStrings(BodyReader body, CafStrings& strings) {
    strings = {};
    uint8_t bytes[stringEntryBytes];
    if (!body.Read(bytes, 4)) return false;
    for (uint32_t left = ReadBe32(bytes); left > 0; --left) {
        if (!body.Read(bytes, stringEntryBytes)) return false;
        const CafStrings::Entry entry{ReadBe32(bytes), ReadBig<int64_t>(bytes + 4)};
        if (entry.id != 0 && entry.offset >= 0) strings.entries.push_back(entry);
    }
    std::ranges::stable_sort(strings.entries, {}, &CafStrings::Entry::id);
    return ReadBody(body.reader, body.remaining, strings.text);
}

void NameCafMarkers(std::vector<Marker>& markers, const CafStrings& strings, TextPool& names) {
    int32_t number = 0;
    for (Marker& marker : markers) {
        if (const auto name = StringOf(strings, marker.id); !name.empty()) marker.name = names.Keep(name);
        marker.id = ++number;
    }
}

}  // namespace vantor
