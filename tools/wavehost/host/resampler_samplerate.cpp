#include <samplerate.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

#include "wavehost/host/resampler.h"

namespace vantor::wavehost {

namespace {

constexpr double kernelReachFrames = 46;  // half the length of the SRC_SINC_MEDIUM_QUALITY filter

struct FreeState {
    void operator()(SRC_STATE* state) const { src_delete(state); }
};

class SamplerateConverter final : public RateConverter {
  public:
    SamplerateConverter(SRC_STATE* state, int32_t channels, double inputRate, double outputRate)
        : state_(state), channels_(static_cast<size_t>(channels)), ratio_(outputRate / inputRate) {}

    [[nodiscard]] int64_t LookAheadFrames() const override {
        return std::llround(std::ceil(kernelReachFrames * std::max(1.0, 1 / ratio_))) + 16;
    }

    int32_t Convert(const double* input, int32_t inputFrames, bool last, double* output,
                    int32_t outputFrames) override {
        const size_t samples = static_cast<size_t>(inputFrames) * channels_;
        waiting_.reserve(waiting_.size() + samples);
        std::transform(input, input + samples, std::back_inserter(waiting_),
                       [](double sample) { return static_cast<float>(sample); });
        taken_ += inputFrames;
        if (last) outputFrames = PlayOut(outputFrames);
        made_.resize(std::max(made_.size(), static_cast<size_t>(outputFrames) * channels_));

        const int32_t frames = Run(outputFrames);
        std::copy_n(made_.begin(), static_cast<size_t>(frames) * channels_, output);
        given_ += frames;
        return frames;
    }

  private:
    // The library's own end of a stream may come a frame early: instead silence follows the input, and the
    // output ends where the input did. Returns the output frames that are left, at most `outputFrames`.
    int32_t PlayOut(int32_t outputFrames) {
        const double left = std::ceil(static_cast<double>(taken_) * ratio_) - static_cast<double>(given_);
        outputFrames = std::clamp(static_cast<int32_t>(std::min(left, 1e9)), 0, outputFrames);
        const double silence = std::ceil(outputFrames / ratio_) + static_cast<double>(LookAheadFrames());
        waiting_.resize(waiting_.size() + static_cast<size_t>(silence) * channels_);
        return outputFrames;
    }

    int32_t Run(int32_t outputFrames) {
        size_t used = 0;
        int32_t frames = 0;
        while (frames < outputFrames) {
            SRC_DATA step{};
            step.data_in = waiting_.data() + used * channels_;
            step.input_frames = static_cast<long>(waiting_.size() / channels_ - used);
            step.data_out = made_.data() + static_cast<size_t>(frames) * channels_;
            step.output_frames = outputFrames - frames;
            step.src_ratio = ratio_;
            if (src_process(state_.get(), &step) != 0) break;
            if (step.input_frames_used == 0 && step.output_frames_gen == 0) break;
            used += static_cast<size_t>(step.input_frames_used);
            frames += static_cast<int32_t>(step.output_frames_gen);
        }
        waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(used * channels_));
        return frames;
    }

    int64_t taken_ = 0;  // input frames
    int64_t given_ = 0;  // output frames
    std::unique_ptr<SRC_STATE, FreeState> state_;
    size_t channels_;
    double ratio_;
    std::vector<float> waiting_;  // input that the library has not taken yet
    std::vector<float> made_;
};

}  // namespace

std::unique_ptr<RateConverter> CreateRateConverter(int32_t channels, double inputRate, double outputRate) {
    if (!src_is_valid_ratio(outputRate / inputRate)) return nullptr;
    int error = 0;
    SRC_STATE* state = src_new(SRC_SINC_MEDIUM_QUALITY, channels, &error);
    if (!state) return nullptr;
    return std::make_unique<SamplerateConverter>(state, channels, inputRate, outputRate);
}

}  // namespace vantor::wavehost
