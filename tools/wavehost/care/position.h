// The positions on the timeline that the tags of a file tell.
#pragma once

#include <vector>

#include "formats/audio_format.h"

namespace vantor::wavehost {

struct TaggedPosition {
    const char* source;  // "bext", "iXML", ...
    double seconds;
    double tolerance;  // seconds; what its unit cannot tell apart
};
// Those that are there, `bext` first.
std::vector<TaggedPosition> PositionsOf(const AudioFormat& format);

}  // namespace vantor::wavehost
