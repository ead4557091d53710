// What the reference host renders of a file.

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <numbers>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

class WavehostRender : public Wavehost {};

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

TEST_F(WavehostRender, RendersExactSamplesAtEveryPlace) {
    constexpr int frames = 1000;
    struct Case {
        int start, length, block, fileChannels, channels;
    };
    for (const Case& c : {Case{0, frames, 1, 1, 2}, Case{1, 998, 7, 2, 1}, Case{333, 500, 100000, 2, 6},
                          Case{999, 50, 3, 1, 4}, Case{500, 0, 64, 2, 2}}) {
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

TEST_F(WavehostRender, RendersFilesThatHoldTheSamplesOfEachFormat) {
    const std::string file = folder.Write("pattern.wav", PatternWav(301, 3));
    for (const std::string format : {"f64", "f32", "s24", "s16"}) {
        const std::string out = folder.Path("out.wav");
        ASSERT_EQ(ExitCode({"render", file, "-o", out, "--format", format}), 0);
        EXPECT_EQ(Doubles(RunWavehost({"render", out, "-o", "-", "--raw"}).out),
                  ExpectedSamples(0, 301, 3, 3))
            << format;
        const Bytes written = ReadWholeFile(out);
        EXPECT_EQ(RunWavehost({"render", file, "-o", "-", "--format", format}).out,
                  std::string(written.begin(), written.end()));
    }
}

TEST_F(WavehostRender, RendersOtherRatesWithoutSeams) {
    const auto sine = [](double seconds) { return 0.5 * std::sin(2 * std::numbers::pi * 997 * seconds); };
    ByteWriter data;
    for (int frame = 0; frame < 9600; ++frame)
        data.LeDouble(sine(frame / 48000.0));
    const std::string file = folder.Write(
        "sine.wav", RiffFile(ByteWriter().Chunk("fmt ", FmtBody(3, 1, 48000, 64)).Chunk("data", data)));
    for (const int rate : {44100, 96000, 16000}) {
        const auto render = [&](const std::string& block) {
            return Doubles(RunWavehost({"render", file, "-o", "-", "--raw", "--rate", std::to_string(rate),
                                        "--block", block})
                               .out);
        };
        const auto samples = render("9600");
        EXPECT_TRUE(samples == render("64") && samples == render("4097")) << rate;
        ASSERT_EQ(samples.size(), static_cast<size_t>(rate) / 5);
        for (size_t i = 200; i < samples.size() - 200; ++i)
            ASSERT_NEAR(samples[i], sine(static_cast<double>(i) / rate), 1e-4) << rate;
    }
}

TEST_F(WavehostRender, CarriesTagsOverToWhatItRenders) {
    const std::string file = SourceTree() + "/samples/tagged.wav", out = folder.Path("out.wav");
    const auto tags = [](const std::string& name) {
        return Json::parse(RunWavehost({"meta", "list", name, "--json"}).out)[0]["metadata"];
    };
    const HostRun run = RunWavehost(
        {"render", file, "-o", out, "--tags", "--start", "0.25", "--rate", "44100", "--format", "s16"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    Json wanted = tags(file);
    wanted["BWF:TimeReference"] = std::to_string(2 * 44100 + 11025);  // 2.25 s at the new rate
    Json found = tags(out);
    for (const char* timer : {"CART:INT1"}) {
        EXPECT_TRUE(found.contains(timer));
        found.erase(timer);
        wanted.erase(timer);
    }
    EXPECT_EQ(found, wanted);
    EXPECT_EQ(FilesInFolder(), 1u);
    const std::string aiff = SourceTree() + "/samples/aiff.aif";
    ASSERT_EQ(ExitCode({"render", aiff, "-o", out, "--tags"}), 0);
    EXPECT_EQ(RunWavehost({"meta", "get", out, "TITLE"}).out,
              RunWavehost({"meta", "get", aiff, "TITLE"}).out);
    EXPECT_EQ(ExitCode({"render", file, "-o", "-", "--tags"}), 2);
    EXPECT_EQ(ExitCode({"render", file, "-o", out, "--tags", "--raw"}), 2);
}

// A start between two frames: what is left begins with the nearer one, and is no frame short.
TEST_F(WavehostRender, RendersFromBetweenTwoFrames) {
    const std::string file = folder.Write("pattern.wav", PatternWav(1001, 1));
    for (const auto& [start, first] :
         {std::pair{"0.00002", 1}, {"0.00003125", 2}, {"0.010427084", 501}, {"0.0208416", 1000}}) {
        const HostRun run = RunWavehost({"render", file, "-o", "-", "--raw", "--start", start});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(Doubles(run.out), ExpectedSamples(first, 1001, 1, 1)) << start;
    }
}

// Of an ADPCM file's last block that is cut off nothing can be played.
TEST_F(WavehostRender, RendersSilenceForWhatDoesNotCome) {
    const Bytes whole = ReadWholeFile(SourceTree() + "/samples/ms-adpcm.wav");
    const auto data = std::search(whole.begin(), whole.end(), std::begin("data"), std::end("data") - 1);
    const Bytes head(whole.begin(), data), blocks(data + 8, data + 8 + 2 * 256 + 100);
    Bytes cut = ByteWriter().Add(head).Chunk("data", blocks);
    cut[70 + 8] = 1150 % 256;  // the frames that `fact` promises, of which a block holds 500
    cut[70 + 9] = 1150 / 256;
    const std::string file = folder.Write("cut.wav", cut), out = folder.Path("out.wav");
    const HostRun run = RunWavehost({"render", file, "-o", "-", "--raw"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("cut.wav: ended after 1000 of 1150 frames; silence stands for the rest"));
    const auto played = Doubles(run.out);
    ASSERT_EQ(played.size(), 1150u);
    EXPECT_NE(played[999], 0);
    EXPECT_EQ(std::count(played.begin() + 1000, played.end(), 0), 150);
    EXPECT_EQ(ExitCode({"render", file, "-o", out, "--start", "0.0522"}), 1);
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(ExitCode({"render", file, "-o", out, "--start", "0.04"}), 0);
}

TEST_F(WavehostRender, TellsOfSoundThatIsCutOff) {
    Bytes wav = PatternWav(1000, 1);
    EXPECT_THAT(RunWavehost({"render", folder.Write("a.wav", wav), "-o", "-", "--raw"}).err,
                Not(HasSubstr("sizes")));
    wav.resize(wav.size() / 2);
    const std::string file = folder.Write("a.wav", wav);
    const HostRun run = RunWavehost({"render", file, "-o", "-", "--raw"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("a.wav: the file and its sizes do not agree; 'check' tells more"));
}

}  // namespace
}  // namespace vantor::test
