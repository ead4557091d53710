// Which reader a source gets, which one is closed, and when a file is parsed again.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "platform/clock.h"
#include "tests/source/source_support.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Milliseconds from now until a reservation ends.
constexpr int none = 0, over = -5000, running = 60000;

struct Idle {
    char owner;  // 0: none
    int reserved;
};

class SharedStates : public ::testing::Test {
  protected:
    const void* Source(char name) const { return name == 0 ? nullptr : &sources_[name - 'A']; }

    // The last one is the head of the list.
    void Fill(const std::vector<Idle>& list) {
        const uint32_t now = platform::TickMilliseconds();
        std::vector<std::unique_ptr<SharedReader>> lent;
        state.idle.clear();
        for (size_t i = 0; i < list.size(); ++i)
            lent.push_back(AcquireReader(state, nullptr));
        for (size_t i = 0; i < list.size(); ++i) {
            ReleaseReader(state, std::move(lent[i]), Source(list[i].owner), 0);
            if (list[i].reserved != none)
                state.idle[i]->reservedUntil = now + static_cast<uint32_t>(list[i].reserved);
        }
    }
    std::string Owners() const {
        std::string owners;
        for (const auto& context : state.idle)
            for (char name = 0; name <= 'D'; name = static_cast<char>(name == 0 ? 'A' : name + 1))
                if (context->lastOwner == Source(name)) owners += name == 0 ? '-' : name;
        return owners;
    }

    FakeHost host;
    TempFolder folder;
    const std::string path = folder.Write("a.wav", MonoFile(Ramp(100)));
    SharedFileState state{path, purposePlayback};

  private:
    char sources_[4] = {};
};

TEST_F(SharedStates, ASourceGetsItsOwnReaderElseANobodysElseOneWhoseTimeIsUp) {
    const struct {
        std::vector<Idle> idle;
        const char* left;  // once D has taken one
    } cases[] = {
        {{{'A', running}, {'D', running}, {0, none}, {'B', none}}, "A-B"},
        {{{0, none}, {'A', over}, {'B', running}}, "AB"},
        {{{'A', none}, {'B', over}, {'C', over}}, "BC"},
        {{{0, none}, {'A', none}, {'B', running}}, "-B"},
        {{{'A', none}, {0, none}, {'B', running}}, "AB"},
        {{{'A', over}, {'B', over}, {'C', running}}, "AC"},
        {{{'A', running}, {'B', running}}, "AB"},
    };
    for (const auto& [idle, left] : cases) {
        Fill(idle);
        const auto taken = AcquireReader(state, Source('D'));
        EXPECT_TRUE(taken && taken->format == state.format) << left;
        EXPECT_EQ(Owners(), left);
    }
}

TEST_F(SharedStates, ReadersWithoutAnOwnerAreClosedFirstThenUnreservedOnesThenTheOldest) {
    Fill({{'A', running}, {0, none}, {'B', none}, {0, none}, {'C', running}});
    EXPECT_EQ(CloseIdleReaders(state, false, 1), 1);
    EXPECT_EQ(Owners(), "A-BC");
    EXPECT_EQ(CloseIdleReaders(state, false, 5), 1);
    EXPECT_EQ(CloseIdleReaders(state, true, 1), 1);
    EXPECT_EQ(Owners(), "AC");
    EXPECT_EQ(CloseIdleReaders(state, true, 1), 1);
    EXPECT_EQ(Owners(), "C");
    Fill({{0, none}, {'B', none}});
    EXPECT_EQ(CloseIdleReaders(state, true, 1), 1);
    EXPECT_EQ(Owners(), "B");
    Fill({{'A', running}, {'A', none}, {'B', running}});
    DisownReaders(state, Source('A'));
    EXPECT_EQ(Owners(), "--B");
}

// A reservation holds up to its last tick, across the counter's wrap.
TEST_F(SharedStates, MemoryIsGivenBackBehindTheLastTickOfAReservation) {
    const struct {
        uint32_t until, tick;
        bool isKept;
    } cases[] = {
        {1000, 999, true},       {1000, 1000, true},     {1000, 1001, false},
        {0xFFFFFFF0u, 5, false}, {5, 0xFFFFFFF0u, true}, {0x80000000u, 1, true},
        {0x80000001u, 1, false}, {0, 5, false},          {0, 0x90000000u, false},
    };
    for (const auto& [until, tick, isKept] : cases) {
        Fill({{'A', none}});
        auto& context = *state.idle[0];
        context.reservedUntil = until;
        context.convertedSamples.assign(100, 0.0);
        ReleaseIdleMemory(state, tick);
        EXPECT_EQ(context.convertedSamples.capacity() > 0, isKept) << until << " at " << tick;
    }
}

