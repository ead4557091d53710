// What the reference host draws and tells of a file.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using ::testing::HasSubstr;

class WavehostShow : public Wavehost {};

std::vector<float> FloatsIn(const void* bytes, size_t count) {
    std::vector<float> samples(count / sizeof(float));
    if (!samples.empty()) std::memcpy(samples.data(), bytes, samples.size() * sizeof(float));
    return samples;
}

TEST_F(WavehostShow, TellsFailureFromWrongUsageAndLeavesFilesAlone) {
    const Bytes wav = PatternWav(10, 1);
    const std::string file = folder.Write("pattern.wav", wav);
    const std::string text = folder.Write("text.wav", Bytes(9, 't'));
    const std::string out = folder.Write("out.wav", {1, 2, 3});
    EXPECT_EQ(ExitCode({"render", file, "-o", file}), 1);
    EXPECT_THAT(RunWavehost({"render", text, "-o", out}).err, HasSubstr("text.wav: Unknown file header"));
    EXPECT_EQ(ExitCode({"render", text, "-o", out}), 1);
    EXPECT_EQ(ExitCode({"render", file, "-o", folder.Path("none/out.wav")}), 1);
    EXPECT_THAT(RunWavehost({"render", file, "-o", out, "--channels", "8192"}).err, HasSubstr("channels"));
    EXPECT_EQ(ExitCode({"render", file, "-o", out, "--rate", "4294967295", "--channels", "2"}), 1);
    const std::string second = folder.Write("second.wav", PatternWav(48000, 1));
    EXPECT_THAT(RunWavehost({"render", second, "-o", out, "--rate", "100"}).err,
                HasSubstr("second.wav: a rate of 48000 Hz cannot be brought to 100"));
    for (const auto& command : {std::vector<std::string>{"info", file},
                                {"markers", file},
                                {"slices", file},
                                {"restore", file},
                                {"meta", "list", file},
                                {"meta", "export", file},
                                {"meta", "get", "--key", "TITLE", file},
                                {"scan", folder.Path("")}}) {
        std::vector<std::string> line = {"--module", folder.Path("none.so")};
        line.insert(line.end(), command.begin(), command.end());
        line.emplace_back("--json");
        const HostRun run = RunWavehost(line);
        EXPECT_EQ(run.exitCode, 1) << command[0];
        const Json told = Json::parse(run.out);
        const Json& first = told.is_array() ? told.at(0) : told;
        EXPECT_THAT(first["error"].get<std::string>(), HasSubstr("the module cannot be loaded"));
        EXPECT_THAT(run.err, HasSubstr("none.so: the module cannot be loaded"));
    }
    EXPECT_EQ(ExitCode({"--module", "none.so", "info", file}), 1);
    EXPECT_EQ(ExitCode({"render", file}), 2);
    EXPECT_EQ(ExitCode({"render", file, "-o", out, "--format", "s8"}), 2);
    EXPECT_EQ(ExitCode({}), 2);
    // The word that is wrong is told, not what is missing for that.
    for (const auto& line : {std::vector<std::string>{"play"}, {"info", "--jsn"}, {"meta", "change", file}}) {
        const HostRun run = RunWavehost(line);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_THAT(run.err, HasSubstr(line.size() > 1 ? line[1] : line[0]));
    }
    EXPECT_EQ(ExitCode({"peaks", file, "--png", ""}), 1);
    EXPECT_THAT(RunWavehost({"render", file, "-o", folder.Path("")}).err,
                HasSubstr("the output is a folder"));
    EXPECT_EQ(ExitCode({"meta", "set", "--help"}), 0);
    EXPECT_EQ(ReadWholeFile(file), wav);
    EXPECT_EQ(ReadWholeFile(out), Bytes({1, 2, 3}));
}

