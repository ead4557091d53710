#include "decode/channel_map.h"

#include <algorithm>

namespace vantor {

namespace {

void MonoToStereo(const double* from, double* to, int64_t frames) {
    for (int64_t i = 0; i < frames; ++i)
        to[2 * i] = to[2 * i + 1] = from[i];
}

void FirstOfMany(const double* from, int32_t fromChannels, double* to, int64_t frames) {
    for (int64_t i = 0; i < frames; ++i)
        to[i] = from[i * fromChannels];
}

void MapFrame(const double* from, int32_t fromChannels, double* to, int32_t toChannels) {
    const int32_t copied = std::min(fromChannels, toChannels);
    std::copy_n(from, copied, to);
    std::fill(to + copied, to + toChannels, 0.0);
    if (fromChannels == 1 && toChannels >= 2) to[1] = from[0];
}

}  // namespace

void MapChannels(const double* from, int32_t fromChannels, double* to, int32_t toChannels, int64_t frames) {
    if (fromChannels == 1 && toChannels == 2) return MonoToStereo(from, to, frames);
    if (toChannels == 1) return FirstOfMany(from, fromChannels, to, frames);
    for (int64_t i = 0; i < frames; ++i)
        MapFrame(from + i * fromChannels, fromChannels, to + i * toChannels, toChannels);
}

}  // namespace vantor
