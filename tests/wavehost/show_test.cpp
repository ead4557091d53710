#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// An ACID loop of two beats at 120 a minute, sliced where the second begins.
Bytes SlicedLoop() {
    const Bytes acid = ByteWriter().Le32(0).Le16(60).Zeros(6).Le32(2).Le16(4).Le16(4).LeFloat(120);
    ByteWriter strc;
    strc.Zeros(28);
    for (const uint32_t frame : {0u, 24000u})
        strc.Le32(2).Le32(4).Le64(frame).Zeros(16);
    return PatternWav(48000, 1, ByteWriter().Chunk("acid", acid).Chunk("strc", strc));
}

TEST(WavehostInfo, TellsOfEveryFileAsJson) {
    const TempFolder folder;
    const Bytes cue = ByteWriter().Le32(1).Le32(7).Le32(0).Text("data").Zeros(8).Le32(4800);
    const std::string good = folder.Write(
        "good.wav", PatternWav(9600, 2, ByteWriter().Chunk("cue ", cue).Add(InfoChunk("INAM", "Caf\xE9"))));
    const std::string bad = folder.Write("broken.wav", ByteWriter().Text("RIFF").Le32(4).Text("WAVE"));
    const HostRun one = RunWavehost({"info", "--json", good});
    EXPECT_EQ(one.exitCode, 0) << one.err;
    EXPECT_EQ(Json::parse(one.out)["sample_rate"], 48000);

    const HostRun both = RunWavehost({"info", bad, good, "--json"});
    EXPECT_EQ(both.exitCode, 1);
    const Json facts = Json::parse(both.out);
    EXPECT_EQ(facts[0]["online"], false);
    EXPECT_EQ(facts[0]["info_text"], "Error reading WAV chunk header");
    EXPECT_EQ(facts[1]["file"], good);
    EXPECT_EQ(facts[1]["channels"], 2);
    EXPECT_EQ(facts[1]["bit_depth"], 16);
    EXPECT_EQ(facts[1]["length_seconds"], 0.2);
    ASSERT_EQ(facts[1]["markers"].size(), 1u);
    EXPECT_EQ(facts[1]["markers"][0], Json::parse(RunWavehost({"markers", "--json", good}).out)[0]);
    EXPECT_EQ(facts[1]["markers"][0]["id"], 7);
    EXPECT_EQ(facts[1]["markers"][0]["start"], 0.1);
    EXPECT_TRUE(facts[1]["metadata"].contains("INFO:INAM"));
    EXPECT_EQ(facts[1]["metadata"], Json::parse(RunWavehost({"meta", "list", "--json", good}).out));
}

TEST(WavehostState, RestoresASliceFromWhereverItsFileIs) {
    const TempFolder folder;
    fs::create_directories(folder.Path("project/it's a loop"));
    const std::string file = folder.Write("project/it's a loop/loop.wav", SlicedLoop());
    const Json slices = Json::parse(RunWavehost({"slices", "--json", file}).out);
    ASSERT_EQ(slices.size(), 2u);
    EXPECT_EQ(slices[1], Json({{"index", 1}, {"start_seconds", 0.5}, {"position_beats", 1.0}}));

    const std::string state = folder.Path("project/state.txt");
    ASSERT_EQ(RunWavehost({"state", file, "--slice", "1", "-o", state}).exitCode, 0);
    EXPECT_EQ(RunWavehost({"state", file, "--slice", "2"}).exitCode, 1);
    fs::rename(folder.Path("project"), folder.Path("moved"));
    const HostRun restored = RunWavehost({"restore", folder.Path("moved/state.txt"), "--json"});
    ASSERT_EQ(restored.exitCode, 0) << restored.err;
    const Json facts = Json::parse(restored.out);
    EXPECT_EQ(facts["type"], "WAVE_SLICE");
    EXPECT_EQ(facts["length_seconds"], 0.5);
    EXPECT_TRUE(fs::equivalent(facts["file"].get<std::string>(), folder.Path("moved/it's a loop/loop.wav")));
    EXPECT_EQ(RunWavehost({"restore", folder.Path("moved/it's a loop/loop.wav")}).exitCode, 1);
}

TEST(WavehostScan, ListsWhatTheModuleReadsAndNothingElse) {
    const TempFolder folder;
    fs::create_directories(folder.Path("deep/er"));
    folder.Write("b.wav", PatternWav(10, 1, InfoChunk("INAM", "\xFF\xFE broken")));
    folder.Write("deep/er/a.wav", PatternWav(10, 1, InfoChunk("IART", "Me")));
    folder.Write("deep/notes.txt", {'h', 'i'});
    const HostRun run = RunWavehost({"scan", folder.Path("."), "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    std::vector<Json> found;
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);)
        found.push_back(Json::parse(line));
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[1]["metadata"], Json({{"INFO:IART", "Me"}}));
    EXPECT_EQ(RunWavehost({"scan", folder.Path("none")}).exitCode, 1);
}

