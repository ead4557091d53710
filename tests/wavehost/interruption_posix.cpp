// A person who stops the program: what was there stays, and nothing else is left.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <thread>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

int64_t BytesWritten(pid_t process) {
    std::ifstream counters("/proc/" + std::to_string(process) + "/io");
    int64_t bytes = 0;
    for (std::string name; counters >> name;)
        if (name == "wchar:") counters >> bytes;
    return bytes;
}

class Interruption : public Wavehost {
  protected:
    // Starts the program, sends the signal when it has written a while, and returns the exit status.
    [[nodiscard]] static int Interrupt(std::vector<std::string> arguments, int signal) {
        arguments.insert(arguments.begin(), BuildTree() + "/wavehost");
        std::vector<char*> words;
        for (std::string& word : arguments)
            words.push_back(word.data());
        words.push_back(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            const int nowhere = open("/dev/null", O_RDWR);
            for (int stream = 0; stream < 3; ++stream)
                dup2(nowhere, stream);
            execv(words[0], words.data());
            _exit(127);
        }
        for (int i = 0; i < 10000 && BytesWritten(child) < 1 << 20; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        kill(child, signal);
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_F(Interruption, ARenderThatIsStoppedLeavesNothingBehind) {
    constexpr uint32_t audioBytes = 1u << 30;  // a hole: minutes of sound to write
    const std::string file = folder.Write("long.wav", ByteWriter()
                                                          .Text("RIFF")
                                                          .Le32(36 + audioBytes)
                                                          .Text("WAVE")
                                                          .Chunk("fmt ", FmtBody(1, 1, 48000, 16))
                                                          .Text("data")
                                                          .Le32(audioBytes));
    fs::resize_file(file, 44 + audioBytes);
    const std::string out = folder.Write("out.wav", {1, 2, 3});
    for (const auto& [signal, status] : {std::pair{SIGINT, 130}, {SIGTERM, 143}, {SIGHUP, 129}}) {
        EXPECT_EQ(Interrupt({"render", file, "-o", out}, signal), status);
        EXPECT_EQ(FilesInFolder(), 2u) << signal;
        EXPECT_EQ(ReadWholeFile(out), Bytes({1, 2, 3}));
    }
}

// A file that shrinks while it is played: what came is kept, silence stands for the rest, and the status
// tells.
TEST_F(Interruption, ASourceThatEndsEarlyIsAFault) {
    constexpr int frames = 2000000;
    const std::string file = folder.Write("shrinking.wav", PatternWav(frames, 1)), out = folder.Path("out");
    const std::string program = BuildTree() + "/wavehost";
    // The pipe holds the program up until the file is short.
    const std::string command =
        "{ '" + program + "' -q render '" + file + "' -o - --raw 2>'" + out + ".err'; echo $? >'" + out +
        ".status'; } | { head -c 8000; truncate -s 2000044 '" + file + "'; cat; } >'" + out + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(ReadWholeFile(out + ".status"), Bytes({'1', '\n'}));
    const Bytes err = ReadWholeFile(out + ".err"), played = ReadWholeFile(out);
    EXPECT_NE(std::string(err.begin(), err.end()).find(" of 2000000 frames; silence stands for the rest"),
              std::string::npos);
    ASSERT_EQ(played.size(), frames * sizeof(double));
    const auto sampleAt = [&](size_t frame) {
        double sample = 0;
        std::memcpy(&sample, &played[frame * sizeof sample], sizeof sample);
        return sample;
    };
    EXPECT_EQ(sampleAt(999999), PatternSample(999999, 0) / 32768.0);
    EXPECT_EQ(sampleAt(frames - 1), 0);
}

}  // namespace
}  // namespace vantor::test
