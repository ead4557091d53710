// A windowed sinc: every output frame is a weighted sum of the input frames around its place.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "wavehost/host/resampler.h"

namespace vantor::wavehost {

namespace {

constexpr int zeroCrossings = 32;     // on either side of the centre
constexpr int stepsPerFrame = 512;    // of the kernel's table, with straight lines between them
constexpr double kaiserBeta = 9.0;    // 90 dB down outside the pass band
constexpr double passBand = 0.95;     // of the lower of the two Nyquist frequencies
constexpr double largestRatio = 256;  // either way

double BesselI0(double x) {
    double sum = 1, term = 1;
    for (int k = 1; term > sum * 1e-17; ++k) {
        term *= x / (2 * k) * x / (2 * k);
        sum += term;
    }
    return sum;
}

class SincConverter final : public RateConverter {
  public:
    SincConverter(int32_t channels, double inputRate, double outputRate)
        : channels_(static_cast<size_t>(channels)),
          framesPerOutput_(inputRate / outputRate),
          cutoff_(passBand * std::min(1.0, outputRate / inputRate)),
          reach_(static_cast<int64_t>(std::ceil(zeroCrossings / cutoff_))) {
        const auto steps = static_cast<size_t>(reach_ * stepsPerFrame);
        kernel_.resize(steps + 2);
        for (size_t i = 0; i < steps; ++i)
            kernel_[i] = KernelAt(static_cast<double>(i) / stepsPerFrame);
        history_.resize(static_cast<size_t>(reach_) * channels_);  // silence before the first frame
    }

    [[nodiscard]] int64_t LookAheadFrames() const override { return reach_ + 2; }

    int32_t Convert(const double* input, int32_t inputFrames, bool last, double* output,
                    int32_t outputFrames) override {
        history_.insert(history_.end(), input, input + static_cast<size_t>(inputFrames) * channels_);
        inputEnd_ += inputFrames;
        int32_t made = 0;
        for (; made < outputFrames; ++made, ++given_) {
            const double place = static_cast<double>(given_) * framesPerOutput_;
            const auto frame = static_cast<int64_t>(place);
            if (last ? frame >= inputEnd_ : frame + reach_ >= inputEnd_) break;
            Sum(frame, place - static_cast<double>(frame), output + static_cast<size_t>(made) * channels_);
        }
        Forget(static_cast<int64_t>(static_cast<double>(given_) * framesPerOutput_) - reach_);
        return made;
    }

  private:
    [[nodiscard]] double KernelAt(double distance) const {
        const double x = std::numbers::pi * cutoff_ * distance;
        const double side = distance / static_cast<double>(reach_);
        const double window = BesselI0(kaiserBeta * std::sqrt(1 - side * side)) / BesselI0(kaiserBeta);
        return cutoff_ * (x == 0 ? 1.0 : std::sin(x) / x) * window;
    }

    [[nodiscard]] double Weight(double distance) const {
        const double step = std::fabs(distance) * stepsPerFrame;
        const auto index = static_cast<size_t>(step);
        if (index + 1 >= kernel_.size()) return 0;
        return std::lerp(kernel_[index], kernel_[index + 1], step - static_cast<double>(index));
    }

    void Sum(int64_t frame, double fraction, double* output) const {
        std::fill_n(output, channels_, 0.0);
        const int64_t end = std::min(frame + reach_ + 1, inputEnd_);
        for (int64_t i = std::max(frame - reach_ + 1, historyStart_); i < end; ++i) {
            const double weight = Weight(static_cast<double>(i - frame) - fraction);
            const double* samples = history_.data() + static_cast<size_t>(i - historyStart_) * channels_;
            for (size_t channel = 0; channel < channels_; ++channel)
                output[channel] += weight * samples[channel];
        }
    }

    void Forget(int64_t before) {
        const int64_t frames = std::clamp<int64_t>(before - historyStart_, 0, inputEnd_ - historyStart_);
        const auto samples = static_cast<std::ptrdiff_t>(static_cast<size_t>(frames) * channels_);
        history_.erase(history_.begin(), history_.begin() + samples);
        historyStart_ += frames;
    }

    size_t channels_;
    double framesPerOutput_;  // input frames
    double cutoff_;           // of the input's Nyquist frequency
    int64_t reach_;           // input frames on either side
    std::vector<double> kernel_;
    std::vector<double> history_;
    int64_t historyStart_ = -reach_;  // input frame of history_'s first
    int64_t inputEnd_ = 0;
    int64_t given_ = 0;
};

}  // namespace

std::unique_ptr<RateConverter> CreateRateConverter(int32_t channels, double inputRate, double outputRate) {
    const double ratio = outputRate / inputRate;
    if (!(ratio >= 1 / largestRatio && ratio <= largestRatio)) return nullptr;
    return std::make_unique<SincConverter>(channels, inputRate, outputRate);
}

}  // namespace vantor::wavehost
