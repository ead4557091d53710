#include "decode/rate_conversion.h"

#include <algorithm>
#include <cmath>

#include "decode/deliver_frames.h"
#include "formats/audio_format.h"
#include "host/host_services.h"

namespace vantor {

namespace {

constexpr double equalRates = 0.00001;                 // Hz
constexpr int64_t maxInputSamples = int64_t{1} << 28;  // a resampler that wants more is mistaken

bool EnsureResampler(ReaderContext& context) {
    if (!context.resampler && Services().createResampler)
        context.resampler.Reset(Services().createResampler());
    return static_cast<bool>(context.resampler);
}

}  // namespace

RatePlan PlanRates(const TransferBlock& block, ReaderContext& context, double fileRate,
                   intptr_t resampleMode) {
    const bool equal = std::abs(fileRate - block.sampleRate) < equalRates;
    if (equal && context.resamplerState != ResamplerState::inUse) return {};
    if (!EnsureResampler(context)) return {RateUse::impossible, 0};
    context.resamplerState = ResamplerState::inUse;
    Resampler& resampler = *context.resampler.Get();
    resampler.Configure(resamplerMode, resampleMode);
    resampler.SetRates(fileRate, block.sampleRate);
    const double latency = resampler.LatencySeconds();
    return {equal ? RateUse::draining : RateUse::converting, std::isfinite(latency) ? latency : 0};
}

void JumpRates(RatePlan& plan, ReaderContext& context) {
    if (plan.use == RateUse::direct) return;
    context.resampler->Reset();
    if (plan.use == RateUse::converting) return;
    context.resamplerState = ResamplerState::setAside;
    plan.use = RateUse::direct;
}

int32_t ResampleFrames(TransferBlock& block, ReaderContext& context, const AudioFormat& format) {
    Resampler& resampler = *context.resampler.Get();
    double* input = nullptr;
    const int64_t wanted = resampler.RequestInput(block.frames, block.channels, &input);
    const int64_t limit = input ? maxInputSamples / block.channels : 0;
    const int64_t read = DeliverFrames(context, format, input, block.channels, std::min(wanted, limit));
    const int32_t produced =
        resampler.Produce(block.samples, static_cast<int32_t>(read), block.frames, block.channels);
    return std::clamp(produced, 0, block.frames);
}

}  // namespace vantor
