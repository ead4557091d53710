// The parts of an image that stay where old chunks of theirs stand, each in a gap that it fits.
#pragma once

#include <span>

#include "edit/edit_mark.h"
#include "edit/in_place_plan.h"

namespace vantor {

// True when padding of `room` bytes takes chunks of so many, with room for no padding behind them or for
// some.
[[nodiscard]] bool Leaves(int64_t room, int64_t bytes);
[[nodiscard]] bool IsPlaced(const InPlacePlan& plan, size_t gap);

// Puts the chunks whose places are in such gaps behind the rest of the image. False when none are.
[[nodiscard]] bool PlaceParts(InPlacePlan& plan, std::span<const ChunkPlace> places);

[[nodiscard]] CopyMark MarkOf(const InPlacePlan& plan);
// Takes target and parts from the mark. False when they do not fit the runs.
[[nodiscard]] bool TakePlaces(InPlacePlan& plan, const CopyMark& mark);

}  // namespace vantor
