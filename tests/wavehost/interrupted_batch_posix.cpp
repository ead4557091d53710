// A batch of edits that is stopped at any moment.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <random>
#include <thread>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using ::testing::AnyOf;
using ::testing::EndsWith;

constexpr int fileCount = 40;
constexpr struct {
    int signal, status;
} signals[] = {{SIGINT, 130}, {SIGKILL, 128 + SIGKILL}, {SIGTERM, 143}};

class WavehostBatch : public Wavehost {
  protected:
    // Of every second file the tags do not fit in place: bytes stand behind its last chunk.
    static Bytes Original(int number) {
        const Bytes whole = PatternWav(20, 2, InfoChunk("IART", "Old artist"));
        return number % 2 == 0 ? whole : ByteWriter().Add(whole).Text("xyz").Done();
    }
    [[nodiscard]] std::string Name(int number) const {
        return takes + "/take" + std::to_string(1000 + number) + ".wav";
    }
    void WriteAll() const {
        for (int i = 0; i < fileCount; ++i)
            WriteWholeFile(Name(i), Original(i));
    }

    [[nodiscard]] pid_t Start() const {
        const std::string program = BuildTree() + "/wavehost", files = takes;
        std::vector<std::string> words = {
            program, "meta", "set", "-q", files, "--set", "ARTIST=New artist", "--set", "IXML:SCENE=1"};
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t silent;
        posix_spawn_file_actions_init(&silent);
        for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
            posix_spawn_file_actions_addopen(&silent, stream, "/dev/null", O_WRONLY, 0);
        // A shell may have had this process ignore some.
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t heeded;
        sigfillset(&heeded);
        posix_spawnattr_setsigdefault(&attributes, &heeded);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
        pid_t child = -1;
        EXPECT_EQ(posix_spawn(&child, program.c_str(), &silent, &attributes, arguments.data(), environ), 0);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&silent);
        return child;
    }

    // What the process ended with: its exit status, or 128 and the signal that killed it.
    static int StatusOf(pid_t child) {
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    static int FilesIn(const std::string& path) {
        return static_cast<int>(std::distance(fs::directory_iterator(path), {}));
    }
    // The files that the batch had come to; so many may be on their way, with the tags of one side or the
    // other.
    int CountNew(const std::vector<Bytes>& finished, int mostBetween) const {
        int changed = 0;
        for (int i = 0; i < fileCount; ++i) {
            const Bytes found = ReadWholeFile(Name(i));
            const bool isNew = found == finished[static_cast<size_t>(i)];
            changed += isNew;
            if (isNew || found == Original(i)) continue;
            EXPECT_GE(--mostBetween, 0) << Name(i) << " is torn";
            EXPECT_THAT(RunWavehost({"meta", "export", Name(i), "--keys", "ARTIST,IXML:SCENE"}).out,
                        AnyOf(EndsWith(",Old artist,\r\n"), EndsWith(",New artist,1\r\n")));
        }
        return changed;
    }

    void SetUp() override { fs::create_directory(takes); }
    void TearDown() override { fs::remove_all(takes); }

    // In memory where there is room for it: a disk takes minutes over thousands of flushes.
    const std::string takes =
        fs::exists("/dev/shm") ? "/dev/shm/vantor-test-" + std::to_string(getpid()) : folder.Path("takes");
};

// Killed, the batch may leave one file between old and new. For who reads it it is one of them.
TEST_F(WavehostBatch, EveryFileIsOldOrNewWhateverTheMoment) {
    WriteAll();
    const std::string oldHashes = RunWavehost({"hash", takes}).out;
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(StatusOf(Start()), 0);
    const auto whole = std::chrono::steady_clock::now() - started;
    std::vector<Bytes> finished;
    for (int i = 0; i < fileCount; ++i)
        finished.push_back(ReadWholeFile(Name(i)));

    constexpr int moments = 12 * std::size(signals);
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> fractions(0.02, 0.98);
    int between = 0;
    for (int moment = 0; moment < moments; ++moment) {
        SCOPED_TRACE("moment " + std::to_string(moment));
        WriteAll();
        const auto [signal, status] = signals[moment % std::size(signals)];
        const pid_t child = Start();
        std::this_thread::sleep_for(whole * fractions(random));
        kill(child, signal);
        const int ended = StatusOf(child);
        const bool isKilled = signal == SIGKILL;
        const int changed = CountNew(finished, isKilled ? 1 : 0);
        // Before the program has taken over the signal the system's way of ending it stands.
        EXPECT_TRUE(ended == status || (ended == 0 && changed == fileCount)) << ended;
        between += changed > 0 && changed < fileCount;
        EXPECT_TRUE(isKilled || FilesIn(takes) == fileCount);
        ASSERT_EQ(StatusOf(Start()), 0);
        EXPECT_EQ(CountNew(finished, 0), fileCount);
        EXPECT_EQ(FilesIn(takes), fileCount);
    }
    EXPECT_EQ(RunWavehost({"hash", takes}).out, oldHashes);
    EXPECT_GT(between, 0) << "no moment lay within the batch";
}

}  // namespace
}  // namespace vantor::test
