// The ticks of a time axis: in the file's own time, or in that of its place on the timeline.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wavehost/values/timecode.h"

namespace vantor::wavehost {

// The stretch of a file that is drawn.
struct ShownTime {
    double startSeconds;
    double lengthSeconds;
    double sampleRate;                        // Hz
    std::optional<uint64_t> positionSamples;  // of the file's first frame on the timeline
    const FrameRate* frameRate = nullptr;     // with one, the axis shows timecode
};

struct Tick {
    double seconds;  // in the file
    std::string label;
};

// Ticks at round times, at least `leastDistance` pixels from each other.
std::vector<Tick> TimeTicks(const ShownTime& time, double plotWidth, double leastDistance);
// A place in the file as the axis would show it, to a thousandth of a second or a frame.
std::string TimeLabel(const ShownTime& time, double seconds);

}  // namespace vantor::wavehost
