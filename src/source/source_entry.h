// What the entry needs of the source floor.
#pragma once

#include <cstdint>

#include "vantor_wave/host_interface.h"

namespace vantor {

// A new, empty wave source.
PCM_source* CreateEmptyWaveSource();
// A wave source opened on the file (it may be offline). Null when memory runs out. *isMpegInWave: the file
// holds MPEG audio.
PCM_source* CreateWaveSource(const char* fileName, bool* isMpegInWave);
// A source that carries the file's metadata and no audio; null when the file cannot be read.
PCM_source* CreateMetadataSource(const char* fileName);
// Closes idle handles and peak sources of playback files; returns how many. Bit 1: gentle, bit 2: forced.
int32_t OpenFileReduce(uint32_t flags);

}  // namespace vantor
