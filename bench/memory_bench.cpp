// What many sources cost that are open: idle, and playing.
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <vector>

#include "bench/rows.h"

namespace vantor::bench {

namespace {

constexpr int manySources = 1000;
constexpr int64_t idleAudioBytes = 6000;
constexpr int64_t playedAudioBytes = 3000000;
constexpr int32_t playedFrames = 48000;
constexpr useconds_t reservationMicroseconds = 3100000;  // so long the module keeps what plays ready

using FileNames = std::vector<std::string>;

int64_t ResidentKib() {
    int64_t total = 0;
    int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * ::getpagesize() / 1024;
}

FileNames Files(const BenchFolder& folder, int count, int64_t audioBytes) {
    auto names = folder.TaggedFiles(2 * manySources, audioBytes);
    names.resize(static_cast<size_t>(count));
    return names;
}

template <typename Open>
auto OpenAll(const FileNames& names, Open open) {
    std::vector<decltype(open(names[0]))> opened;
    opened.reserve(manySources);
    for (int i = 0; i < manySources; ++i)
        opened.push_back(open(names[static_cast<size_t>(i) % names.size()]));
    return opened;
}

double KibASource(int64_t before) {
    return static_cast<double>(ResidentKib() - before) / manySources;
}

// Every source has played so many frames, in small requests and in turn.
void PlayAll(const std::vector<HostPtr<PCM_source>>& sources) {
    constexpr int32_t frames = 512;
    std::vector<double> samples(static_cast<size_t>(frames * fileChannels));
    TransferBlock block{};
    block.sampleRate = sampleRate;
    block.channels = fileChannels;
    block.frames = frames;
    block.samples = samples.data();
    for (int32_t frame = 0; frame < playedFrames; frame += frames) {
        block.startSeconds = static_cast<double>(frame) / sampleRate;
        for (const auto& source : sources)
            source->ReadSamples(&block);
    }
}

// What a process of its own prints, whose heap nothing has used before.
std::vector<double> MeasureApart(const BenchFolder& folder, const std::string& contestant, const char* work,
                                 int files) {
    char command[512];
    std::snprintf(command, sizeof command, "/proc/%d/exe --memory=%s,%s,%d,%s", ::getpid(),
                  contestant.c_str(), work, files, folder.Path().c_str());
    const std::unique_ptr<FILE, int (*)(FILE*)> output(::popen(command, "r"), ::pclose);
    std::vector<double> kib;
    double value = 0;
    while (output && std::fscanf(output.get(), "%lf", &value) == 1)
        kib.push_back(value);
    if (kib.empty()) throw std::runtime_error("no measurement");
    return kib;
}

template <typename Open>
void KeepOpen(benchmark::State& state, const BenchFolder& folder, const char* contestant, int files,
              Open open) {
    const auto names = Files(folder, files, idleAudioBytes);
    for (auto _ : state)
        benchmark::DoNotOptimize(OpenAll(names, open).data());
    state.counters["KiB resident a source"] = MeasureApart(folder, contestant, "idle", files)[0];
}

void RegisterIdleRow(const BenchFolder& folder, const std::string& row, int files) {
    const auto registerModule = [&](const char* contestant, const ReadSetting& setting) {
        Register(row, contestant, [=, &folder](auto& state) {
            SetReadSetting(setting);
            KeepOpen(state, folder, contestant, files, OpenSource);
        });
    };
    registerModule(tuned, openingReads);
    registerModule(byDefault, {});
    Register(row, rival, [=, &folder](auto& state) { KeepOpen(state, folder, rival, files, OpenSndfile); });
}

void RegisterPlayingRow(const BenchFolder& folder) {
    for (const char* contestant : {tuned, byDefault})
        Register("1000 sources that play", contestant, [=, &folder](auto& state) {
            const auto names = Files(folder, manySources, playedAudioBytes);
            SetReadSetting(contestant == tuned ? ReadSetting(playingReads) : ReadSetting());
            const auto sources = OpenAll(names, OpenSource);
            for (auto _ : state)
                PlayAll(sources);
            const auto kib = MeasureApart(folder, contestant, "playing", manySources);
            state.counters["KiB resident a source"] = kib.at(0);
            state.counters["KiB resident a source, given back"] = kib.at(1);
        });
}

void PrintPlaying(const FileNames& names, int64_t before) {
    const auto sources = OpenAll(names, OpenSource);
    PlayAll(sources);
    std::printf("%.2f\n", KibASource(before));
    ::usleep(reservationMicroseconds);
    ReduceOpenFiles();
    std::printf("%.2f\n", KibASource(before));
}

}  // namespace

void RegisterMemoryRows(const BenchFolder& folder) {
    RegisterIdleRow(folder, "1000 sources on 100 files", 100);
    RegisterIdleRow(folder, "1000 sources on 1000 files", manySources);
    RegisterPlayingRow(folder);
}

void MeasureMemory(const BenchFolder& folder, const std::string& contestant, const std::string& work,
                   int files) {
    const bool plays = work == "playing";
    SetReadSetting(contestant == tuned ? ReadSetting(plays ? playingReads : openingReads) : ReadSetting());
    const auto measure = [&](auto open) {
        const auto first =
            open(folder.TaggedFiles(2 * manySources, idleAudioBytes).back());  // loads libraries
        const auto names = Files(folder, files, plays ? playedAudioBytes : idleAudioBytes);
        const int64_t before = ResidentKib();
        if constexpr (std::is_same_v<decltype(open), HostPtr<PCM_source> (*)(const std::string&)>)
            if (plays) return PrintPlaying(names, before);
        const auto opened = OpenAll(names, open);
        std::printf("%.2f\n", KibASource(before));
    };
    contestant == rival ? measure(&OpenSndfile) : measure(&OpenSource);
}

}  // namespace vantor::bench
