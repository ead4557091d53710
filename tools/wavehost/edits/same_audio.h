// Whether two files hold the same audio.
#pragma once

#include "wavehost/facts/source_facts.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

// What must not change while tags are written.
struct AudioShape {
    int32_t channels;
    double sampleRate;
    double lengthSeconds;
    bool operator==(const AudioShape&) const = default;
};

AudioShape ShapeOf(PCM_source& source);

// Compares shape and samples. Throws Failure when a file cannot be opened.
bool IsSameAudio(const Module& module, const fs::path& left, const fs::path& right);

}  // namespace vantor::wavehost
