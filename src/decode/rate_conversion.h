// The host's resampler between the file's rate and the rate of a request.
#pragma once

#include "decode/reader_context.h"

namespace vantor {

enum class RateUse {
    direct,      // equal rates: no resampler
    converting,  // different rates
    draining,    // equal again: the stream passes through the resampler until the next jump
    impossible,  // the host gives no resampler
};

struct RatePlan {
    RateUse use = RateUse::direct;
    double latencySeconds = 0;  // of input that the resampler holds back
};

// Decides how the request is served, and readies the context's resampler when it takes part.
[[nodiscard]] RatePlan PlanRates(const TransferBlock& block, ReaderContext& context, double fileRate,
                                 intptr_t resampleMode);

// The stream starts anew elsewhere: the resampler forgets its input; one that was draining is set aside and
// the request goes on without it.
void JumpRates(RatePlan& plan, ReaderContext& context);

// Frames of the block produced through the resampler.
[[nodiscard]] int32_t ResampleFrames(TransferBlock& block, ReaderContext& context, const AudioFormat& format);

}  // namespace vantor
