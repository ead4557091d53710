// An ordinary user before files that are not there, that are folders, and that are not his to read or write.
#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class WavehostForbidden : public Wavehost {
  protected:
    void SetUp() override {
        fs::permissions(folder.Path(""), fs::perms(0755));
        const std::string program = BuildTree() + "/wavehost";
        if (std::system((as + " test -x '" + program + "'").c_str()) != 0)
            GTEST_SKIP() << "the build folder is closed to nobody";
    }
    void TearDown() override {
        std::error_code failed;
        fs::permissions(folder.Path("locked"), fs::perms(0755), failed);
    }
    [[nodiscard]] HostRun Run(const std::vector<std::string>& arguments) const {
        return RunWavehost(arguments, as);
    }

    // What is forbidden to others is not to the superuser.
    const std::string as = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups" : "";
};

TEST_F(WavehostForbidden, TellsMissingFromFolderFromForbidden) {
    const std::string hidden = folder.Write("hidden.wav", PatternWav(10, 1));
    const std::string locked = folder.Path("locked"), none = folder.Path("none.wav");
    fs::create_directory(locked);
    const std::string inside = folder.Write("locked/take.wav", PatternWav(10, 1));
    fs::permissions(hidden, fs::perms(0000));
    fs::permissions(locked, fs::perms(0000));
    const std::vector<std::vector<std::string>> commands = {{"info"},
                                                            {"meta", "list"},
                                                            {"state"},
                                                            {"restore"},
                                                            {"check"},
                                                            {"repair"},
                                                            {"hash"},
                                                            {"hash", "--verify"},
                                                            {"meta", "import"},
                                                            {"render", "-o", folder.Path("out.wav")},
                                                            {"meta", "set", "--set", "TITLE=x"}};
    for (const auto& command : commands) {
        const auto told = [&](const std::string& file) {
            auto line = command;
            line.push_back(file);
            const HostRun run = Run(line);
            EXPECT_NE(run.exitCode, 0) << command.back() << ' ' << file;
            return run.err;
        };
        EXPECT_THAT(told(none), HasSubstr("no such file"));
        EXPECT_THAT(told(hidden), HasSubstr("permission denied")) << command.front();
        EXPECT_THAT(told(inside), HasSubstr("permission denied")) << command.front();
    }
    for (const char* command : {"scan", "report"}) {
        EXPECT_THAT(Run({command, none}).err, HasSubstr("no such file"));
        EXPECT_THAT(Run({command, hidden}).err, HasSubstr("is not a folder"));
        EXPECT_THAT(Run({command, locked}).err, HasSubstr("permission denied"));
        EXPECT_THAT(Run({command, inside}).err, HasSubstr("permission denied"));
    }
    for (const auto& command :
         {std::vector<std::string>{"state"}, {"hash", "--verify"}, {"meta", "import"}}) {
        auto line = command;
        line.push_back(folder.Path(""));
        EXPECT_THAT(Run(line).err, HasSubstr("is a folder")) << command.front();
    }
}

// In a folder that is his, and in one that is not.
TEST_F(WavehostForbidden, WritesNothingThatItMayNot) {
    const Bytes sound = PatternWav(10, 1);
    const std::string file = folder.Write("take.wav", sound);
    fs::permissions(file, fs::perms(0444));
    Bytes broken = sound;
    broken[4] ^= 1;  // the size of the container
    const std::string other = folder.Write("broken.wav", broken);
    fs::permissions(other, fs::perms(0444));
    for (const int mode : {0755, 0777}) {
        fs::permissions(folder.Path(""), fs::perms(mode));
        EXPECT_THAT(Run({"meta", "set", file, "TITLE=x"}).err, HasSubstr("write-protected"));
        EXPECT_EQ(Run({"repair", other}).exitCode, 1);
        EXPECT_EQ(ReadWholeFile(file), sound);
        EXPECT_EQ(ReadWholeFile(other), broken);
    }
    fs::permissions(folder.Path(""), fs::perms(0755));
    EXPECT_THAT(Run({"render", file, "-o", folder.Path("out.wav")}).err, HasSubstr("permission denied"));
    EXPECT_THAT(Run({"meta", "set", file, "TITLE=x", "--force"}).err,
                HasSubstr("no new file is permitted in "));
    EXPECT_EQ(Run({"rename", file, "--pattern", "{name}-x"}).exitCode, 1);
    EXPECT_EQ(ReadWholeFile(file), sound);
    EXPECT_EQ(FilesInFolder(), 2u);
}

}  // namespace
}  // namespace vantor::test
