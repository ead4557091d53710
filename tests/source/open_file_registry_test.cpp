#include <gtest/gtest.h>

#include <fstream>

#include "platform/clock.h"
#include "source/source_entry.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

constexpr uint32_t gentle = 1;
constexpr uint32_t forced = 2;

// States of earlier tests stay in the table, without readers.
class OpenFiles : public ::testing::Test {
  protected:
    OpenFiles() { OpenFileReduce(forced); }

    // Sources on new files; each has read, or its owner has gone.
    std::vector<SourcePtr> Open(int count, bool owned) {
        std::vector<SourcePtr> sources;
        for (int i = 0; i < count; ++i) {
            const auto name = "f" + std::to_string(filesMade++) + ".wav";
            sources.push_back(OpenSource(folder.Write(name, MonoFile(Ramp(8)))));
            ReadInts(*sources.back(), 0, 4);
            if (!owned) DisownReaders(*sources.back()->Attachment().state, sources.back().get());
        }
        return sources;
    }

    FakeHost host;
    TempFolder folder;
    int filesMade = 0;
};

TEST_F(OpenFiles, OnlyForceClosesWhatHasAnOwner) {
    const auto owned = Open(3, true);
    const auto free = Open(2, false);
    EXPECT_EQ(OpenFileReduce(0), 2);
    EXPECT_EQ(OpenFileReduce(0), 0);
    EXPECT_EQ(OpenFileReduce(forced), 3);
    EXPECT_EQ(OpenFileReduce(forced), 0);
    for (const auto& source : owned)
        EXPECT_EQ(ReadInts(*source, 0, 4), Numbers(0, 4)) << "handles open again on demand";
}

TEST_F(OpenFiles, ForceTakesTheUnreservedFirstThenTheOldest) {
    const auto sources = Open(1, true);
    auto& state = *sources[0]->Attachment().state;
    CloseIdleReaders(state, true, 1);
    std::unique_ptr<SharedReader> lent[3];
    const ReaderContext* readers[3];
    for (size_t i = 0; i < 3; ++i) {
        lent[i] = AcquireReader(state, &lent[i]);
        readers[i] = lent[i].get();
    }
    for (size_t i = 0; i < 3; ++i)
        ReleaseReader(state, std::move(lent[i]), &lent[i], i == 1 ? 0 : 60000);
    EXPECT_EQ(CloseIdleReaders(state, true, 1), 1);
    ASSERT_EQ(state.idle.size(), 2u);
    EXPECT_EQ(state.idle[0].get(), readers[0]);
    EXPECT_EQ(CloseIdleReaders(state, true, 1), 1);
    ASSERT_EQ(state.idle.size(), 1u);
    EXPECT_EQ(state.idle[0].get(), readers[2]);
}

TEST_F(OpenFiles, GentleCallsSweepThirtyStatesAndCloseOneReaderAtATime) {
    const auto owned = Open(70, true);
    const auto states = BeginSweep(true);
    for (int i = 0; i < 30; ++i)
        AdvanceSweep(states);
    const auto thirtyFirst = StateInSweep();
    BeginSweep(true);
    EXPECT_EQ(OpenFileReduce(gentle), 0) << "every reader has an owner";
    EXPECT_EQ(StateInSweep(), thirtyFirst);

    const auto free = Open(40, false);
    int total = 0;
    for (int i = 0; i < 200; ++i) {
        const int released = OpenFileReduce(gentle);
        EXPECT_LE(released, 1);
        total += released;
    }
    EXPECT_EQ(total, 40);
}

// States go, and new ones come, while a sweep is under way.
TEST_F(OpenFiles, ASweepGoesAroundWhatThereIs) {
    auto sources = Open(3, true);
    ASSERT_EQ(BeginSweep(true), 3u);
    const auto first = StateInSweep();
    for (int i = 0; i < 3; ++i)
        AdvanceSweep(3);
    EXPECT_EQ(StateInSweep(), first);
    for (const size_t left : {size_t{2}, size_t{1}}) {  // as many as the place of the sweep, and fewer
        BeginSweep(true);
        AdvanceSweep(3);
        AdvanceSweep(3);
        sources.resize(left);
        EXPECT_EQ(StateInSweep(), nullptr);
        BeginSweep(false);
        EXPECT_EQ(StateInSweep(), first);
    }
}

