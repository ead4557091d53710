// A small waveform for a row of a table.
#pragma once

#include <string>
#include <vector>

#include "vantor_wave/host_interface.h"

namespace vantor::wavehost {

inline constexpr int waveformColumns = 160;
inline constexpr int waveformHeight = 32;  // rows; full scale is half of them either way

struct WaveformColumn {
    double least = 0, most = 0;
};
using Waveform = std::vector<WaveformColumn>;  // over all channels; empty: no sound

// Reads all of the sound: a clap is one block in an hour. Throws Interrupted.
Waveform WaveformOf(PCM_source& source);

// The path of an SVG image, a stroke a column; empty for no sound.
std::string WaveformPath(const Waveform& waveform);

}  // namespace vantor::wavehost
