#include "wavehost/host/resampler.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <new>
#include <vector>

#include "wavehost/host/host_object.h"

namespace vantor::wavehost {

namespace {

class HostResampler final : public Resampler {
  public:
    void* DeletingDestructor(unsigned flags) override { return Destroy(this, flags); }
    // There is one quality, so there is nothing to configure.
    void Configure(int32_t, intptr_t) override {}
    void SetRates(double inputRate, double outputRate) override;
    double LatencySeconds() override { return HeldFrames() / inputRate_; }
    void Reset() override;
    int32_t RequestInput(int32_t outputFrames, int32_t channels, double** input) override;
    int32_t Produce(double* output, int32_t inputFrames, int32_t outputFrames, int32_t channels) override;

  private:
    // Input frames taken beyond the place where the output stands.
    [[nodiscard]] double HeldFrames() const {
        return static_cast<double>(taken_) - static_cast<double>(given_) * inputRate_ / outputRate_;
    }

    double inputRate_ = 1, outputRate_ = 1;
    int32_t channels_ = 0;
    int32_t requested_ = 0;  // input frames asked for last; fewer mean that the input has ended
    int64_t taken_ = 0;      // input frames since the last reset
    int64_t given_ = 0;      // output frames since the last reset
    std::unique_ptr<RateConverter> converter_;
    std::vector<double> room_;
};

void HostResampler::SetRates(double inputRate, double outputRate) {
    if (inputRate == inputRate_ && outputRate == outputRate_) return;
    inputRate_ = inputRate;
    outputRate_ = outputRate;
    Reset();
}

void HostResampler::Reset() {
    converter_.reset();
    channels_ = 0;
    taken_ = given_ = 0;
}

int32_t HostResampler::RequestInput(int32_t outputFrames, int32_t channels, double** input) try {
    *input = nullptr;
    requested_ = 0;
    if (outputFrames < 1 || channels < 1) return 0;
    if (channels != channels_) {
        Reset();
        converter_ = CreateRateConverter(channels, inputRate_, outputRate_);
        if (!converter_) return 0;
        channels_ = channels;
    }
    const double span = outputFrames * inputRate_ / outputRate_;
    const double wanted = std::ceil(span + static_cast<double>(converter_->LookAheadFrames()) - HeldFrames());
    if (wanted > 1e9 / channels) return 0;
    requested_ = static_cast<int32_t>(std::max(wanted, 0.0));
    room_.resize(std::max(room_.size(), static_cast<size_t>(requested_) * static_cast<size_t>(channels)));
    *input = room_.data();
    return requested_;
} catch (const std::exception&) {
    return 0;
}

int32_t HostResampler::Produce(double* output, int32_t inputFrames, int32_t outputFrames,
                               int32_t channels) try {
    if (!converter_ || channels != channels_ || !output || outputFrames < 1) return 0;
    inputFrames = std::clamp(inputFrames, 0, requested_);
    const bool last = inputFrames < requested_;
    taken_ += inputFrames;
    const int32_t made = converter_->Convert(room_.data(), inputFrames, last, output, outputFrames);
    given_ += made;
    return made;
} catch (const std::exception&) {
    return 0;
}

}  // namespace

Resampler* CreateResampler() {
    return new (std::nothrow) HostResampler;
}

}  // namespace vantor::wavehost