TEST(WavehostPeaks, StoresTheHighestAndLowestSampleOfEverySpan) {
    if (onWindows) GTEST_SKIP() << "peaks are made for pictures, which that build does not draw";
    const TempFolder folder;
    constexpr int frames = 1000, channels = 2, framesPerPeak = 120;  // 400 peaks a second
    const std::string file = folder.Write("song.wav", PatternWav(frames, channels));
    ASSERT_EQ(RunWavehost({"peaks", file, "--png", folder.Path("song.png")}).exitCode, 0);
    const Bytes stored = ReadWholeFile(file + ".vwpeaks");
    constexpr int peaks = (frames + framesPerPeak - 1) / framesPerPeak;
    constexpr size_t headerBytes = 64, pairBytes = 8;
    ASSERT_EQ(stored.size(), headerBytes + peaks * channels * pairBytes);
    for (int peak = 0; peak < peaks; ++peak)
        for (int channel = 0; channel < channels; ++channel) {
            float pair[2], high = -1, low = 1;
            std::memcpy(
                pair,
                stored.data() + headerBytes + static_cast<size_t>(peak * channels + channel) * pairBytes,
                pairBytes);
            for (int frame = peak * framesPerPeak; frame < std::min(frames, (peak + 1) * framesPerPeak);
                 ++frame) {
                const float sample = static_cast<float>(PatternSample(frame, channel)) / 32768;
                high = std::max(high, sample);
                low = std::min(low, sample);
            }
            EXPECT_EQ(pair[0], high) << peak;
            EXPECT_EQ(pair[1], low) << peak;
        }
}

TEST(WavehostState, QuotesANameThatHoldsQuotes) {
    if (onWindows) GTEST_SKIP() << "no file name holds a double quote there";
    const TempFolder folder;
    const std::string file = folder.Write("a \"loop\", it's.wav", SlicedLoop());
    const HostRun state = RunWavehost({"state", file});
    const std::string kept = folder.Path("state.txt");
    WriteWholeFile(kept, {state.out.begin(), state.out.end()});
    const HostRun restored = RunWavehost({"restore", kept, "--json"});
    ASSERT_EQ(restored.exitCode, 0) << state.out << restored.err;
    EXPECT_EQ(Json::parse(restored.out)["file"], file);
    EXPECT_EQ(Json::parse(restored.out)["type"], "WAVE");
}

TEST(WavehostPeaks, DrawsAndKeepsPeakFilesWhileTheyFit) {
    const TempFolder folder;
    const std::string file = folder.Write("song.wav", PatternWav(20000, 2));
    const std::string png = folder.Path("song.png"), peaks = file + ".vwpeaks";
    const HostRun run = RunWavehost({"peaks", file, "--png", png, "--width", "300"});
#if defined(_WIN32)
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("this build cannot draw"), std::string::npos) << run.err;
#else
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Bytes picture = ReadWholeFile(png);
    const Bytes start = ByteWriter().U8(0x89).Text("PNG\r\n\x1A\n").Be32(13).Text("IHDR").Be32(300).Be32(400);
    ASSERT_GT(picture.size(), start.size());
    EXPECT_TRUE(std::equal(start.begin(), start.end(), picture.begin()));

    const auto written = fs::last_write_time(peaks);
    ASSERT_EQ(RunWavehost({"peaks", file, "--png", png}).exitCode, 0);
    EXPECT_EQ(fs::last_write_time(peaks), written);
    WriteWholeFile(peaks, {'d', 'a', 'm', 'a', 'g', 'e', 'd'});
    ASSERT_EQ(RunWavehost({"peaks", file, "--png", png, "--width", "300"}).exitCode, 0);
    EXPECT_EQ(ReadWholeFile(png), picture);
    folder.Write("song.wav", PatternWav(24000, 2));
    const auto before = ReadWholeFile(peaks);
    ASSERT_EQ(RunWavehost({"peaks", file, "--png", png, "--start", "0.41"}).exitCode, 0);
    EXPECT_NE(ReadWholeFile(peaks), before);

    // No peak file can stand where a folder does: the user's cache takes it.
    fs::remove(peaks);
    fs::create_directory(peaks);
    setenv("XDG_CACHE_HOME", folder.Path("cache").c_str(), 1);
    EXPECT_EQ(RunWavehost({"peaks", file, "--png", png}).exitCode, 0);
    unsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path("cache/vantor_wave")), {}), 1);
    EXPECT_EQ(RunWavehost({"peaks", file, "--png", png, "--start", "7"}).exitCode, 1);
#endif
}

TEST(WavehostUsage, TellsWrongUsageFromFailure) {
    EXPECT_EQ(RunWavehost({"--help"}).exitCode, 0);
    EXPECT_EQ(RunWavehost({"meta", "set", "--help"}).exitCode, 0);
    EXPECT_EQ(RunWavehost({}).exitCode, 2);
    EXPECT_EQ(RunWavehost({"play", "x.wav"}).exitCode, 2);
    EXPECT_EQ(RunWavehost({"--module", "none.so", "info", "x.wav"}).exitCode, 1);
}

}  // namespace
}  // namespace vantor::test
