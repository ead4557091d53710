#include "decode/channel_map.h"

#include <algorithm>

namespace vantor {

namespace {

void MonoToStereo(const double* from, double* to, int64_t frames) {
    for (int64_t i = 0; i < frames; ++i)
        to[2 * i] = to[2 * i + 1] = from[i];
}

void OneChannel(const double* from, int32_t fromChannels, double* to, int32_t toChannels, int64_t frames) {
    for (int64_t i = 0; i < frames; ++i)
        to[i * toChannels] = from[i * fromChannels];
}

}  // namespace

void MapChannels(const double* from, int32_t fromChannels, double* to, int32_t toChannels, int64_t frames) {
    if (fromChannels == 1 && toChannels == 2) return MonoToStereo(from, to, frames);
    const int32_t copied = std::min(fromChannels, toChannels);
    if (copied < toChannels) std::fill_n(to, frames * toChannels, 0.0);
    for (int32_t channel = 0; channel < copied; ++channel)
        OneChannel(from + channel, fromChannels, to + channel, toChannels, frames);
    if (fromChannels == 1) OneChannel(from, 1, to + 1, toChannels, frames);
}

}  // namespace vantor
