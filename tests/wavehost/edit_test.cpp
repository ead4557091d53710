#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string Value(const std::string& file, const std::string& key) {
    return RunWavehost({"meta", "get", file, key}).out;
}

bool HoldsAudio(const std::string& file, const Bytes& audio) {
    const Bytes bytes = ReadWholeFile(file);
    return std::search(bytes.begin(), bytes.end(), audio.begin(), audio.end()) != bytes.end();
}

size_t FilesIn(const std::string& anyFileThere) {
    return static_cast<size_t>(
        std::distance(fs::directory_iterator(fs::path(anyFileThere).parent_path()), {}));
}

TEST(WavehostMetaSet, UpdatesInPlaceMergesAndRemoves) {
    const TempFolder folder;
    const std::string file = folder.Write("a.song.wav", PatternWav(500, 2, InfoChunk("IART", "Old artist")));
    const HostRun run = RunWavehost({"meta", "set", file, "TITLE=One = two", "BWF:Originator=Me"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Holds(run.out, "updated in place")) << run.out;
    EXPECT_TRUE(Holds(run.out, "TITLE: (none) -> \"One = two\"")) << run.out;
    EXPECT_EQ(Value(file, "INFO:INAM"), Value(file, "TITLE"));
    EXPECT_TRUE(Holds(Value(file, "TITLE"), "One = two"));
    EXPECT_TRUE(Holds(Value(file, "ARTIST"), "Old artist"));
    EXPECT_TRUE(HoldsAudio(file, PatternData(500, 2)));

    EXPECT_EQ(RunWavehost({"meta", "set", file, "TITLE="}).exitCode, 0);
    EXPECT_EQ(RunWavehost({"meta", "get", file, "TITLE"}).exitCode, 1);
    EXPECT_EQ(RunWavehost({"meta", "set", file, "--replace-all", "GENRE=Noise"}).exitCode, 0);
    EXPECT_EQ(RunWavehost({"meta", "get", file, "ARTIST"}).exitCode, 1);
    EXPECT_TRUE(HoldsAudio(file, PatternData(500, 2)));
    EXPECT_EQ(FilesIn(file), 1u);
}

TEST(WavehostMetaSet, ReplacesAFileThatCannotBeUpdatedInPlace) {
    const TempFolder folder;
    const Bytes unfinished =
        ByteWriter().Add(PatternWav(500, 2)).Text("xyz");  // nothing can follow these bytes
    const std::string file = folder.Write("tail.wav", unfinished);
    const HostRun rehearsed = RunWavehost({"meta", "set", file, "--dry-run", "TITLE=New"});
    EXPECT_EQ(rehearsed.exitCode, 0) << rehearsed.err;
    EXPECT_EQ(ReadWholeFile(file), unfinished);
    const HostRun run = RunWavehost({"meta", "set", file, "TITLE=New"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Holds(run.out, "rewritten")) << run.out;
    EXPECT_EQ(run.out, rehearsed.out);
    EXPECT_TRUE(HoldsAudio(file, PatternData(500, 2)));
    EXPECT_EQ(FilesIn(file), 1u);
}

TEST(WavehostMetaSet, WritesToAnotherFileOrNowhere) {
    const TempFolder folder;
    const Bytes wav = PatternWav(500, 1);
    const std::string file = folder.Write("in.wav", wav);
    const std::string out = folder.Write("out.wav", {1, 2, 3});
    EXPECT_EQ(RunWavehost({"meta", "set", file, "TITLE=There", "--output", out}).exitCode, 0);
    EXPECT_EQ(ReadWholeFile(file), wav);
    EXPECT_TRUE(Holds(Value(out, "TITLE"), "There"));
    EXPECT_TRUE(HoldsAudio(out, PatternData(500, 1)));

    const HostRun dry = RunWavehost({"meta", "set", file, "TITLE=Here", "--dry-run"});
    EXPECT_TRUE(Holds(dry.out, "TITLE: (none) -> \"Here\"")) << dry.out;
    EXPECT_EQ(ReadWholeFile(file), wav);
    EXPECT_EQ(FilesIn(file), 2u);
}

TEST(WavehostMetaSet, RehearsesALargeFileByItsEnds) {
    const TempFolder folder;
    constexpr uint32_t audioBytes = 80 << 20;
    const std::string file = folder.Write("large.wav", ByteWriter()
                                                           .Text("RIFF")
                                                           .Le32(audioBytes + 36)
                                                           .Text("WAVE")
                                                           .Chunk("fmt ", FmtBody(1, 2, 48000, 16))
                                                           .Text("data")
                                                           .Le32(audioBytes));
    fs::resize_file(file, 44 + audioBytes);
    const HostRun run = RunWavehost({"meta", "set", file, "TITLE=Large", "--dry-run"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Holds(run.out, "updated in place")) << run.out;
    fs::resize_file(file, 43 + audioBytes);  // the last byte of the audio is missing
    const HostRun copied = RunWavehost({"meta", "set", file, "TITLE=Large", "--dry-run", "--output", file});
    EXPECT_TRUE(Holds(copied.out, "rewritten")) << copied.out << copied.err;
    EXPECT_EQ(fs::file_size(file), 43 + audioBytes);
    EXPECT_EQ(FilesIn(file), 1u);
}

TEST(WavehostMetaSet, RefusesWithoutTouchingAnything) {
    const TempFolder folder;
    const Bytes comm = ByteWriter().Be16(1).Be32(2).Be16(16).Be16(0x400E).Be64(0xAC44000000000000);
    const Bytes aiff = ByteWriter()
                           .Text("FORM")
                           .Be32(62)
                           .Text("AIFF")
                           .IffChunk("COMM", comm)
                           .IffChunk("SSND", ByteWriter().Zeros(12));
    const std::string file = folder.Write("file.aiff", aiff);
    for (const std::string extra : {"--dry-run", "--replace-all"})
        EXPECT_EQ(RunWavehost({"meta", "set", file, "TITLE=x", extra}).exitCode, 1) << extra;
    EXPECT_EQ(ReadWholeFile(file), aiff);
    EXPECT_EQ(FilesIn(file), 1u);
    EXPECT_EQ(RunWavehost({"meta", "set", folder.Path("none.wav"), "TITLE=x"}).exitCode, 1);
    EXPECT_EQ(RunWavehost({"meta", "set", file, "=x"}).exitCode, 2);
    EXPECT_EQ(RunWavehost({"meta", "set", file, "TITLE"}).exitCode, 2);

    const std::string wav = folder.Write("song.wav", PatternWav(10, 1));
    const HostRun run = RunWavehost({"meta", "set", wav, "TITLE=x", "CAFINFO:title=y"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(Holds(run.err, "CAFINFO:title was not stored")) << run.err;
}

TEST(WavehostMetaSet, KeepsLinksAndPermissions) {
    if (onWindows) GTEST_SKIP() << "links need a privilege there, and permissions are of another kind";
    const TempFolder folder;
    const std::string file = folder.Write("real.wav", ByteWriter().Add(PatternWav(50, 1)).Text("xyz"));
    const std::string link = folder.Path("link.wav");
    fs::create_symlink("real.wav", link);
    const auto odd = fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read;
    fs::permissions(file, odd);
    const HostRun run = RunWavehost({"meta", "set", link, "TITLE=Through a link"});
    EXPECT_TRUE(Holds(run.out, "rewritten")) << run.out << run.err;
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(file).permissions(), odd);
    EXPECT_TRUE(Holds(Value(file, "TITLE"), "Through a link"));
}

}  // namespace
}  // namespace vantor::test
