#include <gmock/gmock.h>

#include <fstream>
#include <thread>

#include "tests/support/chunk_list.h"
#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

#if !defined(_WIN32)
#include <sys/resource.h>

#include <csignal>
#endif

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
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

// Values as their fields hold them, keys that are renamed, what goes with a document that cannot be patched.
TEST_F(WavehostEdit, ADryRunTellsWhatTheEditThenTells) {
    const auto document =
        ByteWriter().Text("<BWFXML><A> </A><SPEED a='1'><RATE>25</RATE></SPEED><NOTE>n</NOTE></BWFXML>");
    const Bytes file = PatternWav(500, 2, ByteWriter().Chunk("iXML", document));
    const std::vector<std::string> edits[] = {
        {"--set", "TITLE=x", "--set", "IXML:A:B=1", "--force"},
        {"--set", "DESC=" + std::string(300, 'd'), "--force"},
        {"--set", "IXML:USER:My Field=3", "--set", "INFO:ICMT=", "--force"},
        {"--set", "IXML:NOTE=q", "--rebuild"},
        {"--set", "TITLE=y", "--replace-all"},
        {"--set", "IXML:NOTE=n"},
    };
    for (const auto& edit : edits) {
        const std::string path = folder.Write("song.wav", file);
        std::vector<std::string> line = {"meta", "set", path};
        line.insert(line.end(), edit.begin(), edit.end());
        const HostRun run = RunWavehost(line);
        folder.Write("song.wav", file);
        line.emplace_back("--dry-run");
        const HostRun dry = RunWavehost(line);
        EXPECT_TRUE(ReadWholeFile(path) == file);
        EXPECT_EQ(dry.out, run.out);
        EXPECT_EQ(dry.err, run.err + "dry run: nothing was written\n");
        EXPECT_EQ(dry.exitCode, run.exitCode);
    }
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

    const std::string locked = folder.Write("locked.wav", whole);
    fs::permissions(locked, fs::perms::owner_read);
    const bool isLocked = !std::ofstream(locked, std::ios::app);  // root may write all the same
    EXPECT_EQ(ExitCode({"meta", "set", locked, "--dry-run", "TITLE=x"}), isLocked ? 1 : 0);
    fs::permissions(locked, fs::perms::owner_all);
}

TEST_F(WavehostEdit, AnswersForALargeFileWithoutReadingItsAudio) {
    constexpr uint32_t audioBytes = 80 << 20, otherBytes = 20 << 20;
    const Bytes info = InfoChunk("IART", "Old artist");
    const auto riffBytes = static_cast<uint32_t>(audioBytes + otherBytes + 44 + info.size());
    ByteWriter head;
    head.Text("RIFF").Le32(riffBytes).Text("WAVE").Chunk("fmt ", FmtBody(1, 2, 48000, 16));
    const std::string file = folder.Write("large.wav", head.Text("data").Le32(audioBytes));
    fs::resize_file(file, 44 + audioBytes);
    {
        std::ofstream more(file, std::ios::binary | std::ios::app);
        const Bytes other = ByteWriter().Chunk("abcd", Bytes(otherBytes, 1)).Add(info);
        more.write(reinterpret_cast<const char*>(other.data()), std::ssize(other));
    }
    const std::vector<std::string> edit = {"meta", "set", file, "ARTIST=Large"};
    const HostRun dry = RunWavehost({"meta", "set", file, "ARTIST=Large", "--dry-run"});
    EXPECT_EQ(fs::file_size(file), riffBytes + 8);
    EXPECT_THAT(dry.out,
                AllOf(HasSubstr("updated in place"), HasSubstr("ARTIST: \"Old artist\" -> \"Large\"")));
    EXPECT_EQ(RunWavehost(edit).out, dry.out);
    fs::resize_file(file, 43 + audioBytes);  // the last byte of the audio is missing
    EXPECT_THAT(RunWavehost({"meta", "set", file, "ARTIST=Large", "--dry-run"}).out, HasSubstr("rewritten"));
    EXPECT_EQ(fs::file_size(file), 43 + audioBytes);
    EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(WavehostEdit, RefusesWithoutTouchingAnything) {
    const Bytes aiff = ReadWholeFile(SourceTree() + "/samples/aiff.aif");
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
    const HostRun run = RunWavehost({"meta", "set", wav, "--force", "TITLE=x", "CAFINFO:title=y"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("CAFINFO:title was not stored"));
    // The common field stands for this key as well.
    EXPECT_THAT(RunWavehost({"meta", "set", wav, "TITLE=Common", "INFO:INAM=Raw"}).err,
                HasSubstr("INFO:INAM was stored as \"Common\""));
}

TEST_F(WavehostEdit, EditsOfOneFileWaitForEachOther) {
    const std::vector<std::string> keys = {"TITLE", "ARTIST", "ALBUM", "GENRE", "COMMENT", "DESC"};
    for (const Bytes& bytes : {PatternWav(500, 2), notInPlace}) {
        const std::string file = folder.Write("busy.wav", bytes);
        std::vector<std::thread> edits;
        for (const std::string& key : keys)
            edits.emplace_back([&, key] {
                const HostRun run = RunWavehost({"meta", "set", file, key + "=x"});
                EXPECT_EQ(run.exitCode, 0) << run.err;
            });
        for (std::thread& edit : edits)
            edit.join();
        for (const std::string& key : keys)
            EXPECT_THAT(Value(file, key), HasSubstr("x")) << key;
    }
}

#if !defined(_WIN32)
TEST_F(WavehostEdit, TellsAFailedWrite) {
    const std::string file = folder.Write("song.wav", whole);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit tight{1024, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);  // handed on to the programs that are started
    setrlimit(RLIMIT_FSIZE, &tight);
    const HostRun run = RunWavehost({"meta", "set", file, "TITLE=x"});
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("cannot be written to the disk"));
    EXPECT_EQ(ReadWholeFile(file), whole);
    EXPECT_EQ(FilesInFolder(), 1u);
}
#endif

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

// UMID and coding history have no keys.
TEST_F(WavehostEdit, TellsOfChunksThatAreNotWhatTheyWere) {
    const Bytes bext = ByteWriter().Field("told", 602).Text("A=PCM\r\n");
    const Bytes tagged = PatternWav(500, 2, ByteWriter().Chunk("bext", bext).Add(InfoChunk("IART", "Me")));
    const std::string file = folder.Write("a.wav", tagged);
    EXPECT_EQ(RunWavehost({"meta", "set", file, "INFO:IART=You", "PREFPOS=1000"}).err, "");
    EXPECT_EQ(Find(ReadWholeFile(file), "bext")->body.size(), bext.size());
    const auto rebuilt = RunWavehost({"meta", "set", file, "INFO:IART=Them", "--rebuild"});
    EXPECT_EQ(rebuilt.exitCode, 0);
    EXPECT_THAT(rebuilt.err, HasSubstr("a.wav: also changed: chunk 'bext' of 609 bytes, now 602 bytes"));
    EXPECT_THAT(RunWavehost({"meta", "set", file, "INFO:IART=Us", "--replace-all"}).err,
                ::testing::Not(HasSubstr("chunk")));
}

}  // namespace
}  // namespace vantor::test