TEST_F(SharedStates, ReadersThatNoSourceWillAskForAreClosed) {
    Fill({{'A', running}, {'B', running}});
    auto lent = AcquireReader(state, Source('A'));
    const auto before = state.format;
    ForgetFile(state);
    EXPECT_TRUE(state.idle.empty());
    ReleaseReader(state, std::move(lent), nullptr, 0);
    EXPECT_TRUE(state.idle.empty());
    ASSERT_TRUE(EnsureOpened(state, nullptr));
    EXPECT_NE(state.format, before);
    EXPECT_EQ(state.idle.size(), 1u);
    state.attached = false;
    ReleaseReader(state, AcquireReader(state, nullptr), nullptr, 0);
    EXPECT_TRUE(state.idle.empty());
}

// One that goes on under a recorder keeps its format; any other change makes a new one.
TEST_F(SharedStates, OnlyAFileThatIsAnotherIsParsedAgain) {
    const auto unfinished = [](int frames) {
        return RiffFile(
            ByteWriter().Chunk("fmt ", FmtBody(1, 1, 1000, 16)).Text("data").Le32(0).Add(Ramp(frames)));
    };
    const auto take = folder.Write("take.wav", unfinished(100));
    std::ofstream recorder(take, std::ios::binary | std::ios::app);
    SharedFileState growing(take, purposePlayback);
    const auto first = EnsureOpened(growing, nullptr);
    ASSERT_TRUE(first);
    const auto isKept = [&] {
        const auto before = growing.format;
        EXPECT_TRUE(EnsureOpened(growing, nullptr));
        return growing.format == before;
    };
    EXPECT_TRUE(isKept());
    fs::last_write_time(take, fs::last_write_time(take) + 5s);
    EXPECT_TRUE(isKept()) << "written over";
    recorder.write("grow", 4).flush();
    EXPECT_TRUE(isKept());
    ++growing.parsed.volume;
    EXPECT_FALSE(isKept()) << "another disk's file of that number";
    fs::resize_file(take, fs::file_size(take) - 6);
    EXPECT_FALSE(isKept());
    recorder.write("grow", 4).flush();
    EXPECT_TRUE(isKept());
    folder.Write("new.wav", unfinished(500));
    std::ofstream other(folder.Path("new.wav"), std::ios::binary | std::ios::app);
    fs::rename(folder.Path("new.wav"), take);
    EXPECT_FALSE(isKept());
    other.write("grow", 4).flush();
    EXPECT_TRUE(isKept());
    other.close();
    EXPECT_FALSE(isKept()) << "the recording has ended";
    growing.idle.back()->lastServed = this;
    EXPECT_TRUE(isKept()) << "nothing has changed";
    EXPECT_EQ(growing.idle.back()->lastServed, this) << "nor is it opened again";
    std::ofstream(take, std::ios::binary | std::ios::app).write("more", 4);
    EXPECT_FALSE(isKept()) << "nobody writes it any more";
    folder.Write("take.wav", MonoFile(Ramp(100)));
    std::ofstream editor(take, std::ios::binary | std::ios::app);
    EXPECT_FALSE(isKept());
    editor.write("more", 4).flush();
    EXPECT_FALSE(isKept()) << "it was no recording";
}