TEST_F(WavehostShow, TellsOfFilesAsJson) {
    const Bytes cue = ByteWriter().Le32(1).Le32(7).Le32(0).Text("data").Zeros(8).Le32(4800);
    fs::create_directories(folder.Path("deep/er"));
    const std::string good =
        folder.Write("deep/good.wav",
                     PatternWav(9600, 2, ByteWriter().Chunk("cue ", cue).Add(InfoChunk("INAM", "Caf\xE9"))));
    const std::string bad = folder.Write("broken.wav", ByteWriter().Text("RIFF").Le32(4).Text("WAVE"));
    const HostRun both = RunWavehost({"info", bad, good, "--json"});
    EXPECT_EQ(both.exitCode, 1);
    const Json facts = Json::parse(both.out);
    EXPECT_EQ(facts[0]["online"], false);
    EXPECT_EQ(facts[0]["info_text"], "Error reading WAV chunk header");
    EXPECT_EQ(facts[1]["file"], good);
    EXPECT_EQ(facts[1]["channels"], 2);
    EXPECT_EQ(facts[1]["bit_depth"], 16);
    EXPECT_EQ(facts[1]["length_seconds"], 0.2);
    EXPECT_EQ(facts[1]["markers"], Json::parse(RunWavehost({"markers", "--json", good}).out)[0]["markers"]);
    EXPECT_EQ(facts[1]["markers"][0]["start"], 0.1);
    EXPECT_TRUE(facts[1]["metadata"].contains("INFO:INAM"));
    EXPECT_EQ(facts[1]["metadata"],
              Json::parse(RunWavehost({"meta", "list", "--json", good}).out)[0]["metadata"]);

    folder.Write("deep/er/a.wav", PatternWav(10, 1, InfoChunk("IART", "Me")));
    folder.Write("deep/notes.txt", {'h', 'i'});
    std::istringstream lines(RunWavehost({"scan", folder.Path("deep"), "--json"}).out);
    std::string first, second, third;
    std::getline(std::getline(lines, first), second);
    EXPECT_FALSE(std::getline(lines, third)) << third;
    EXPECT_EQ(Json::parse(first)["metadata"], Json({{"INFO:IART", "Me"}}));
    EXPECT_EQ(ExitCode({"scan", folder.Path("none")}), 1);
}

TEST_F(WavehostShow, TellsOfEveryFileWhateverBecomesOfOthers) {
    fs::create_directories(folder.Path("takes/sub"));
    fs::create_directories(folder.Path("empty"));
    folder.Write("takes/b.wav", PatternWav(10, 1));
    folder.Write("takes/a.wav", PatternWav(10, 1));
    folder.Write("takes/sub/c.wav", PatternWav(10, 1));
    const std::string takes = folder.Path("takes"), none = folder.Path("none.wav");
    const std::string text = folder.Write("text.wav", Bytes(9, 't'));
    for (const auto& command :
         {std::vector<std::string>{"info"}, {"markers"}, {"slices"}, {"meta", "list"}, {"meta", "export"}}) {
        std::vector<std::string> line = command;
        line.insert(line.end(), {none, takes, text, "", folder.Path("empty"), "-r", "--json"});
        const HostRun run = RunWavehost(line);
        EXPECT_EQ(run.exitCode, 1);
        const Json objects = Json::parse(run.out);
        ASSERT_EQ(objects.size(), 7u) << run.out;
        EXPECT_EQ(objects[0]["file"], none);
        EXPECT_EQ(objects[0]["error"], "no such file");
        EXPECT_THAT(objects[1]["file"].get<std::string>(), HasSubstr("a.wav"));
        EXPECT_THAT(objects[3]["file"].get<std::string>(), HasSubstr("c.wav"));
        EXPECT_FALSE(objects[3].contains("error"));
        EXPECT_EQ(objects[4]["error"], "Unknown file header");
        EXPECT_EQ(objects[5]["error"], "an empty name is no file");
        EXPECT_EQ(objects[6]["error"], "holds no audio files");
    }
    const HostRun report = RunWavehost({"report", folder.Path("empty")});
    EXPECT_EQ(report.exitCode, 0);
    EXPECT_THAT(report.err, HasSubstr("holds no audio files"));
    EXPECT_THAT(RunWavehost({"hash", folder.Path("empty")}).err,
                HasSubstr("empty: holds no audio files itself; -r looks into its folders"));
    EXPECT_THAT(RunWavehost({"info", takes + "/sub", none, takes + "/none"}).err,
                HasSubstr("none.wav: no such file"));
    EXPECT_EQ(RunWavehost({"info", folder.Path("takes/sub"), "--json", "-q"}).err, "");
    EXPECT_EQ(Json::parse(RunWavehost({"restore", none, "--json"}).out)[0]["error"], "no such file");
    EXPECT_EQ(RunWavehost({"--version"}).out, RunWavehost({"meta", "list", "--version"}).out);
    EXPECT_EQ(RunWavehost({"markers", "--csv", takes}).out,
              "FileName,ID,Type,StartSeconds,EndSeconds,StartFrame,EndFrame,Name\r\n");
}

