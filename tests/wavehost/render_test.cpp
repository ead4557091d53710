#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

std::vector<double> Doubles(const std::string& bytes) {
    std::vector<double> samples(bytes.size() / sizeof(double));
    if (!samples.empty()) std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(double));
    return samples;
}

std::vector<double> ExpectedSamples(int from, int to, int fileChannels, int channels) {
    std::vector<double> samples;
    for (int frame = from; frame < to; ++frame)
        for (int channel = 0; channel < channels; ++channel) {
            const bool copied = channel < fileChannels;
            const bool otherSide = fileChannels == 1 && channel == 1;
            samples.push_back(copied || otherSide ? PatternSample(frame, copied ? channel : 0) / 32768.0
                                                  : 0.0);
        }
    return samples;
}

TEST(WavehostRender, GivesExactSamplesAtEveryPlace) {
    const TempFolder folder;
    constexpr int frames = 1000;
    struct Case {
        int start, length, block, fileChannels, channels;
    };
    for (const Case& c : {Case{0, frames, 512, 2, 2}, Case{0, frames, 1, 1, 2}, Case{1, 998, 7, 2, 1},
                          Case{333, 500, 100000, 2, 6}, Case{999, 50, 3, 1, 4}, Case{500, 0, 64, 2, 2}}) {
        const std::string file = folder.Write("pattern.wav", PatternWav(frames, c.fileChannels));
        const HostRun run = RunWavehost({"render", file, "-o", "-", "--raw", "--format", "f64", "--start",
                                         std::to_string(c.start / 48000.0 + 1e-9), "--length",
                                         std::to_string(c.length / 48000.0), "--block",
                                         std::to_string(c.block), "--channels", std::to_string(c.channels)});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        const int end = std::min(frames, c.start + c.length);
        EXPECT_EQ(Doubles(run.out), ExpectedSamples(c.start, end, c.fileChannels, c.channels))
            << c.start << ' ' << c.block;
    }
}

TEST(WavehostRender, WritesFilesThatHoldTheSamplesOfEachFormat) {
    const TempFolder folder;
    const std::string file = folder.Write("pattern.wav", PatternWav(301, 3));
    for (const std::string format : {"f64", "f32", "s24", "s16"}) {
        const std::string out = folder.Path("out.wav");
        ASSERT_EQ(RunWavehost({"render", file, "-o", out, "--format", format}).exitCode, 0);
        const HostRun again = RunWavehost({"render", out, "-o", "-", "--raw"});
        EXPECT_EQ(Doubles(again.out), ExpectedSamples(0, 301, 3, 3)) << format;
        const Bytes written = ReadWholeFile(out);
        EXPECT_EQ(written.size() % 2, 0u);
        EXPECT_EQ(RunWavehost({"render", file, "-o", "-", "--format", format}).out,
                  std::string(written.begin(), written.end()));
    }
}

TEST(WavehostRender, ConvertsRatesWithoutSeams) {
    const TempFolder folder;
    const auto sine = [](double seconds) { return 0.5 * std::sin(2 * std::numbers::pi * 997 * seconds); };
    ByteWriter data;
    for (int frame = 0; frame < 9600; ++frame)
        data.LeDouble(sine(frame / 48000.0));
    const std::string file = folder.Write(
        "sine.wav", RiffFile(ByteWriter().Chunk("fmt ", FmtBody(3, 1, 48000, 64)).Chunk("data", data)));
    for (const int rate : {44100, 96000, 16000}) {
        std::string first;
        for (const std::string block : {"9600", "64", "4097"}) {
            const HostRun run = RunWavehost(
                {"render", file, "-o", "-", "--raw", "--rate", std::to_string(rate), "--block", block});
            ASSERT_EQ(run.exitCode, 0) << run.err;
            if (first.empty()) first = run.out;
            EXPECT_EQ(run.out == first, true) << rate << " in blocks of " << block;
        }
        const std::vector<double> samples = Doubles(first);
        ASSERT_EQ(samples.size(), static_cast<size_t>(rate) / 5);
        double worst = 0;
        for (size_t i = 200; i < samples.size() - 200; ++i)
            worst = std::max(worst, std::fabs(samples[i] - sine(static_cast<double>(i) / rate)));
        EXPECT_LT(worst, 1e-4) << rate;
    }
}

TEST(WavehostRender, LeavesFilesAloneWhenItFails) {
    const TempFolder folder;
    const Bytes wav = PatternWav(10, 1);
    const std::string file = folder.Write("pattern.wav", wav);
    const std::string text = folder.Write("text.wav", {'n', 'o', 't', ' ', 'a', 'u', 'd', 'i', 'o'});
    const std::string out = folder.Write("out.wav", {1, 2, 3});
    EXPECT_EQ(RunWavehost({"render", file, "-o", file}).exitCode, 1);
    EXPECT_EQ(ReadWholeFile(file), wav);
    const HostRun run = RunWavehost({"render", text, "-o", out});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("text.wav: Unknown file header"), std::string::npos) << run.err;
    EXPECT_EQ(ReadWholeFile(out), Bytes({1, 2, 3}));
    EXPECT_EQ(RunWavehost({"render", file, "-o", folder.Path("none/out.wav")}).exitCode, 1);
    EXPECT_EQ(RunWavehost({"render", file}).exitCode, 2);
    EXPECT_EQ(RunWavehost({"render", file, "-o", out, "--format", "s8"}).exitCode, 2);
}

}  // namespace
}  // namespace vantor::test
