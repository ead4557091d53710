#include "wavehost/tables/placement.h"

#include <cmath>

namespace vantor::wavehost {

std::optional<Placement> PlacementOf(double positionSeconds, double sampleRate, const Metadata& metadata) {
    constexpr double mostSamples = 9e18;
    const double samples = std::round(positionSeconds * sampleRate);
    if (!(samples >= 0) || samples > mostSamples || !(sampleRate >= 1)) return std::nullopt;
    Placement placement{};
    placement.samples = static_cast<uint64_t>(samples);
    placement.clock = ClockText(placement.samples, sampleRate);
    placement.rate = FrameRateOfIxml(FirstValue(metadata, {"IXML:SPEED:TIMECODE_RATE"}),
                                     FirstValue(metadata, {"IXML:SPEED:TIMECODE_FLAG"}));
    if (placement.rate) placement.timecode = TimecodeText(placement.samples, sampleRate, *placement.rate);
    return placement;
}

}  // namespace vantor::wavehost
