// Audio callbacks: sources that start together and play side by side in small requests. What counts is the
// slowest callback, for it is the one that is heard.
#include <algorithm>
#include <ctime>
#include <vector>

#include "bench/raw_reads.h"
#include "bench/rows.h"

namespace vantor::bench {

namespace {

struct Callbacks {
    int sources;
    int32_t frames;
    int32_t channels;
    bool isCold = false;  // the files come from the disk; what is timed is what elapses
};

constexpr Callbacks shapes[] = {
    {1, 32, 2},   {1, 64, 1},   {1, 64, 2},   {1, 64, 8},   {1, 128, 2},   {1, 512, 2},
    {200, 32, 2}, {200, 64, 1}, {200, 64, 2}, {200, 64, 8}, {200, 512, 2}, {200, 64, 2, true},
};

double Seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// The time of every callback of a run.
class CallbackTimes {
  public:
    explicit CallbackTimes(const Callbacks& shape)
        : clock_(shape.isCold ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID) {}

    template <typename Callback>
    bool Time(Callback callback) {
        const double start = Seconds(clock_);
        const bool goesOn = callback();
        if (goesOn) seconds_.push_back(Seconds(clock_) - start);
        return goesOn;
    }

    // Of several runs the quietest counts: what an interrupt adds to a callback is not the module's.
    void Report(benchmark::State& state) {
        if (seconds_.empty()) throw std::runtime_error("nothing was played");
        const double first = seconds_.front();
        seconds_.erase(seconds_.begin());
        std::sort(seconds_.begin(), seconds_.end());
        const auto note = [&state](const char* name, double seconds) {
            auto& counter = state.counters[name];
            counter = counter == 0 ? seconds * 1e6 : std::min<double>(counter, seconds * 1e6);
        };
        note(firstCallback, first);
        note(medianCallback, seconds_[seconds_.size() / 2]);
        note(slowestCallback, seconds_.back());
        seconds_.clear();
    }

  private:
    clockid_t clock_;
    std::vector<double> seconds_;
};

// Plays all tracks to their end, a request of each a callback. `play(track, frame)` tells whether there was
// more.
template <typename Track, typename Play>
void PlayTogether(benchmark::State& state, std::vector<Track>& tracks, int32_t frames, CallbackTimes& times,
                  Play play) {
    int64_t frame = 0;
    while (times.Time([&] {
        bool goesOn = true;
        for (auto& track : tracks)
            goesOn = play(track, frame) && goesOn;
        return goesOn;
    }))
        frame += frames;
    times.Report(state);
}

void Prepare(benchmark::State& state, const std::vector<std::string>& names, const Callbacks& shape) {
    if (!shape.isCold) return;
    state.PauseTiming();
    for (const auto& name : names)
        DropFromCache(name);
    state.ResumeTiming();
}

void PlayModule(benchmark::State& state, const std::vector<std::string>& names, const ReadSetting& setting,
                const Callbacks& shape) {
    SetReadSetting(setting);
    std::vector<double> samples(static_cast<size_t>(shape.frames * shape.channels));
    TransferBlock block{};
    block.sampleRate = sampleRate;
    block.channels = shape.channels;
    block.frames = shape.frames;
    block.samples = samples.data();
    CallbackTimes times(shape);
    for (auto _ : state) {
        Prepare(state, names, shape);
        std::vector<HostPtr<PCM_source>> tracks;
        for (const auto& name : names)
            tracks.push_back(OpenSource(name));
        PlayTogether(state, tracks, shape.frames, times, [&](auto& track, int64_t frame) {
            block.startSeconds = static_cast<double>(frame) / sampleRate;
            track->ReadSamples(&block);
            benchmark::ClobberMemory();
            return block.framesProduced == shape.frames;
        });
    }
}

void PlaySndfile(benchmark::State& state, const std::vector<std::string>& names, const Callbacks& shape) {
    std::vector<double> samples(static_cast<size_t>(shape.frames * shape.channels));
    CallbackTimes times(shape);
    for (auto _ : state) {
        Prepare(state, names, shape);
        std::vector<Sndfile> tracks;
        for (const auto& name : names)
            tracks.push_back(OpenSndfile(name));
        PlayTogether(state, tracks, shape.frames, times, [&](auto& track, int64_t) {
            const auto got = sf_readf_double(track.get(), samples.data(), shape.frames);
            benchmark::ClobberMemory();
            return got == shape.frames;
        });
    }
}

std::string RowName(const Callbacks& shape) {
    const char* const channels = shape.channels == 1 ? "mono" : shape.channels == 2 ? "stereo" : "8 channels";
    return "play " + std::to_string(shape.sources) + " x s24 " + std::to_string(shape.frames) + ", " +
           channels + (shape.isCold ? coldRow : "");
}

}  // namespace

void RegisterCallbackRows(const BenchFolder& folder) {
    const bool canBeCold = DropFromCache(folder.Tracks(1, fileChannels).front());
    for (const Callbacks& shape : shapes) {
        if (shape.isCold && !canBeCold) continue;
        const std::string row = RowName(shape);
        const auto tracks = [&folder, shape] { return folder.Tracks(shape.sources, shape.channels); };
        Register(row, tuned, [=](auto& state) { PlayModule(state, tracks(), playingReads, shape); });
        Register(row, byDefault, [=](auto& state) { PlayModule(state, tracks(), {}, shape); });
        Register(row, rival, [=](auto& state) { PlaySndfile(state, tracks(), shape); });
    }
}

}  // namespace vantor::bench
