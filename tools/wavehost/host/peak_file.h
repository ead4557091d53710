// Peak files: the highest and lowest sample of every few milliseconds of an audio file, kept on disk so that
// its waveform can be drawn without reading it.
//
// Layout, in the machine's byte order (another order shows in the magic number):
//   offset  width  field
//   0       8      magic number, with the layout's version in its last byte
//   8       8      bytes of the audio file when the peaks were taken
//   16      8      its last-write time, in ticks of the file system's clock
//   24      8      channels
//   32      8      sample rate, Hz
//   40      8      frames a peak, in the finest level
//   48      8      peaks in the finest level
//   56      8      0
//   64             the levels, finest first; each peak is, channel by channel, two 32-bit floats: high, low
// Each level has a sixteenth of the peaks of the one before, until coarsestLevelPeaks or fewer are left.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "vantor_wave/host_interface.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

inline constexpr int64_t peaksPerCoarserPeak = 16;
inline constexpr int64_t coarsestLevelPeaks = 1024;

struct PeakPair {
    float high;
    float low;
};

// Of which state of which audio file the peaks are.
struct PeakOrigin {
    int64_t fileBytes = -1;
    int64_t writeTime = 0;
    int64_t channels = 0;
    int64_t sampleRate = 0;
    bool operator==(const PeakOrigin&) const = default;
};
// fileBytes -1: the file is not there.
PeakOrigin OriginOf(const fs::path& audioFile, int32_t sampleRate, int32_t channels);

// The peak files that an audio file may have, the preferred one first: beside it, and in the user's cache.
std::vector<fs::path> PeakFileCandidates(const fs::path& audioFile);

// Writes the file under a temporary name and renames it. `finest`: channels pairs a peak.
bool WritePeakFile(const fs::path& file, const PeakOrigin& origin, int64_t framesPerPeak,
                   std::vector<PeakPair> finest);

// One open peak file. Reads from several threads take turns.
class PeakFile {
  public:
    // Null unless the file holds the peaks of exactly this origin.
    static std::unique_ptr<PeakFile> Open(const fs::path& file, const PeakOrigin& origin);

    [[nodiscard]] double PeaksPerSecond() const {
        return static_cast<double>(origin_.sampleRate) / static_cast<double>(framesPerPeak_);
    }
    // Fills the request from the coarsest level that is fine enough. Columns before the start are 0.
    void Read(PeakRequest& request);

  private:
    struct Level {
        int64_t position;  // in the file
        int64_t peaks;
        double peaksPerSecond;
    };

    bool ReadHeader(const PeakOrigin& origin, int64_t fileBytes);
    void LayOutLevels(int64_t finestPeaks);
    [[nodiscard]] const Level& LevelFor(double peaksPerSecond) const;
    bool Load(const Level& level, int64_t from, int64_t to);

    Stream stream_;
    PeakOrigin origin_;
    int64_t framesPerPeak_ = 1;
    std::vector<Level> levels_;
    std::vector<PeakPair> pairs_;  // what Load read
    std::mutex lock_;
};

// Puts one column of one file channel into a request. A mono file fills the first two channels of a wider
// request, as it does when it is played.
void PutColumn(PeakRequest& request, int32_t column, int32_t channel, int32_t fileChannels, PeakPair pair);

}  // namespace vantor::wavehost
