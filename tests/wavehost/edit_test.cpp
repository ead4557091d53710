#include <gmock/gmock.h>

#include <thread>

#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class WavehostEdit : public Wavehost {
  protected:
    // "" when there is none.
    static std::string Value(const std::string& file, const std::string& key) {
        return RunWavehost({"meta", "get", file, key}).out;
    }
    static std::string Samples(const std::string& file) {
        return RunWavehost({"render", file, "-o", "-", "--raw"}).out;
    }

    const Bytes whole = PatternWav(500, 2, InfoChunk("IART", "Old artist"));
    const Bytes notInPlace = ByteWriter().Add(whole).Text("xyz");  // nothing can follow these bytes
};

TEST_F(WavehostEdit, UpdatesInPlaceMergesAndRemoves) {
    const std::string file = folder.Write("a.song.wav", whole);
    const std::string samples = Samples(file);
    const HostRun dry =
        RunWavehost({"meta", "set", file, "TITLE=One = two", "BWF:Originator=Me", "--dry-run"});
    EXPECT_EQ(ReadWholeFile(file), whole);
    const HostRun run = RunWavehost({"meta", "set", file, "TITLE=One = two", "BWF:Originator=Me"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, dry.out);
    EXPECT_THAT(run.out, HasSubstr("updated in place"));
    EXPECT_THAT(run.out, HasSubstr("TITLE: (none) -> \"One = two\""));
    EXPECT_THAT(Value(file, "INFO:INAM"), HasSubstr("One = two"));
    EXPECT_THAT(Value(file, "ARTIST"), HasSubstr("Old artist"));
    EXPECT_EQ(ExitCode({"meta", "set", file, "TITLE="}), 0);
    EXPECT_EQ(ExitCode({"meta", "get", file, "TITLE"}), 1);
    EXPECT_EQ(ExitCode({"meta", "set", file, "--replace-all", "GENRE=Noise"}), 0);
    EXPECT_EQ(Value(file, "ARTIST"), "");
    EXPECT_EQ(Samples(file), samples);
    EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(WavehostEdit, ReplacesAFileThatCannotBeUpdatedInPlace) {
    const std::string file = folder.Write("tail.wav", notInPlace);
    const std::string samples = Samples(file);
    const HostRun dry = RunWavehost({"meta", "set", file, "--dry-run", "TITLE=New"});
    EXPECT_EQ(ReadWholeFile(file), notInPlace);
    const std::string out = folder.Write("out.wav", {1, 2, 3});
    EXPECT_EQ(ExitCode({"meta", "set", file, "TITLE=There", "--output", out}), 0);
    EXPECT_EQ(ReadWholeFile(file), notInPlace);
    EXPECT_THAT(Value(out, "TITLE"), HasSubstr("There"));
    const HostRun run = RunWavehost({"meta", "set", file, "TITLE=New"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, dry.out);
    EXPECT_THAT(run.out, HasSubstr("rewritten"));
    EXPECT_THAT(Value(file, "TITLE"), HasSubstr("New"));
    for (const auto& path : {file, out})
        EXPECT_EQ(Samples(path), samples);
    EXPECT_EQ(FilesInFolder(), 2u);
}

TEST_F(WavehostEdit, RehearsesALargeFileByItsEnds) {
    constexpr uint32_t audioBytes = 80 << 20;
    ByteWriter head;
    head.Text("RIFF").Le32(audioBytes + 36).Text("WAVE").Chunk("fmt ", FmtBody(1, 2, 48000, 16));
    const std::string file = folder.Write("large.wav", head.Text("data").Le32(audioBytes));
    fs::resize_file(file, 44 + audioBytes);
    const std::vector<std::string> rehearse = {"meta", "set", file, "TITLE=Large", "--dry-run"};
    EXPECT_THAT(RunWavehost(rehearse).out, HasSubstr("updated in place"));
    fs::resize_file(file, 43 + audioBytes);  // the last byte of the audio is missing
    EXPECT_THAT(RunWavehost(rehearse).out, HasSubstr("rewritten"));
    EXPECT_EQ(fs::file_size(file), 43 + audioBytes);
    EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(WavehostEdit, RefusesWithoutTouchingAnything) {
    const Bytes aiff = ReadWholeFile(VANTOR_SOURCE_DIR "/samples/aiff.aif");
    const std::string file = folder.Write("file.aiff", aiff);
    const std::string wav = folder.Write("song.wav", whole);
    EXPECT_EQ(ExitCode({"meta", "set", file, "TITLE=x", "--dry-run"}), 1);
    EXPECT_EQ(ExitCode({"meta", "set", file, "TITLE=x", "--replace-all"}), 1);
    EXPECT_EQ(ExitCode({"meta", "set", folder.Path("none.wav"), "TITLE=x"}), 1);
    EXPECT_EQ(ExitCode({"meta", "set", wav, "=x"}), 2);
    EXPECT_EQ(ExitCode({"meta", "set", wav, "TITLE"}), 2);
    EXPECT_EQ(ReadWholeFile(file), aiff);
    EXPECT_EQ(ReadWholeFile(wav), whole);
    EXPECT_EQ(FilesInFolder(), 2u);
    const HostRun run = RunWavehost({"meta", "set", wav, "TITLE=x", "CAFINFO:title=y"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("CAFINFO:title was not stored"));
}

TEST_F(WavehostEdit, EditsOfOneFileWaitForEachOther) {
    const std::vector<std::string> keys = {"TITLE", "ARTIST", "ALBUM", "GENRE", "COMMENT", "DESC"};
    for (const Bytes& bytes : {PatternWav(500, 2), notInPlace}) {
        const std::string file = folder.Write("busy.wav", bytes);
        std::vector<std::thread> edits;
        for (const std::string& key : keys)
            edits.emplace_back([&, key] { EXPECT_EQ(ExitCode({"meta", "set", file, key + "=x"}), 0); });
        for (std::thread& edit : edits)
            edit.join();
        for (const std::string& key : keys)
            EXPECT_THAT(Value(file, key), HasSubstr("x")) << key;
    }
}

TEST_F(WavehostEdit, KeepsLinksAndPermissions) {
    if (onWindows) GTEST_SKIP() << "links need a privilege there, and permissions are of another kind";
    const std::string file = folder.Write("real.wav", notInPlace);
    const std::string link = folder.Path("link.wav");
    fs::create_symlink("real.wav", link);
    const auto odd = fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read;
    fs::permissions(file, odd);
    EXPECT_THAT(RunWavehost({"meta", "set", link, "TITLE=Through a link"}).out, HasSubstr("rewritten"));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(file).permissions(), odd);
    EXPECT_THAT(Value(file, "TITLE"), HasSubstr("Through a link"));
}

}  // namespace
}  // namespace vantor::test
