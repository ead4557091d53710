// The host's rate conversion: the object that the module asks for, and the converter that does the work.
#pragma once

#include <cstdint>
#include <memory>

#include "vantor_wave/host_interface.h"

namespace vantor::wavehost {

// Host service "Resampler_Create". Null when memory runs out.
Resampler* CreateResampler();

// Converts one stream of interleaved samples. Output frame n stands at input time n x inputRate / outputRate.
class RateConverter {
  public:
    virtual ~RateConverter() = default;
    // Input frames behind the current place that an output frame needs.
    [[nodiscard]] virtual int64_t LookAheadFrames() const = 0;
    // Takes all of `input`; `last`: nothing follows, so the end is played out over silence. Writes up to
    // `outputFrames` and returns how many.
    virtual int32_t Convert(const double* input, int32_t inputFrames, bool last, double* output,
                            int32_t outputFrames) = 0;
};

// Null when the two rates are out of its reach. Where libsamplerate is not at hand, a windowed sinc of the
// same interface takes its place.
std::unique_ptr<RateConverter> CreateRateConverter(int32_t channels, double inputRate, double outputRate);

}  // namespace vantor::wavehost
