// 10,000 requests of 512 frames at random positions.
#include <algorithm>
#include <random>
#include <vector>

#include "bench/raw_reads.h"
#include "bench/rows.h"

namespace vantor::bench {

namespace {

constexpr int visits = 10000;
constexpr int32_t frames = 512;

// The same positions for every contestant.
std::vector<int64_t> Positions(const BenchFolder& folder) {
    std::minstd_rand random(7);
    std::uniform_int_distribution<int64_t> place(0, folder.AudioFrames() - frames);
    std::vector<int64_t> positions(visits);
    std::generate(positions.begin(), positions.end(), [&] { return place(random); });
    return positions;
}

void VisitModule(benchmark::State& state, const std::string& fileName, const ReadSetting& setting,
                 const std::vector<int64_t>& positions) {
    SetReadSetting(setting);
    const auto source = OpenSource(fileName);
    std::vector<double> samples(frames * fileChannels);
    TransferBlock block{};
    block.sampleRate = sampleRate;
    block.channels = fileChannels;
    block.frames = frames;
    block.samples = samples.data();
    for (auto _ : state) {
        for (const int64_t position : positions) {
            block.startSeconds = static_cast<double>(position) / sampleRate;
            source->ReadSamples(&block);
            benchmark::ClobberMemory();
        }
    }
}

void VisitSndfile(benchmark::State& state, const std::string& fileName,
                  const std::vector<int64_t>& positions) {
    const auto file = OpenSndfile(fileName);
    std::vector<double> samples(frames * fileChannels);
    for (auto _ : state) {
        for (const int64_t position : positions) {
            sf_seek(file.get(), position, SEEK_SET);
            sf_readf_double(file.get(), samples.data(), frames);
            benchmark::ClobberMemory();
        }
    }
}

void VisitBytes(benchmark::State& state, const std::string& fileName, double frameBytes,
                const std::vector<int64_t>& positions) {
    const RawFile raw(fileName);
    const auto bytes = static_cast<int64_t>(frameBytes * frames);
    std::vector<char> stored(static_cast<size_t>(bytes));
    std::vector<double> samples(frames * fileChannels);
    for (auto _ : state) {
        for (const int64_t position : positions) {
            raw.ReadAt(static_cast<int64_t>(static_cast<double>(position) * frameBytes), stored.data(),
                       bytes);
            std::fill(samples.begin(), samples.end(), 0.0);
            benchmark::ClobberMemory();
        }
    }
}

}  // namespace

void RegisterRandomRows(const BenchFolder& folder) {
    for (const char* name : {"s16", "s24", "f32", "ima", "ms"}) {
        const Coding& coding = CodingNamed(name);
        const std::string row = std::string("random ") + name + " 512";
        const auto file = [&folder, &coding] { return folder.AudioFile(coding); };
        Register(row, tuned,
                 [=, &folder](auto& state) { VisitModule(state, file(), visitingReads, Positions(folder)); });
        Register(row, byDefault,
                 [=, &folder](auto& state) { VisitModule(state, file(), {}, Positions(folder)); });
        Register(row, rival, [=, &folder](auto& state) { VisitSndfile(state, file(), Positions(folder)); });
        Register(row, bytesAndDoubles, [=, &folder, &coding](auto& state) {
            VisitBytes(state, file(), coding.bytesASample * fileChannels, Positions(folder));
        });
    }
}

}  // namespace vantor::bench
