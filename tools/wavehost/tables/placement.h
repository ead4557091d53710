// Where a file stands on the timeline, in the forms that people read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "wavehost/facts/source_facts.h"
#include "wavehost/values/timecode.h"

namespace vantor::wavehost {

struct Placement {
    uint64_t samples;       // since midnight
    std::string clock;      // HH:MM:SS.mmm
    const FrameRate* rate;  // null: the file gives none
    std::string timecode;   // HH:MM:SS:FF; empty without a rate
};

// Nothing when the file has no position.
std::optional<Placement> PlacementOf(double positionSeconds, double sampleRate, const Metadata& metadata);

}  // namespace vantor::wavehost
