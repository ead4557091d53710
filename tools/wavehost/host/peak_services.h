// The host's peak services: readers and builders of peak files, and peaks straight from samples.
#pragma once

#include <cstdint>

#include "vantor_wave/host_interface.h"

namespace vantor::wavehost {

// "PeakGet_Create": null when there is no peak file, or one of another state of the audio file.
PeakReader* CreatePeakReader(const char* fileName, int32_t sampleRate, int32_t channels, intptr_t extra);
// "PeakBuild_CreateEx": takes `source` over when it returns a builder.
PeakBuilder* CreatePeakBuilder(PCM_source* source, const char* fileName, int32_t sampleRate, int32_t channels,
                               int32_t isFloat);
// "GetPeakFileName": the one that exists, else the one that a builder would write.
void PeakFileName(const char* fileName, char* out, int32_t outBytes);
// "HiresPeaksFromSource": fills the request from the source's samples.
void HiresPeaksFromSource(PCM_source* source, PeakRequest* request);

}  // namespace vantor::wavehost
