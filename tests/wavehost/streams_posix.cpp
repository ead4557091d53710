// Standard streams that are closed or full, and names that only this system has.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class WavehostStreams : public Wavehost {
  protected:
    // Through a shell, with redirections behind the arguments.
    static int Shell(const std::string& arguments) {
        const int status = std::system(("'" + BuildTree() + "/wavehost' " + arguments).c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    static std::string TextOf(const std::string& path) {
        const Bytes bytes = ReadWholeFile(path);
        return {bytes.begin(), bytes.end()};
    }
};

// A stream that is closed leaves its number to the first file that is opened: what is told must not be
// written into a take.
TEST_F(WavehostStreams, ClosedOnesAreNotMistakenForFiles) {
    const std::string names = folder.Path("names");
    std::string all;
    for (int i = 0; i < 40; ++i)
        all += folder.Write("take" + std::to_string(i) + ".wav", PatternWav(10, 1)) + "\n";
    folder.Write("names", Bytes(all.begin(), all.end()));
    const std::string hashes = RunWavehost({"hash", folder.Path("")}).out;
    const std::string set = "meta set - --set IXML:NOTE='" + std::string(400, 'n') + "' <'" + names + "' ";
    for (const char* closed : {">&-", ">&- 2>&-"}) {
        EXPECT_EQ(Shell(set + closed), 1) << closed;
        EXPECT_EQ(RunWavehost({"hash", folder.Path("")}).out, hashes);
        for (const auto& entry : fs::directory_iterator(folder.Path("")))
            EXPECT_EQ(TextOf(entry.path()).find(": updated"), std::string::npos) << entry.path();
    }
    const std::string told = folder.Path("told");
    EXPECT_EQ(Shell("hash - <&- 2>'" + told + "'"), 1);
    EXPECT_THAT(TextOf(told), HasSubstr("standard input: cannot be read"));
    EXPECT_EQ(Shell("hash --verify - < /dev/null 2>&1 >'" + told + "' | grep -q 'no hashes'"), 0);
}

// What cannot be written is told once, under the name of what was to be written, with the reason.
TEST_F(WavehostStreams, FullOnesAreTold) {
    for (int i = 0; i < 50; ++i)
        folder.Write("take" + std::to_string(i) + ".wav",
                     PatternWav(10, 1, InfoChunk("ICMT", std::string(4000, 'x'))));
    const std::string takes = folder.Path(""), file = folder.Path("take0.wav");
    for (const auto& line : {std::vector<std::string>{"meta", "export", takes, "-o"},
                             {"meta", "export", "--json", takes, "-o"},
                             {"report", takes, "-o"},
                             {"state", file, "-o"},
                             {"peaks", file, "--png"},
                             {"render", file, "-o"}}) {
        auto full = line;
        full.emplace_back("/dev/full");
        const HostRun run = RunWavehost(full);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.err, StartsWith("wavehost: /dev/full: cannot be written: the disk is full\n"))
            << line[0];
    }
    const std::string told = folder.Path("told");
    EXPECT_EQ(Shell("info --json '" + takes + "' 2>'" + told + "' >/dev/full"), 1);
    EXPECT_EQ(TextOf(told), "wavehost: standard output: cannot be written: the disk is full\n");
}

// Pipes, links to nothing and links in a ring carry the names of takes too: none is waited for or passed
// over.
TEST_F(WavehostStreams, WhatIsNoFileIsTold) {
    folder.Write("good\nname.wav", PatternWav(10, 1));
    ASSERT_EQ(mkfifo(folder.Path("pipe.wav").c_str(), 0600), 0);
    fs::create_symlink("nowhere", folder.Path("gone.wav"));
    fs::create_symlink("ring.wav", folder.Path("ring.wav"));
    fs::create_symlink(".", folder.Path("loop"));
    fs::create_symlink("nowhere", folder.Path("notes.txt"));
    const std::string name = folder.Path("");
    for (const auto& line : {std::vector<std::string>{"scan", name, "--json"},
                             {"check", "-r", name, "--json"},
                             {"info", "-r", name},
                             {"hash", "-r", name}}) {
        const HostRun run = RunWavehost(line);
        EXPECT_EQ(run.exitCode, 1) << line[0];
        EXPECT_THAT(run.err, HasSubstr("gone.wav: no such file\n"));
        EXPECT_THAT(run.err, HasSubstr("pipe.wav: not a regular file\n"));
        EXPECT_THAT(run.err, HasSubstr("ring.wav: "));
        EXPECT_EQ(run.err.find("notes.txt"), std::string::npos);
    }
    // A name of two lines is found again in a list of hashes.
    const HostRun hashes = RunWavehost({"hash", folder.Path("good\nname.wav")});
    const std::string list = folder.Write("list", Bytes(hashes.out.begin(), hashes.out.end()));
    EXPECT_EQ(ExitCode({"hash", "--verify", list}), 0);
}

}  // namespace
}  // namespace vantor::test
