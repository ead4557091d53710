#include "wavehost/host/peak_services.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <utility>
#include <vector>

#include "wavehost/host/host_object.h"
#include "wavehost/host/host_services.h"
#include "wavehost/host/peak_file.h"

namespace vantor::wavehost {

namespace {

constexpr double finestPeaksPerSecond = 400;
constexpr int64_t largestLevelBytes = 256 << 20;  // longer files get fewer peaks a second
constexpr int64_t samplesARead = 1 << 18;

int32_t FramesARead(int64_t channels) {
    return static_cast<int32_t>(std::max<int64_t>(samplesARead / channels, 1));
}

// Reads frames of a source at its own rate, from any place, a block at a time.
class FrameReader {
  public:
    FrameReader(PCM_source& source, double sampleRate, int32_t channels)
        : source_(source), sampleRate_(sampleRate), channels_(channels) {
        samples_.resize(static_cast<size_t>(FramesARead(channels)) * static_cast<size_t>(channels));
    }

    // The frames from `frame` on; 0 at the end.
    int32_t Read(int64_t frame) {
        TransferBlock block{};
        block.startSeconds = static_cast<double>(frame) / sampleRate_;
        block.sampleRate = sampleRate_;
        block.channels = channels_;
        block.frames = FramesARead(channels_);
        block.samples = samples_.data();
        block.absoluteSeconds = block.startSeconds;
        source_.ReadSamples(&block);
        return std::clamp(block.framesProduced, 0, block.frames);
    }
    [[nodiscard]] const double* Frame(int32_t index) const {
        return samples_.data() + static_cast<size_t>(index) * static_cast<size_t>(channels_);
    }

  private:
    PCM_source& source_;
    double sampleRate_;
    int32_t channels_;
    std::vector<double> samples_;
};

// Highest and lowest sample of every channel over some frames.
struct PeakSpan {
    explicit PeakSpan(int32_t channels) : pairs(static_cast<size_t>(channels)) { Restart(); }

    void Restart() {
        constexpr float limit = std::numeric_limits<float>::infinity();
        std::fill(pairs.begin(), pairs.end(), PeakPair{-limit, limit});
    }
    void Add(const double* frame) {
        for (PeakPair& pair : pairs) {
            const auto sample = static_cast<float>(*frame++);
            pair.high = std::max(pair.high, sample);
            pair.low = std::min(pair.low, sample);
        }
    }
    // Silence where no frame, or nothing but NaN, was added.
    [[nodiscard]] PeakPair Of(size_t channel) const {
        const PeakPair pair = pairs[channel];
        return pair.high >= pair.low ? pair : PeakPair{0, 0};
    }

    std::vector<PeakPair> pairs;
};

class HostPeakReader final : public PeakReader {
  public:
    explicit HostPeakReader(std::unique_ptr<PeakFile> file) : file_(std::move(file)) {}

    void* DeletingDestructor(unsigned flags) override { return Destroy(this, flags); }
    double PeaksPerSecond() override { return file_->PeaksPerSecond(); }
    void ReadPeaks(PeakRequest* request) override try {
        if (request) file_->Read(*request);
    } catch (const std::exception&) {
        request->framesProduced = 0;
    }

  private:
    std::unique_ptr<PeakFile> file_;
};

int64_t FramesPerPeak(double totalFrames, int32_t sampleRate, int32_t channels) {
    auto frames = std::max<int64_t>(std::llround(sampleRate / finestPeaksPerSecond), 1);
    const double pairBytes = static_cast<double>(sizeof(PeakPair)) * channels;
    while (totalFrames / static_cast<double>(frames) * pairBytes > largestLevelBytes)
        frames *= 2;
    return frames;
}

class HostPeakBuilder final : public PeakBuilder {
  public:
    HostPeakBuilder(PCM_source* source, const fs::path& file, int32_t sampleRate, int32_t channels)
        : file_(file),
          origin_(OriginOf(file, sampleRate, channels)),
          totalFrames_(source->LengthSeconds() * sampleRate),
          framesPerPeak_(FramesPerPeak(totalFrames_, sampleRate, channels)),
          reader_(*source, sampleRate, channels),
          span_(channels),
          source_(source) {}

    void* DeletingDestructor(unsigned flags) override { return Destroy(this, flags); }
    double ProgressFraction() override {
        if (complete_ || !(totalFrames_ > 0)) return 1;
        return std::min(1.0, static_cast<double>(frame_) / totalFrames_);
    }
    int32_t Run() override try {
        if (complete_) return 0;
        const int32_t frames = reader_.Read(frame_);
        for (int32_t i = 0; i < frames; ++i)
            Add(reader_.Frame(i));
        Host().peakBuildFraction = ProgressFraction();
        if (frames > 0) return 1;
        complete_ = true;
        if (frame_ % framesPerPeak_ != 0) FinishPeak();
        Store();
        return 0;
    } catch (const std::exception&) {
        complete_ = true;
        return 0;
    }