// An edit makes it unreadable for a moment; a file that could never be played is given up at once.
TEST_F(SharedStates, AFileMetInTheMiddleOfAnEditIsOpenedUpToFourTimes) {
    const Bytes whole = MonoFile(Ramp(100)), torn = Bytes(300, 'x');
    const auto opensUntilMendedAt = [&](int64_t open, bool wasPlayable) {
        SharedFileState edited(folder.Write("edited.wav", wasPlayable ? whole : torn), purposePlayback);
        EXPECT_TRUE(EnsureOpened(edited, nullptr));
        WriteWholeFile(edited.fileName, torn);
        edited.idle.clear();
        ScriptedFileSystem files;
        const platform::ScopedFileSystem scope(files);
        files.BeforeEach([&] {
            const bool opens = std::ssize(files.Opens()) > files.Count(Operation::open);
            if (opens && files.Count(Operation::open) == open) WriteWholeFile(edited.fileName, whole);
        });
        const auto lent = AcquireReader(edited, nullptr);
        EXPECT_EQ(IsPlayable(lent->format.get()), files.Count(Operation::open) > open);
        return files.Count(Operation::open);
    };
    for (const int64_t open : {0, 1, 2, 3})
        EXPECT_EQ(opensUntilMendedAt(open, true), open + 1);
    EXPECT_EQ(opensUntilMendedAt(4, true), 4);
    EXPECT_EQ(opensUntilMendedAt(1, false), 1);

    // Mended within one tick of the disk's clock.
    WriteWholeFile(path, Bytes(whole.size(), 'x'));
    EXPECT_FALSE(IsPlayable(AcquireReader(state, nullptr)->format.get()));
    const auto time = fs::last_write_time(path);
    WriteWholeFile(path, whole);
    fs::last_write_time(path, time);
    EXPECT_TRUE(IsPlayable(AcquireReader(state, nullptr)->format.get()));
}

TEST_F(SharedStates, WhatAReadDidNotBringIsAskedForByTheNextReader) {
    Services().preferredReadMode = [](int32_t* mode, int32_t* count, int32_t* bytes) {
        *mode = 0;
        *count = 2;
        *bytes = 8192;
    };
    const Bytes tags = ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("done").Zeros(1));
    const Bytes tagged = MonoFile(Ramp(20000), {}, ByteWriter().Chunk("LIST", tags));
    bool wasMet = true;
    for (int64_t index = 0; wasMet; ++index) {
        SharedFileState read(folder.Write("tagged.wav", tagged), purposePlayback);
        ScriptedFileSystem files;
        const platform::ScopedFileSystem scope(files);
        files.FailAt(Operation::read, index, Fault::failure);
        const auto first = AcquireReader(read, nullptr);
        wasMet = files.Count(Operation::read) > index;
        EXPECT_EQ(first->format->metadata.Has("INFO:INAM"), !wasMet);
        EXPECT_TRUE(AcquireReader(read, nullptr)->format->metadata.Has("INFO:INAM")) << index;
    }
}

TEST_F(SharedStates, SamplesCanBeReadOfAFileThatTellsAllItMust) {
    AudioFormat format;
    format.sampleRate = format.bitsPerSample = format.channels = format.encoding = 1;
    EXPECT_TRUE(IsPlayable(&format));
    for (int32_t* needed : {&format.bitsPerSample, &format.channels, &format.encoding}) {
        *needed = 0;
        EXPECT_FALSE(IsPlayable(&format));
        *needed = 1;
    }
    format.sampleRate = 0.99;
    EXPECT_FALSE(IsPlayable(&format) || IsPlayable(nullptr));
}

// What was parsed before the first source came counts for the very same file alone.
TEST_F(SharedStates, ARememberedParseIsUsedForTheSameFile) {
    const auto first = EnsureOpened(state, nullptr);
    const auto leave = [&] {
        state.idle.clear();
        state.hasReaders = false;
        state.needsParse = true;
    };
    leave();
    EXPECT_EQ(EnsureOpened(state, nullptr), first);
    // A time that could not be read; the first that can be, in seconds since 1970.
    for (const auto& [seconds, isUsed] : {std::pair{-1s, false}, {0s, true}}) {
        fs::last_write_time(path, fs::file_time_type::clock::from_sys(std::chrono::sys_seconds(seconds)));
        const auto before = EnsureOpened(state, nullptr);
        leave();
        EXPECT_EQ(EnsureOpened(state, nullptr) == before, isUsed);
    }
    const auto second = state.format;
    leave();
    state.format->isIncomplete = true;
    const auto third = EnsureOpened(state, nullptr);
    EXPECT_NE(third, second);
    leave();
    WriteWholeFile(path, MonoFile(Ramp(50)));
    EXPECT_EQ(EnsureOpened(state, nullptr)->lengthFrames, 50);
}

}  // namespace
}  // namespace vantor::test