TEST_F(OpenFiles, ForWantOfHandlesSixteenFilesCloseAReaderEach) {
    const auto free = Open(1, false);
    auto& state = *free[0]->Attachment().state;
    auto one = AcquireReader(state, nullptr), another = AcquireReader(state, nullptr);
    ReleaseReader(state, std::move(one), nullptr, 0);
    ReleaseReader(state, std::move(another), nullptr, 0);
    EXPECT_EQ(CloseSomeReaders(), 1);
    const auto owned = Open(20, true);
    EXPECT_EQ(CloseSomeReaders(), 1);
    EXPECT_EQ(CloseSomeReaders(), 16) << "by force";
    EXPECT_EQ(CloseSomeReaders(), 4);
    EXPECT_EQ(CloseSomeReaders(), 0);
}

TEST_F(OpenFiles, NoReaderIsClosedForOneThatIsNotWanted) {
    const auto others = Open(2, false), one = Open(1, true);
    EXPECT_FALSE(OpenSource(folder.Path("missing.wav"))->IsOnline());
    one[0]->Attachment().state->lacksHandle = true;  // when it was last asked for another
    ReadInts(*one[0], 0, 4);
    EXPECT_TRUE(OpenSource(one[0]->Name())->IsOnline());
    for (const auto& other : others)
        EXPECT_EQ(IdleReaderCount(other->Name()), 1u);
}

// Its bytes are read anew then. One that has opened the file alone is lent to nobody yet.
TEST_F(OpenFiles, AReaderNobodyReservesGivesItsMemoryBack) {
#if defined(_WIN32)
    GTEST_SKIP() << "nobody writes a file that is open";
#endif
    const auto source = std::move(Open(1, true)[0]);
    const auto change = [](PCM_source_wavefile& changed) {
        std::fstream(changed.Name(), std::ios::in | std::ios::out | std::ios::binary)
            .seekp(std::ssize(MonoFile(Ramp(8))) - 6)
            .write("\0\1", 2);
    };
    const auto fresh = OpenSource(folder.Write("fresh.wav", MonoFile(Ramp(8))));
    change(*fresh);
    EXPECT_EQ(ReadInts(*fresh, 5, 1), std::vector<int>{256});
    change(*source);
    EXPECT_EQ(OpenFileReduce(0), 0);
    EXPECT_EQ(ReadInts(*source, 4, 1), Numbers(4, 1)) << "reserved for seconds";
    source->Attachment().state->idle[0]->reservedUntil = platform::TickMilliseconds() - 1;
    EXPECT_EQ(OpenFileReduce(0), 0);
    EXPECT_EQ(ReadInts(*source, 5, 1), std::vector<int>{256});
}

TEST_F(OpenFiles, HiresSourceGoesAfterAMinute) {
    host.storedPeaksPerSecond = 1;
    const auto sources = Open(1, true);
    auto& peaks = sources[0]->Attachment().state->peaks;
    double columns[8];
    PeakRequest request{0, 100, 1, 4, columns, 0, 0};
    const auto reduceAfter = [&](uint32_t milliseconds, uint32_t flags) {
        sources[0]->ReadPeaks(&request);
        peaks.hiresLastUsed = platform::TickMilliseconds() - milliseconds;
        return OpenFileReduce(flags);
    };
    EXPECT_EQ(reduceAfter(59000, 0), 0);
    EXPECT_NE(peaks.hires, nullptr);
    EXPECT_EQ(reduceAfter(60001, 0), 1);
    EXPECT_EQ(peaks.hires, nullptr);
    sources[0]->ReadPeaks(&request);
    peaks.hiresLastUsed = platform::TickMilliseconds() - 70000;
    sources[0]->ReadPeaks(&request);
    EXPECT_EQ(OpenFileReduce(0), 0) << "used again";
    EXPECT_EQ(reduceAfter(60001, 0), 1);
    EXPECT_EQ(IdleReaderCount(sources[0]->Name(), purposePeakRead), 0u);
    EXPECT_EQ(reduceAfter(0, forced), 2) << "the peak source and the reader";
}

}  // namespace
}  // namespace vantor::test
