#include "bench/peak_work.h"

#include <algorithm>
#include <memory>

namespace vantor::bench {

namespace {

constexpr int64_t framesAPeak = 240;

class OneStepBuilder final : public PeakBuilder {
  public:
    explicit OneStepBuilder(PCM_source* source) : source_(source) {}
    void* DeletingDestructor(unsigned flags) override {
        if (flags & deleteAndFree) {
            const std::unique_ptr<OneStepBuilder> owned(this);
        } else {
            this->~OneStepBuilder();
        }
        return this;
    }
    double ProgressFraction() override { return 1; }
    int32_t Run() override;

  private:
    HostPtr<PCM_source> source_;
};

int32_t OneStepBuilder::Run() {
    const int32_t channels = source_->ChannelCount();
    PeakSink peaks(channels);
    std::vector<double> samples(static_cast<size_t>(peakBlockFrames * channels));
    TransferBlock block{};
    block.sampleRate = source_->SampleRate();
    block.channels = channels;
    block.frames = peakBlockFrames;
    block.samples = samples.data();
    int64_t position = 0;
    do {
        block.startSeconds = static_cast<double>(position) / block.sampleRate;
        source_->ReadSamples(&block);
        peaks.Take(samples.data(), block.framesProduced);
        position += block.framesProduced;
    } while (block.framesProduced == peakBlockFrames);
    return 0;
}

}  // namespace

PeakSink::PeakSink(int32_t channels)
    : channels_(channels), high_(static_cast<size_t>(channels), -1e9), low_(high_.size(), 1e9) {}

void PeakSink::Take(const double* samples, int64_t frames) {
    for (int64_t done = 0; done < frames;) {
        const int64_t count = std::min(frames - done, framesAPeak - framesInPeak_);
        for (int64_t i = done * channels_; i < (done + count) * channels_; i += channels_)
            for (size_t channel = 0; channel < high_.size(); ++channel) {
                const double sample = samples[i + static_cast<int64_t>(channel)];
                high_[channel] = std::max(high_[channel], sample);
                low_[channel] = std::min(low_[channel], sample);
            }
        done += count;
        framesInPeak_ += count;
        if (framesInPeak_ == framesAPeak) FinishPeak();
    }
}

void PeakSink::FinishPeak() {
    for (size_t channel = 0; channel < high_.size(); ++channel) {
        peaks_.push_back(static_cast<float>(high_[channel]));
        peaks_.push_back(static_cast<float>(low_[channel]));
        high_[channel] = -1e9;
        low_[channel] = 1e9;
    }
    framesInPeak_ = 0;
}

PeakReader* FindNoPeaks(const char*, int32_t, int32_t, intptr_t) {
    return nullptr;
}

PeakBuilder* CreatePeakBuilder(PCM_source* source, const char*, int32_t, int32_t, int32_t) {
    return std::make_unique<OneStepBuilder>(source).release();
}

}  // namespace vantor::bench
