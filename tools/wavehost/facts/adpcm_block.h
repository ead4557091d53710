// How much sound an ADPCM file holds in one of its blocks: of a last block that is cut off nothing can be
// played.
#pragma once

#include <cstdint>

#include "wavehost/os/system.h"

namespace vantor::wavehost {

// Frames; 0 when the file is no WAV, RF64, BW64 or Wave64 file of ADPCM.
int64_t AdpcmBlockFrames(const fs::path& file);

}  // namespace vantor::wavehost
