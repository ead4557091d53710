// Names of shares, prefixed names and names of devices: long or short they reach the system as they were
// given.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <thread>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"
#include "wavehost/files/file_list.h"
#include "wavehost/files/output_file.h"
#include "wavehost/os/edit_lock.h"

namespace vantor::test {
namespace {

using namespace wavehost;
using ::testing::AllOf;
using ::testing::HasSubstr;

TEST(WindowsNames, OfSharesStayThemselves) {
    const std::string tail = "\\" + std::string(120, 'a') + "\\" + std::string(120, 'b') + "\\take.wav";
    const struct {
        std::string name;
        std::wstring start;  // of what the system is given
    } names[] = {
        {R"(\\server\share\takes\a.wav)", LR"(\\server\share\)"},
        {R"(\\server\share)" + tail, LR"(\\?\UNC\server\share\)"},
        {R"(\\?\UNC\server\share\a.wav)", LR"(\\?\UNC\server\share\)"},
        {R"(\\?\C:\takes\a.wav)", LR"(\\?\C:\)"},
        {R"(C:\takes)" + tail, LR"(\\?\C:\takes)"},
        {R"(\\?\C:\takes)" + tail, LR"(\\?\C:\takes)"},
        {R"(\\.\unix\tmp)" + tail, LR"(\\.\unix\tmp)"},
    };
    for (const auto& [name, start] : names) {
        for (const fs::path& path : {PathOf(name), AbsolutePath(PathOf(name)), PlainPath(PathOf(name)),
                                     FollowLinks(AbsolutePath(PathOf(name)))}) {
            EXPECT_TRUE(path.native().starts_with(start)) << TextOf(path);
            EXPECT_EQ(TextOf(PathOf(TextOf(path))), TextOf(path));
            const fs::path beside = path.parent_path() / ".vantor.tmp";
            EXPECT_TRUE(beside.native().starts_with(start)) << TextOf(beside);
        }
        // Shown as people write it: the prefix stays where it was given and needed for nothing.
        const bool isLong = name.size() > 215, isPrefixed = name.starts_with(R"(\\?\)");
        EXPECT_EQ(TextOf(AbsolutePath(PathOf(name))), isLong && isPrefixed ? name.substr(4) : name);
    }
    // A server that does not answer is told; nothing is taken for a wildcard or an option.
    const HostRun run = RunWavehost({"hash", R"(\\?\UNC\localhost\no-such-share\take.wav)"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr(R"(\\?\UNC\localhost\no-such-share\take.wav: )"));
}

// Nothing stands in a file's place for a moment while it is replaced. An edit that begins just then waits for
// the same turn as those that find the file there.
TEST(WindowsNames, LeadToOneTurnWhileAFileIsReplaced) {
    const TempFolder folder;
    const fs::path file = PathOf(folder.Path("take.wav"));
    std::optional<EditLock> during(std::in_place, file);
    folder.Write("take.wav", {1});
    std::atomic<bool> isReleased = false;
    std::thread another([&] {
        const EditLock afterwards(file);
        EXPECT_TRUE(isReleased);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    isReleased = true;
    during.reset();
    another.join();
}

// The commands over a folder that is named so, as over any other.
TEST_F(Wavehost, WorksThroughPrefixedNames) {
    folder.Write("take.wav", ByteWriter().Add(PatternWav(20, 1, InfoChunk("IART", "Me"))).Text("xyz"));
    fs::create_directory(PathOf(folder.Path("deep")));
    folder.Write("deep/take.wav", PatternWav(20, 1));
    const std::string plain = TextOf(AbsolutePath(PathOf(folder.Path(""))).make_preferred());
    const std::string prefixed = R"(\\?\)" + plain;
    const auto on = [&](const std::string& name) { return prefixed + name; };
    EXPECT_EQ(ExitCode({"meta", "set", on("take.wav"), "--set", "TITLE=Copied", "--force"}), 0);
    EXPECT_EQ(ExitCode({"meta", "set", on("take.wav"), "--set", "TITLE=x", "--output", on("out.wav")}), 0);
    EXPECT_EQ(ExitCode({"render", on("take.wav"), "-o", on("played.wav")}), 0);
    EXPECT_EQ(ExitCode({"rename", on("played.wav"), "--pattern", "{name} again"}), 0);
    EXPECT_EQ(ExitCode({"meta", "export", "-r", prefixed, "-o", on("table.csv")}), 0);
    EXPECT_EQ(ExitCode({"meta", "import", on("table.csv")}), 0);
    const HostRun scan = RunWavehost({"scan", prefixed}),
                  stars = RunWavehost({"hash", on("*.wav"), on("deep")});
    EXPECT_EQ(scan.exitCode + stars.exitCode, 0);
    EXPECT_THAT(scan.out, AllOf(HasSubstr(on("deep\\take.wav")), HasSubstr(on("out.wav")),
                                HasSubstr(on("played again.wav")), HasSubstr(on("take.wav"))));
    EXPECT_EQ(std::count(stars.out.begin(), stars.out.end(), '\n'), 4);
    EXPECT_EQ(FilesInFolder(), 5u);
}

}  // namespace
}  // namespace vantor::test
