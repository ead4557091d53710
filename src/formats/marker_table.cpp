#include "formats/marker_table.h"

#include <algorithm>

namespace vantor {

namespace {

constexpr size_t firstSlots = 16;

// A quarter of them stays free, and one at least.
size_t SlotsFor(size_t markers) {
    return markers / 3 * 4 + 4;
}

// Bits that depend on all bits of the id, and on where the table lies: no file can know ids that meet.
uint32_t Scattered(int32_t id, const void* table) {
    auto bits = static_cast<uint32_t>(id) ^ static_cast<uint32_t>(reinterpret_cast<uintptr_t>(table) >> 4);
    bits = (bits ^ bits >> 16) * 0x7FEB352D;
    bits = (bits ^ bits >> 15) * 0x846CA68B;
    return bits ^ bits >> 16;
}

}  // namespace

MarkerTable::MarkerTable(std::vector<Marker>& markers, TextPool& names) : markers_(markers), names_(names) {}

// The id's slot, or the free one that it takes.
size_t MarkerTable::SlotOf(int32_t id) const {
    size_t slot = Scattered(id, this) % slots_.size();
    while (slots_[slot] != 0 && markers_[slots_[slot] - 1].id != id)
        slot = (slot + 1) % slots_.size();
    return slot;
}

void MarkerTable::SetSlots(size_t slots) {
    slots_ = std::vector<uint32_t>();  // first, so that there are never two
    slots_.resize(slots);
    for (size_t i = 0; i < markers_.size(); ++i)
        slots_[SlotOf(markers_[i].id)] = static_cast<uint32_t>(i + 1);
}

void MarkerTable::Expect(size_t markers) {
    const size_t count = std::min(markers_.size() + markers, mostCuePoints);
    if (count > 2 * markers_.capacity()) markers_.reserve(count);
    if (count > 2 * slots_.size()) SetSlots(SlotsFor(count));
}

Marker& MarkerTable::FindOrCreate(uint32_t id) {
    const auto signedId = static_cast<int32_t>(id);
    if (slots_.empty()) SetSlots(firstSlots);
    const size_t slot = SlotOf(signedId);
    if (slots_[slot] != 0) return markers_[slots_[slot] - 1];
    if (markers_.size() == mostCuePoints) return beyond_ = Marker();
    markers_.emplace_back().id = signedId;
    slots_[slot] = static_cast<uint32_t>(markers_.size());
    if (SlotsFor(markers_.size()) > slots_.size()) SetSlots(2 * slots_.size());
    return markers_.back();
}

void MarkerTable::Name(Marker& marker, std::string_view name, NamePriority priority) {
    if (priority <= marker.namePriority) return;
    marker.namePriority = priority;
    if (&marker != &beyond_) marker.name = names_.Keep(name);
}

}  // namespace vantor
