// The markers of one walk, found by their ids.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "formats/marker.h"
#include "text/text_pool.h"

namespace vantor {

// More cue points than that are not kept: twelve bytes of a file would become fifty in memory.
inline constexpr size_t mostCuePoints = 131072;

// While it lives, markers are added through it alone.
class MarkerTable {
  public:
    // Without markers yet. Names are kept in the pool.
    MarkerTable(std::vector<Marker>& markers, TextPool& names);
    MarkerTable(const MarkerTable&) = delete;
    MarkerTable& operator=(const MarkerTable&) = delete;

    // So many markers may follow, at most: as many as that need no more room then.
    void Expect(size_t markers);
    // The first marker of the id, appended when there is none. Of those that are too many a marker that is
    // not kept. Valid until the next call.
    Marker& FindOrCreate(uint32_t id);
    // Replaces a name of lower priority.
    void Name(Marker& marker, std::string_view name, NamePriority priority);

  private:
    size_t SlotOf(int32_t id) const;
    void SetSlots(size_t slots);

    std::vector<Marker>& markers_;
    TextPool& names_;
    Marker beyond_;
    std::vector<uint32_t> slots_;  // a marker's place in markers_ and 1, or 0
};

}  // namespace vantor
