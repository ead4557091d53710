#include "tests/support/fake_host.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <regex>

namespace vantor::test {

namespace {

FakeHost* current = nullptr;

// Counts itself among the host's live objects.
template <typename Interface>
class Counted : public Interface {
  public:
    Counted() { ++current->liveObjects; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    virtual ~Counted() { --current->liveObjects; }
    void* DeletingDestructor(unsigned flags) override {
        if (flags & deleteAndFree) delete this;
        return this;
    }
};

// The nearest earlier input frame for every output frame; holds nothing back.
class FakeResampler final : public Counted<Resampler> {
  public:
    void Configure(int32_t, intptr_t mode) override { current->resampleMode = mode; }
    void SetRates(double inputRate, double outputRate) override { ratio_ = inputRate / outputRate; }
    double LatencySeconds() override { return 0; }
    void Reset() override { phase_ = 0; }
    int32_t RequestInput(int32_t outputFrames, int32_t channels, double** input) override {
        const double most = std::max(1.0, 65536.0 / channels);  // a ratio from a file has no bounds
        const auto frames = static_cast<int32_t>(std::min(most, std::floor(phase_ + outputFrames * ratio_)));
        input_.assign(static_cast<size_t>(std::max(frames, 1) * channels), 0.0);
        *input = input_.data();
        return frames;
    }
    int32_t Produce(double* output, int32_t inputFrames, int32_t outputFrames, int32_t channels) override {
        int32_t produced = 0;
        for (; produced < outputFrames; ++produced) {
            const double place = phase_ + produced * ratio_;
            if (!(place < inputFrames)) break;
            const auto frame = static_cast<int32_t>(place);
            std::copy_n(&input_[static_cast<size_t>(frame * channels)], channels,
                        output + produced * channels);
        }
        phase_ = std::max(0.0, phase_ + outputFrames * ratio_ - inputFrames);
        return produced;
    }

  private:
    std::vector<double> input_;
    double ratio_ = 1;
    double phase_ = 0;
};

// Every maximum is 1, every minimum -1.
class FakePeakReader final : public Counted<PeakReader> {
  public:
    double PeaksPerSecond() override { return current->storedPeaksPerSecond; }
    void ReadPeaks(PeakRequest* request) override {
        if (current->duringPeakRead) current->duringPeakRead(*request);
        const auto count = static_cast<size_t>(request->frames) * static_cast<size_t>(request->channels);
        std::fill_n(request->peaks, count, 1.0);
        std::fill_n(request->peaks + count, count, -1.0);
        request->framesProduced = request->frames;
    }
};

int32_t ReadFrom(PCM_source& source, double startSeconds, int32_t frames, double* samples) {
    TransferBlock block{};
    block.startSeconds = startSeconds;
    block.sampleRate = source.SampleRate();
    block.channels = source.ChannelCount();
    block.frames = frames;
    block.samples = samples;
    block.absoluteSeconds = notContinuation;
    source.ReadSamples(&block);
    return block.framesProduced;
}

// Stores its peaks in the second run; reads its source in each.
class FakePeakBuilder final : public Counted<PeakBuilder> {
  public:
    explicit FakePeakBuilder(PCM_source* source) : source_(source) {}
    double ProgressFraction() override { return step_ / 2.0; }
    int32_t Run() override {
        std::vector<double> samples(static_cast<size_t>(64 * source_->ChannelCount()));
        ReadFrom(*source_.Get(), 0, 64, samples.data());
        if (++step_ < 2) return 1;
        current->hasStoredPeaks = true;
        return 0;
    }

