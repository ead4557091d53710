// Peaks as the benchmarks build them: the greatest and the least sample of every 240 frames and channel.
#pragma once

#include <cstdint>
#include <vector>

#include "vantor_wave/host_interface.h"

namespace vantor::bench {

inline constexpr int32_t peakBlockFrames = 4096;  // read at a time

// Takes samples in order and keeps their peaks.
class PeakSink {
  public:
    explicit PeakSink(int32_t channels);
    void Take(const double* samples, int64_t frames);
    [[nodiscard]] size_t PeakCount() const { return peaks_.size(); }

  private:
    void FinishPeak();

    int32_t channels_;
    int64_t framesInPeak_ = 0;
    std::vector<double> high_, low_;  // of the peak under way, a channel each
    std::vector<float> peaks_;
};

// The host's two peak services: it has no stored peaks, and its builder reads the source in one step.
PeakReader* FindNoPeaks(const char* fileName, int32_t sampleRate, int32_t channels, intptr_t extra);
PeakBuilder* CreatePeakBuilder(PCM_source* source, const char* fileName, int32_t sampleRate, int32_t channels,
                               int32_t isFloat);

}  // namespace vantor::bench
