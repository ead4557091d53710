// Fits the channels of a file to the channels that a host asks for.
#pragma once

#include <cstdint>

namespace vantor {

// Copies `frames` interleaved frames. A mono file feeds the first two channels of a wider output; otherwise
// the channels go one to one. File channels beyond the output's are left out, output channels that nothing
// feeds are silent. The channel counts are at least 1 and differ; the buffers do not overlap.
void MapChannels(const double* from, int32_t fromChannels, double* to, int32_t toChannels, int64_t frames);

}  // namespace vantor