  private:
    void Add(const double* frame) {
        span_.Add(frame);
        if (++frame_ % framesPerPeak_ == 0) FinishPeak();
    }
    void FinishPeak() {
        for (size_t channel = 0; channel < span_.pairs.size(); ++channel)
            peaks_.push_back(span_.Of(channel));
        span_.Restart();
    }
    // Beside the audio file, else in the cache; without either the peaks are computed anew next time.
    void Store() {
        for (const fs::path& candidate : PeakFileCandidates(file_)) {
            std::error_code ignored;
            if (candidate.parent_path() == UserCacheFolder())
                fs::create_directories(candidate.parent_path(), ignored);
            if (WritePeakFile(candidate, origin_, framesPerPeak_, peaks_)) return;
        }
    }

    fs::path file_;
    PeakOrigin origin_;
    double totalFrames_;
    int64_t framesPerPeak_;
    FrameReader reader_;
    PeakSpan span_;
    std::vector<PeakPair> peaks_;
    int64_t frame_ = 0;
    bool complete_ = false;
    HostPtr<PCM_source> source_;  // last: until all else is made, the caller keeps it
};

// The frames of one column after another, from blocks that are read once.
class ColumnReader {
  public:
    ColumnReader(PCM_source& source, double sampleRate, int32_t channels)
        : reader_(source, sampleRate, channels), span_(channels) {}

    // False when the source has no frame there.
    bool Read(int64_t from, int64_t to) {
        span_.Restart();
        bool any = false;
        for (int64_t frame = std::max<int64_t>(from, 0); frame < to; ++frame) {
            if (frame < blockStart_ || frame >= blockStart_ + blockFrames_) {
                blockStart_ = frame;
                blockFrames_ = reader_.Read(frame);
                if (blockFrames_ == 0) break;
            }
            span_.Add(reader_.Frame(static_cast<int32_t>(frame - blockStart_)));
            any = true;
        }
        return any;
    }
    [[nodiscard]] const PeakSpan& Span() const { return span_; }

  private:
    FrameReader reader_;
    PeakSpan span_;
    int64_t blockStart_ = 0;
    int32_t blockFrames_ = 0;
};

void FillFromSamples(PCM_source& source, PeakRequest& request) {
    const double rate = source.SampleRate();
    const int32_t channels = source.ChannelCount();
    if (!request.peaks || request.channels < 1 || channels < 1 || !(rate >= 1) ||
        !(request.peaksPerSecond > 0))
        return;
    ColumnReader reader(source, rate, channels);
    const auto frameAt = [&](int32_t column) {
        const double frame = (request.startSeconds + column / request.peaksPerSecond) * rate;
        return static_cast<int64_t>(std::clamp(std::floor(frame + 1e-6), -1.0, 9e18));
    };
    for (int32_t column = 0; column < request.frames; ++column) {
        const int64_t from = frameAt(column);
        const int64_t to = std::max(frameAt(column + 1), from + 1);
        if (!reader.Read(from, to) && to > 0) return;
        for (int32_t channel = 0; channel < std::min(channels, request.channels); ++channel)
            PutColumn(request, column, channel, channels, reader.Span().Of(static_cast<size_t>(channel)));
        request.framesProduced = column + 1;
    }
}

}  // namespace

PeakReader* CreatePeakReader(const char* fileName, int32_t sampleRate, int32_t channels, intptr_t) try {
    if (!fileName || sampleRate < 1 || channels < 1) return nullptr;
    const fs::path file = PathOf(fileName);
    const PeakOrigin origin = OriginOf(file, sampleRate, channels);
    if (origin.fileBytes < 0) return nullptr;
    for (const fs::path& candidate : PeakFileCandidates(file))
        if (auto peaks = PeakFile::Open(candidate, origin)) return new HostPeakReader(std::move(peaks));
    return nullptr;
} catch (const std::exception&) {
    return nullptr;
}

PeakBuilder* CreatePeakBuilder(PCM_source* source, const char* fileName, int32_t sampleRate, int32_t channels,
                               int32_t) try {
    if (!source || !fileName || sampleRate < 1 || channels < 1) return nullptr;
    return new HostPeakBuilder(source, PathOf(fileName), sampleRate, channels);
} catch (const std::exception&) {
    return nullptr;
}

void PeakFileName(const char* fileName, char* out, int32_t outBytes) try {
    CopyText("", out, outBytes);
    if (!fileName) return;
    std::error_code failed;
    const std::vector<fs::path> candidates = PeakFileCandidates(PathOf(fileName));
    for (const fs::path& candidate : candidates)
        if (fs::exists(candidate, failed)) return CopyText(TextOf(candidate), out, outBytes);
    const bool beside = FolderIsWritable(candidates.front().parent_path());
    CopyText(TextOf(beside ? candidates.front() : candidates.back()), out, outBytes);
} catch (const std::exception&) {
    CopyText("", out, outBytes);
}

void HiresPeaksFromSource(PCM_source* source, PeakRequest* request) try {
    if (!source || !request) return;
    request->framesProduced = 0;
    FillFromSamples(*source, *request);
} catch (const std::exception&) {
    request->framesProduced = 0;
}

}  // namespace vantor::wavehost
