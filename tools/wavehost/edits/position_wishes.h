// A position on the timeline as an edit: every key of the file that tells it says the same afterwards.
#pragma once

#include <cstdint>

#include "wavehost/facts/source_facts.h"
#include "wavehost/values/assignments.h"

namespace vantor::wavehost {

// `samples` since midnight, at the file's rate in Hz. The broadcast chunk's field, and whichever others the
// tags have.
Assignments PositionWishes(uint64_t samples, double sampleRate, const Metadata& tags);

// Values that count samples, brought from one rate to the other, so that they name the same time.
Assignments AtRate(Assignments wishes, double fromRate, double toRate);

}  // namespace vantor::wavehost
