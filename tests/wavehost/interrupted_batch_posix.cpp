// A batch of edits that is stopped at any moment.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

constexpr int fileCount = 24;

class WavehostBatch : public Wavehost {
  protected:
    // Of every second file the tags do not fit in place: bytes stand behind its last chunk.
    static Bytes Original(int number) {
        const Bytes whole = PatternWav(300, 2, InfoChunk("IART", "Old artist"));
        return number % 2 == 0 ? whole : ByteWriter().Add(whole).Text("xyz").Done();
    }
    [[nodiscard]] std::string Name(int number) const {
        return folder.Path("take" + std::to_string(100 + number) + ".wav");
    }
    void WriteAll() const {
        for (int i = 0; i < fileCount; ++i)
            WriteWholeFile(Name(i), Original(i));
    }

    [[nodiscard]] pid_t Start() const {
        const std::string program = BuildTree() + "/wavehost", files = folder.Path("");
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
    // The files that the batch had come to.
    int CountNew(const std::vector<Bytes>& finished) const {
        int changed = 0;
        for (int i = 0; i < fileCount; ++i) {
            const Bytes found = ReadWholeFile(Name(i));
            if (found == finished[static_cast<size_t>(i)])
                ++changed;
            else
                EXPECT_EQ(found, Original(i)) << Name(i) << " is torn";
        }
        return changed;
    }
};

TEST_F(WavehostBatch, EveryFileIsOldOrNewAndNothingLiesAbout) {
    WriteAll();
    const auto started = std::chrono::steady_clock::now();
    ASSERT_EQ(StatusOf(Start()), 0);
    const auto whole = std::chrono::steady_clock::now() - started;
    std::vector<Bytes> finished;
    for (int i = 0; i < fileCount; ++i)
        finished.push_back(ReadWholeFile(Name(i)));

    const struct { int signal, status; } signals[] = {{SIGINT, 130}, {SIGTERM, 143}, {SIGHUP, 129}};
    constexpr int moments = 18;
    int stopped = 0, between = 0;
    for (int moment = 0; moment < moments; ++moment) {
        WriteAll();
        const auto& [signal, status] = signals[moment % 3];
        const pid_t child = Start();
        std::this_thread::sleep_for(whole * (moment + 1) / moments);
        kill(child, signal);
        const int ended = StatusOf(child);
        const int changed = CountNew(finished);
        // Before the program has taken over the signal the system's way of ending it stands.
        EXPECT_TRUE(ended == status || (ended == 0 && changed == fileCount)) << ended << " at " << moment;
        stopped += ended == status;
        between += changed > 0 && changed < fileCount;
        EXPECT_EQ(FilesInFolder(), size_t{fileCount}) << "at " << moment;
        ASSERT_EQ(StatusOf(Start()), 0);
        EXPECT_EQ(CountNew(finished), fileCount);
    }
    EXPECT_GT(stopped, 0);
    EXPECT_GT(between, 0) << "no moment lay within the batch";
}

}  // namespace
}  // namespace vantor::test
