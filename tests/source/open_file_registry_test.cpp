#include <gtest/gtest.h>

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
    const auto state = sources[0]->Attachment().state;
    CloseIdleReaders(*state, true, 1);
    std::vector<LentReader> lent;
    for (int i = 0; i < 3; ++i)
        lent.push_back(AcquireReader(*state, &i + i));
    const ReaderContext* unreserved = lent[1].context.get();
    const ReaderContext* youngest = lent[2].context.get();
    ReleaseReader(*state, std::move(lent[0]), &lent[0], 60000);
    ReleaseReader(*state, std::move(lent[1]), &lent[1], 0);
    ReleaseReader(*state, std::move(lent[2]), &lent[2], 60000);
    EXPECT_EQ(CloseIdleReaders(*state, true, 1), 1);
    for (const auto& context : state->idle)
        EXPECT_NE(context.get(), unreserved);
    EXPECT_EQ(CloseIdleReaders(*state, true, 1), 1);
    ASSERT_EQ(state->idle.size(), 1u);
    EXPECT_EQ(state->idle[0].get(), youngest);
}

TEST_F(OpenFiles, GentleCallsSweepTheTableOneReaderAtATime) {
    const auto sources = Open(40, false);
    int total = 0;
    for (int i = 0; i < 200; ++i) {
        const int released = OpenFileReduce(gentle);
        EXPECT_LE(released, 1);
        total += released;
    }
    EXPECT_EQ(total, 40);
}

TEST_F(OpenFiles, GentleCallVisitsThirtyStates) {
    const auto sources = Open(70, true);
    const auto states = BeginSweep(true);
    for (int i = 0; i < 30; ++i)
        AdvanceSweep(states);
    const auto thirtyFirst = StateInSweep();
    BeginSweep(true);
    EXPECT_EQ(OpenFileReduce(gentle), 0) << "every reader has an owner";
    EXPECT_EQ(StateInSweep(), thirtyFirst);
}

TEST_F(OpenFiles, HiresSourceGoesAfterAMinute) {
    host.storedPeaksPerSecond = 1;
    const auto sources = Open(1, true);
    auto& peaks = sources[0]->Attachment().state->peaks;
    double columns[8];
    PeakRequest request{0, 100, 1, 4, columns, 0, 0};
    const auto age = [&](uint32_t milliseconds) {
        sources[0]->ReadPeaks(&request);
        peaks.hiresLastUsed = platform::TickMilliseconds() - milliseconds;
    };
    age(59000);
    EXPECT_EQ(OpenFileReduce(0), 0);
    EXPECT_NE(peaks.hires, nullptr);
    age(60001);
    EXPECT_EQ(OpenFileReduce(0), 1);
    EXPECT_EQ(peaks.hires, nullptr);
    EXPECT_EQ(IdleReaderCount(sources[0]->Name(), purposePeakRead), 0u);
    age(0);
    EXPECT_EQ(OpenFileReduce(forced), 2) << "the peak source and the reader";
}

}  // namespace
}  // namespace vantor::test
