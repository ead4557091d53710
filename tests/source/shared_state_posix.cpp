// Which reader a source gets, which one is closed, and when a file is parsed again.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/clock.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

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
    Fill({{'A', running}, {'A', none}, {'B', running}});
    DisownReaders(state, Source('A'));
    EXPECT_EQ(Owners(), "--B");
}

// A reservation holds up to its last tick, across the counter's wrap.
TEST_F(SharedStates, MemoryIsGivenBackBehindTheLastTickOfAReservation) {
    const struct {
        char owner;
        uint32_t until, tick;
        bool isKept;
    } cases[] = {
        {'A', 1000, 999, true},       {'A', 1000, 1000, true},     {'A', 1000, 1001, false},
        {'A', 0xFFFFFFF0u, 5, false}, {'A', 5, 0xFFFFFFF0u, true}, {'A', 0x80000000u, 1, true},
        {'A', 0x80000002u, 1, false}, {'A', 0, 5, false},          {0, 1000, 5, false},
    };
    for (const auto& [owner, until, tick, isKept] : cases) {
        Fill({{owner, none}});
        auto& context = *state.idle[0];
        context.reservedUntil = until;
        context.convertedSamples.assign(100, 0.0);
        ReleaseIdleMemory(state, tick);
        EXPECT_EQ(context.convertedSamples.capacity() > 0, isKept) << until << " at " << tick;
    }
}

TEST_F(SharedStates, ReadersThatNoSourceWillAskForAreClosed) {
    Fill({});
    auto lent = AcquireReader(state, nullptr);
    const auto before = state.format;
    ForgetFile(state);
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
    recorder.write("grow", 4).flush();
    EXPECT_TRUE(isKept());
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
    EXPECT_TRUE(isKept()) << "nothing has changed";
    std::ofstream(take, std::ios::binary | std::ios::app).write("more", 4);
    EXPECT_FALSE(isKept()) << "nobody writes it any more";
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
    leave();
    state.parsed.lastWriteTime = -1;
    const auto second = EnsureOpened(state, nullptr);
    EXPECT_NE(second, first);
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
