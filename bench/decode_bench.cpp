// Playing from end to end, from the page cache, in requests of a fixed size.
#include <algorithm>
#include <vector>

#include "bench/peak_work.h"
#include "bench/raw_reads.h"
#include "bench/rows.h"

namespace vantor::bench {

namespace {

constexpr int64_t limitPieceBytes = 65536;  // the fastest here: the piece stays in the second-level cache

struct Request {
    int32_t frames;
    int32_t channels;
};

void PlayThrough(PCM_source& source, const Request& request, double* samples) {
    TransferBlock block{};
    block.sampleRate = sampleRate;
    block.channels = request.channels;
    block.frames = request.frames;
    block.samples = samples;
    int64_t position = 0;
    do {
        block.startSeconds = static_cast<double>(position) / sampleRate;
        source.ReadSamples(&block);
        benchmark::ClobberMemory();
        position += block.framesProduced;
    } while (block.framesProduced == request.frames);
}

void PlayModule(benchmark::State& state, const std::string& fileName, const ReadSetting& setting,
                const Request& request) {
    SetReadSetting(setting);
    const auto source = OpenSource(fileName);
    std::vector<double> samples(static_cast<size_t>(request.frames * request.channels));
    for (auto _ : state)
        PlayThrough(*source.Get(), request, samples.data());
}

// libsndfile delivers the file's channels; a host fits them to its own.
void FitChannels(const double* stored, const Request& request, int64_t frames, double* samples) {
    for (int64_t i = 0; i < frames; ++i)
        for (int32_t channel = 0; channel < request.channels; ++channel)
            samples[i * request.channels + channel] =
                channel < fileChannels ? stored[i * fileChannels + channel] : 0.0;
}

void PlaySndfile(benchmark::State& state, const std::string& fileName, const Request& request) {
    const auto file = OpenSndfile(fileName);
    std::vector<double> stored(static_cast<size_t>(request.frames * fileChannels));
    std::vector<double> samples(static_cast<size_t>(request.frames * request.channels));
    for (auto _ : state) {
        sf_seek(file.get(), 0, SEEK_SET);
        while (const auto got = sf_readf_double(file.get(), stored.data(), request.frames)) {
            if (request.channels != fileChannels) FitChannels(stored.data(), request, got, samples.data());
            benchmark::ClobberMemory();
        }
    }
}

// Small requests are gathered into large reads; large ones are made as they come.
ReadSetting SettingFor(const Coding& coding, const Request& request) {
    constexpr double largeRequestBytes = 65536;
    return coding.bytesASample * request.frames * fileChannels < largeRequestBytes ? playingReads
                                                                                   : visitingReads;
}

void RegisterRow(const std::string& row, const BenchFolder& folder, const Coding& coding,
                 const Request& request) {
    const auto file = [&folder, &coding] { return folder.AudioFile(coding); };
    Register(row, tuned,
             [=, &coding](auto& state) { PlayModule(state, file(), SettingFor(coding, request), request); });
    Register(row, byDefault, [=](auto& state) { PlayModule(state, file(), {}, request); });
    Register(row, rival, [=](auto& state) { PlaySndfile(state, file(), request); });
    Register(row, bytesAlone, [=](auto& state) {
        const RawFile raw(file());
        for (auto _ : state)
            ReadBytes(raw, limitPieceBytes, 1, 0, 0);
    });
    Register(row, bytesAndDoubles, [=, &coding](auto& state) {
        const RawFile raw(file());
        for (auto _ : state)
            ReadBytes(raw, limitPieceBytes, coding.bytesASample * fileChannels, request.frames,
                      request.channels);
    });
}

void BuildPeaks(benchmark::State& state, const std::string& fileName, const ReadSetting& setting) {
    SetReadSetting(setting);
    const auto source = OpenSource(fileName);
    for (auto _ : state) {
        if (!source->BeginPeakBuild(0)) throw std::runtime_error("no peaks to build");
        while (source->RunPeakBuild()) {
        }
        source->FinishPeakBuild();
    }
}

void BuildPeaksFromSndfile(benchmark::State& state, const std::string& fileName) {
    std::vector<double> samples(static_cast<size_t>(peakBlockFrames * fileChannels));
    for (auto _ : state) {
        const auto file = OpenSndfile(fileName);
        PeakSink peaks(fileChannels);
        while (const auto got = sf_readf_double(file.get(), samples.data(), peakBlockFrames))
            peaks.Take(samples.data(), got);
        benchmark::DoNotOptimize(peaks.PeakCount());
    }
}

}  // namespace

void RegisterDecodeRows(const BenchFolder& folder) {
    for (const Coding& coding : codings) {
        const std::string row = std::string("decode ") + coding.name;
        RegisterRow(row + " 512", folder, coding, {512, fileChannels});
        RegisterRow(row + " 4096", folder, coding, {4096, fileChannels});
        RegisterRow(row + " 512, mono", folder, coding, {512, 1});
        RegisterRow(row + " 512, six channels", folder, coding, {512, 6});
    }
    const Coding& coding = CodingNamed("s24");
    const auto file = [&folder, &coding] { return folder.AudioFile(coding); };
    Register("peaks s24", tuned, [=](auto& state) { BuildPeaks(state, file(), playingReads); });
    Register("peaks s24", byDefault, [=](auto& state) { BuildPeaks(state, file(), {}); });
    Register("peaks s24", rival, [=](auto& state) { BuildPeaksFromSndfile(state, file()); });
}

}  // namespace vantor::bench
