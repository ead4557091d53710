// The marker list of RF64 and BW64 files (EBU Tech 3306): 320-byte entries with 64-bit positions.
#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <tuple>

#include "fileio/byte_order.h"
#include "formats/markers.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t entryBytes = 320;
constexpr uint32_t flagValid = 1;
constexpr uint32_t flagLabelElsewhere = 8;
constexpr uint32_t regionEndId = 0xDEADBEEF;

// | offset | width | field                         |
// |      0 |     4 | flags                         |
// |      4 |     8 | sample offset                 |
// |     28 |   256 | label, ended by a NUL         |
// |    284 |     4 | marker id                     |
struct Entry {
    uint32_t flags;
    uint64_t frame;
    std::string_view label;
    uint32_t id;
};

Entry EntryAt(std::span<const uint8_t> body, size_t offset) {
    const uint8_t* bytes = body.data() + offset;
    return {ReadLe32(bytes), ReadLe64(bytes + 4), UpToNul(body.subspan(offset + 28, 256)),
            ReadLe32(bytes + 284)};
}

// The markers by id and 32-bit frame; of equal ones the first comes first.
class MarkersByPlace {
  public:
    MarkersByPlace(std::vector<Marker>& markers, double sampleRate)
        : markers_(markers), sampleRate_(sampleRate) {
        for (size_t i = 0; i < markers.size(); ++i)
            Insert(i);
    }

    // The entry's marker, moved or made.
    Marker& Place(const Entry& entry) {
        const auto id = static_cast<int32_t>(entry.id);
        const auto found = places_.lower_bound({id, static_cast<uint32_t>(entry.frame), 0});
        const double position = static_cast<double>(entry.frame) / sampleRate_;
        const bool matches = found != places_.end() && std::get<0>(*found) == id &&
                             std::get<1>(*found) == static_cast<uint32_t>(entry.frame);
        const size_t index = matches ? std::get<2>(*found) : markers_.size();
        if (matches) {
            places_.erase(found);
            Move(markers_[index], position);
        } else {
            markers_.push_back({.id = id, .start = position, .end = position});
        }
        Insert(index);
        return markers_[index];
    }

  private:
    static void Move(Marker& marker, double position) {
        if (marker.isRegion) marker.end += position - marker.start;
        marker.start = position;
    }

    void Insert(size_t index) {
        const double frame = std::round(markers_[index].start * sampleRate_);
        if (frame >= 0 && frame <= 0xFFFFFFFFu)
            places_.insert({markers_[index].id, static_cast<uint32_t>(frame), index});
    }

    std::vector<Marker>& markers_;
    double sampleRate_;
    std::set<std::tuple<int32_t, uint32_t, size_t>> places_;
};

}  // namespace

void ReadRf64Markers(std::span<const uint8_t> body, double sampleRate, std::vector<Marker>& markers,
                     TextPool& names) {
    if (!(sampleRate > 0) || body.size() < entryBytes) return;
    MarkersByPlace places(markers, sampleRate);
    for (size_t at = 0; body.size() - at >= entryBytes; at += entryBytes) {
        const Entry entry = EntryAt(body, at);
        if (!(entry.flags & flagValid)) continue;
        Marker& marker = places.Place(entry);
        if (!(entry.flags & flagLabelElsewhere) && !entry.label.empty())
            marker.name = names.Keep(MarkerName(entry.label));
        if (body.size() - at < 2 * entryBytes) break;
        const Entry next = EntryAt(body, at + entryBytes);
        if (next.flags != 0 || next.id != regionEndId) continue;
        marker.isRegion = true;
        marker.end = static_cast<double>(next.frame) / sampleRate;
    }
}

}  // namespace vantor