TEST_F(WavehostShow, ScansWhateverCanBePlayedAndListsWhatCannot) {
    const std::string samples = SourceTree() + "/samples";
    const std::string all = folder.Path("all");
    fs::create_directory(all);
    size_t audioFiles = 0;
    for (const auto& entry : fs::directory_iterator(samples)) {
        const std::string name = entry.path().filename().string();
        if (!entry.is_regular_file() || name.ends_with(".md") || name.ends_with(".txt")) continue;
        folder.Write("all/" + name, ReadWholeFile(entry.path().string()));
        ++audioFiles;
    }
    folder.Write("all/broken.wav", ByteWriter().Text("RIFF").Le32(4).Text("WAVE"));
    folder.Write("all/notes.doc", {1, 2, 3});
    const HostRun run = RunWavehost({"scan", all, "--json"});
    EXPECT_EQ(run.exitCode, 1);
    std::istringstream lines(run.out);
    size_t read = 0;
    for (std::string line; std::getline(lines, line);) {
        const Json object = Json::parse(line);
        const bool isBroken = object["file"].get<std::string>().ends_with("broken.wav");
        EXPECT_EQ(object.contains("error"), isBroken) << line;
        EXPECT_EQ(object.contains("metadata"), !isBroken) << line;
        ++read;
    }
    EXPECT_EQ(read, audioFiles + 1);
    EXPECT_THAT(RunWavehost({"scan", all}).out, HasSubstr("broken.wav\tcannot be read: "));
    fs::remove(folder.Path("all/broken.wav"));
    EXPECT_EQ(ExitCode({"scan", all}), 0);
}

TEST_F(WavehostShow, TellsThePositionAsTimecode) {
    const std::string ixml =
        "<?xml version=\"1.0\"?><BWFXML><SPEED><TIMECODE_RATE>25/1</TIMECODE_RATE>"
        "<TIMECODE_FLAG>NDF</TIMECODE_FLAG></SPEED></BWFXML>";
    const ByteWriter bext = ByteWriter().Zeros(338).Le32(48000 * 3600 + 1920 * 3).Le32(0).Le16(1).Zeros(254);
    const std::string file = folder.Write(
        "take.wav",
        PatternWav(10, 1, ByteWriter().Chunk("bext", bext).Chunk("iXML", ByteWriter().Text(ixml))));
    EXPECT_THAT(RunWavehost({"info", file}).out,
                HasSubstr("Position: 172805760 samples, 01:00:00.120, 01:00:00:03 (25 frames a second)"));
    const Json facts = Json::parse(RunWavehost({"info", file, "--json"}).out)[0];
    EXPECT_EQ(facts["position_samples"], 172805760);
    EXPECT_EQ(facts["position_seconds"], 3600.12);
    EXPECT_EQ(facts["timecode"], "01:00:00:03");
}

TEST_F(WavehostShow, RestoresASliceFromWhereverItsFileIs) {
    const std::string name = onWindows ? "it's a loop" : "it's a \"loop\"";  // no such name there
    fs::create_directories(folder.Path("project/" + name));
    const std::string file = folder.Write("project/" + name + "/loop.wav",
                                          ReadWholeFile(SourceTree() + "/samples/sliced-loop.wav"));
    const Json slices = Json::parse(RunWavehost({"slices", "--json", file}).out)[0]["slices"];
    ASSERT_EQ(slices.size(), 4u);
    EXPECT_NEAR(slices[1]["start_seconds"].get<double>(), 0.125, 1e-4);
    EXPECT_NEAR(slices[1]["position_beats"].get<double>(), 1, 1e-3);
    const std::string state = folder.Path("project/state.txt");
    ASSERT_EQ(ExitCode({"state", file, "--slice", "1", "-o", state}), 0);
    EXPECT_EQ(ExitCode({"state", file, "--slice", "4"}), 1);
    fs::rename(folder.Path("project"), folder.Path("moved"));
    const HostRun restored = RunWavehost({"restore", folder.Path("moved/state.txt"), "--json"});
    ASSERT_EQ(restored.exitCode, 0) << restored.err;
    const Json facts = Json::parse(restored.out)[0];
    EXPECT_EQ(facts["type"], "WAVE_SLICE");
    EXPECT_NEAR(facts["length_seconds"].get<double>(), 0.125, 1e-4);
    EXPECT_TRUE(fs::equivalent(facts["file"].get<std::string>(), folder.Path("moved/" + name + "/loop.wav")));
    EXPECT_EQ(ExitCode({"restore", folder.Path("moved/" + name + "/loop.wav")}), 1);
    fs::remove(folder.Path("moved/" + name + "/loop.wav"));
    EXPECT_THAT(RunWavehost({"restore", folder.Path("moved/state.txt")}).err,
                HasSubstr("loop.wav: no such file"));
}