  private:
    HostPtr<PCM_source> source_;
    int step_ = 0;
};

void CopyOut(const std::string& text, char* out, int32_t outBytes) {
    std::snprintf(out, static_cast<size_t>(outBytes), "%s", text.c_str());
}

Resampler* CreateResampler() {
    return new FakeResampler;
}

void FormatTime(double seconds, char* text, int32_t textBytes) {
    std::snprintf(text, static_cast<size_t>(textBytes), "%.0f:%06.3f", std::floor(seconds / 60),
                  std::fmod(seconds, 60));
}

void Tell(std::string_view service) {
    if (current->duringPeakService) current->duringPeakService(service);
}

// Any will do.
void PreferredPeakReadMode(int32_t*, int32_t*, int32_t*) {
    Tell("GetPreferredDiskReadModePeak");
}

PeakReader* CreatePeakReader(const char* fileName, int32_t, int32_t, intptr_t extra) {
    Tell("PeakGet_Create");
    {
        const std::lock_guard guard(current->lock);
        current->lastPeakFile = fileName;
        current->lastPeakExtra = extra;
    }
    if (!current->hasStoredPeaks) return nullptr;
    ++current->peakReadersMade;
    return new FakePeakReader;
}

PeakBuilder* CreatePeakBuilder(PCM_source* source, const char*, int32_t, int32_t, int32_t isFloat) {
    Tell("PeakBuild_CreateEx");
    current->lastBuildIsFloat = isFloat;
    if (current->builderRefused) return nullptr;
    ++current->peakBuildersMade;
    return new FakePeakBuilder(source);
}

// Relative names lie below "project:".
void ResolveFileName(const char* in, char* out, int32_t outBytes) {
    const std::string name = in;
    CopyOut(name.starts_with("project:") ? name.substr(8) : name, out, outBytes);
}

void RelativeFileName(const char* in, char* out, int32_t outBytes) {
    CopyOut("project:" + std::string(in), out, outBytes);
}

void PeakFileName(const char*, char* out, int32_t outBytes) {
    const auto& names = current->peakFiles;
    if (names.empty()) return CopyOut("", out, outBytes);
    CopyOut(names[std::min(current->peakFilesAsked, names.size() - 1)], out, outBytes);
    ++current->peakFilesAsked;
}

void UpdateDiskCounters(int32_t bytesRead, int32_t) {
    current->bytesRead += bytesRead;
}

// One frame of the source stands for each column.
void HiresPeaks(PCM_source* source, PeakRequest* request) {
    ++current->hiresCalls;
    const auto channels = static_cast<size_t>(request->channels);
    const auto count = static_cast<size_t>(request->frames) * channels;
    std::vector<double> frame(static_cast<size_t>(source->ChannelCount()));
    for (int32_t column = 0; column < request->frames; ++column) {
        if (ReadFrom(*source, request->startSeconds + column / request->peaksPerSecond, 1, frame.data()) != 1)
            return;
        for (size_t channel = 0; channel < channels; ++channel) {
            const size_t place = static_cast<size_t>(column) * channels + channel;
            request->peaks[place] = request->peaks[count + place] =
                frame[std::min(channel, frame.size() - 1)];
        }
        request->framesProduced = column + 1;
    }
}

const char* Translate(const char* text, const char* section, int32_t) {
    if (current->localizePrefix.empty()) return text;
    const std::lock_guard guard(current->lock);
    return current->localized.insert(current->localizePrefix + section + ":" + text).first->c_str();
}

}  // namespace

FakeHost::FakeHost() {
    current = this;
    HostServices& services = Services() = {};
    services.createResampler = CreateResampler;
    services.formatTime = FormatTime;
    services.preferredPeakReadMode = PreferredPeakReadMode;
    services.createPeakReader = CreatePeakReader;
    services.createPeakBuilder = CreatePeakBuilder;
    services.resolveFileName = ResolveFileName;
    services.relativeFileName = RelativeFileName;
    services.peakFileName = PeakFileName;
    services.updateDiskCounters = UpdateDiskCounters;
    services.hiresPeaks = HiresPeaks;
    services.localize = Translate;
}

FakeHost::~FakeHost() {
    Services() = {};
    current = nullptr;
}

int32_t FakeProject::AddLine(const char* format, ...) {
    const std::string quoted = std::regex_replace(format, std::regex("%p~"), "\"%s\"");
    char line[4096];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, quoted.c_str(), arguments);
    va_end(arguments);
    lines.emplace_back(line);
    return static_cast<int32_t>(lines.size());
}

int32_t FakeProject::NextLine(char* line, int32_t lineBytes) {
    if (next >= lines.size()) return -1;
    CopyOut(lines[next++], line, lineBytes);
    return 0;
}

}  // namespace vantor::test
