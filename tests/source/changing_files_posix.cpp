// Files that others replace, finish or edit while sources play them, and processes that run out of handles or
// end with sources left.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

class ChangingFiles : public ::testing::Test {
  protected:
    // Puts a new file in place of the one of that name.
    void Replace(const std::string& path, const Bytes& bytes) {
        std::filesystem::rename(folder.Write("new", bytes), path);
    }

    FakeHost host;
    TempFolder folder;
};

TEST_F(ChangingFiles, NoBytesOfANewFilePlayUnderTheFormatOfTheOld) {
    const auto path = folder.Write("take.wav", MonoFile(Ramp(100)));
    const auto first = OpenSource(path), second = OpenSource(path);
    EXPECT_EQ(ReadInts(*first, 0, 10), Numbers(0, 10));
    ByteWriter floats;
    for (int i = 0; i < 300; ++i)
        floats.LeFloat(static_cast<float>(i) / 32768.0f);
    Replace(path, RiffFile(ByteWriter().Chunk("fmt ", FmtBody(3, 1, 1000, 32)).Chunk("data", floats)));
    EXPECT_EQ(ReadInts(*first, 10, 10), Numbers(10, 10)) << "its reader stays with the file it has";
    EXPECT_EQ(ReadInts(*second, 200, 10), Numbers(200, 10)) << "a reader of its own";
    EXPECT_EQ(ReadInts(*first, 210, 10), Numbers(210, 10));
    const auto third = OpenSource(path);
    EXPECT_EQ(third->BitDepth(), 32);
    EXPECT_EQ(third->LengthSeconds(), 0.3);
}

// The header gets its sizes and the tags follow the audio when the recorder is done.
TEST_F(ChangingFiles, ARecordingThatHasEndedIsParsedAnew) {
    const auto path = folder.Path("take.wav");
    const auto fmt = ByteWriter().Chunk("fmt ", FmtBody(1, 1, 1000, 16));
    std::fstream recorder(path, std::ios::binary | std::ios::in | std::ios::out | std::ios::trunc);
    const auto record = [&](const Bytes& bytes) {
        recorder.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes)).flush();
    };
    record(RiffFile(ByteWriter().Add(fmt).Text("data").Le32(0).Add(Ramp(100))));
    const auto source = OpenSource(path);
    EXPECT_EQ(ReadInts(*source, 0, 200), Numbers(0, 100));
    record(Ramp(50, 100));
    const auto during = OpenSource(path);
    EXPECT_EQ(ReadInts(*during, 50, 200), Numbers(50, 100));
    const Bytes tags = ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("done").Zeros(1));
    recorder.seekp(0);
    record(RiffFile(ByteWriter().Add(fmt).Chunk("data", Ramp(150)).Chunk("LIST", tags)));
    recorder.close();
    const auto after = OpenSource(path);
    EXPECT_EQ(after->LengthSeconds(), 0.15);
    EXPECT_EQ(ReadInts(*after, 100, 200), Numbers(100, 50));
    EXPECT_EQ(ValueOf(*after, "INFO:INAM"), "done");
}

// VANTOR_EDIT_SECONDS makes it a hundred edits for each of them.
TEST_F(ChangingFiles, EditsNeverDropAPlayingBlock) {
    constexpr int files = 3, frames = 20000;
    const char* const seconds = std::getenv("VANTOR_EDIT_SECONDS");
    const int edits = seconds ? 100 * std::atoi(seconds) : 150;
    const Bytes before = ByteWriter().Chunk("JUNK", Bytes(600));
    std::vector<SourcePtr> playing;
    for (int file = 0; file < files; ++file)
        playing.push_back(OpenSource(folder.Write("f" + std::to_string(file) + ".wav",
                                                  MonoFile(Ramp(frames), file == 1 ? before : Bytes()))));
    std::atomic<bool> isDone = false;
    std::jthread editor([&] {
        for (int edit = 0; edit < edits; ++edit) {
            const auto source = OpenSource(playing[static_cast<size_t>(edit % files)]->Name());
            const std::string text(static_cast<size_t>(edit % 7) * 60 + 1, 'x');
            EXPECT_GT(RequestWrite(*source, folder.Path("copy.wav"), {"TITLE=" + text}, mergeTags), 0);
        }
        isDone = true;
    });
    std::vector<std::jthread> threads;
    for (auto& source : playing)
        threads.emplace_back([&] {
            for (int frame = 0; !isDone; frame = frame + 64 > frames - 64 ? 0 : frame + 64)
                ASSERT_EQ(ReadInts(*source, frame, 64), Numbers(frame, 64));
        });
}

// Idle readers of others are closed.
TEST_F(ChangingFiles, WithoutHandlesFilesOpenAndPlayAllTheSame) {
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const int next = ::dup(0);
    ::close(next);
    const rlimit low{static_cast<rlim_t>(next) + 12, limit.rlim_max};
    std::vector<std::string> paths;
    for (int i = 0; i < 40; ++i)
        paths.push_back(folder.Write("f" + std::to_string(i) + ".wav", MonoFile(Ramp(100, i))));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);
    std::vector<SourcePtr> sources;
    for (const auto& path : paths)
        sources.push_back(OpenSource(path));
    for (int pass = 0; pass < 2; ++pass)
        for (int i = 0; i < 40; ++i)
            EXPECT_EQ(ReadInts(*sources[static_cast<size_t>(i)], pass * 50, 50), Numbers(i + pass * 50, 50));
    EXPECT_FALSE(OpenSource(folder.Path("missing.wav"))->IsOnline());
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

// Made before the module's tables, and so destroyed after everything else that the process destroys.
SourcePtr lastOfTheHost;

TEST_F(ChangingFiles, TheLastSourceMayGoAsTheProcessEnds) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const auto path = folder.Write("last.wav", MonoFile(Ramp(100)));
    EXPECT_EXIT(
        {
            lastOfTheHost = OpenSource(path);
            std::exit(lastOfTheHost->IsOnline() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vantor::test