TEST_F(WavehostShow, DrawsAndKeepsExactPeaksWhileTheyFit) {
    constexpr int frames = 1000, channels = 2;
    const std::string file = folder.Write("song.wav", PatternWav(frames, channels));
    const std::string png = folder.Path("song.png"), peaks = file + ".vwpeaks";
    const std::vector<std::string> draw = {"peaks", file, "--png", png, "--width", "300"};
    const HostRun run = RunWavehost(draw);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const Bytes picture = ReadWholeFile(png);
    const Bytes start = ByteWriter().U8(0x89).Text("PNG\r\n\x1A\n").Be32(13).Text("IHDR").Be32(300).Be32(384);
    ASSERT_GT(picture.size(), start.size());
    EXPECT_TRUE(std::equal(start.begin(), start.end(), picture.begin()));

    constexpr int framesPerPeak = 120;  // 400 peaks a second
    constexpr size_t headerBytes = 64;
    const Bytes stored = ReadWholeFile(peaks);
    ASSERT_GT(stored.size(), headerBytes);
    std::vector<float> wanted;
    for (int first = 0; first < frames; first += framesPerPeak)
        for (int channel = 0; channel < channels; ++channel) {
            std::vector<int> span;
            for (int frame = first; frame < std::min(frames, first + framesPerPeak); ++frame)
                span.push_back(PatternSample(frame, channel));
            const auto [low, high] = std::ranges::minmax(span);
            wanted.push_back(static_cast<float>(high) / 32768);
            wanted.push_back(static_cast<float>(low) / 32768);
        }
    EXPECT_EQ(FloatsIn(&stored[headerBytes], stored.size() - headerBytes), wanted);

    const auto written = fs::last_write_time(peaks);
    ASSERT_EQ(ExitCode(draw), 0);
    EXPECT_EQ(fs::last_write_time(peaks), written);
    WriteWholeFile(peaks, {'d', 'a', 'm', 'a', 'g', 'e', 'd'});
    ASSERT_EQ(ExitCode(draw), 0);
    EXPECT_EQ(ReadWholeFile(png), picture);
    folder.Write("song.wav", PatternWav(frames * 2, channels));
    ASSERT_EQ(ExitCode(draw), 0);
    EXPECT_NE(ReadWholeFile(peaks), stored);

#if !defined(_WIN32)
    // No peak file can stand where a folder does: the user's cache takes it.
    fs::remove(peaks);
    fs::create_directory(peaks);
    setenv("XDG_CACHE_HOME", folder.Path("cache").c_str(), 1);
    EXPECT_EQ(ExitCode(draw), 0);
    unsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path("cache/vantor_wave")), {}), 1);
#endif
}

TEST_F(Wavehost, PropertiesSaysWhereThereIsNoWindow) {
    const std::string file = folder.Write("take.wav", PatternWav(10, 1));
    if (onWindows) GTEST_SKIP() << "there is one";
    const auto run = RunWavehost({"properties", file});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "wavehost: " + file +
                  ": the module shows no properties window on this system; 'info' prints the same\n");
    EXPECT_NE(RunWavehost({"properties", folder.Path("absent.wav")}).err.find("absent.wav: "),
              std::string::npos);
}

}  // namespace
}  // namespace vantor::test
