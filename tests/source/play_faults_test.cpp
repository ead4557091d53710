// Every read, seek and open fails in turn while a file is opened and played: the source says that it is
// offline and why, or delivers fewer frames. What it delivers is always what the file holds at that place.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/source/source_support.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

using Blocks = std::vector<std::vector<int>>;

Blocks PlayAll(PCM_source& source) {
    constexpr int32_t blockFrames = 700, frames = 24000;  // beyond the end of every file
    Blocks blocks;
    for (int64_t frame = 0; frame < frames; frame += blockFrames)
        blocks.push_back(ReadInts(source, frame, blockFrames));
    return blocks;
}

void ExpectPrefixes(const Blocks& played, const Blocks& right) {
    for (size_t i = 0; i < right.size(); ++i) {
        ASSERT_LE(played[i].size(), right[i].size()) << "block " << i;
        EXPECT_TRUE(std::equal(played[i].begin(), played[i].end(), right[i].begin())) << "block " << i;
    }
}

int32_t readMode = 0;

// Small buffers: the more reads there are, the more can fail.
void PreferSmallBlocks(int32_t* mode, int32_t* count, int32_t* bytes) {
    *mode = readMode;
    *count = 2;
    *bytes = 8192;
}

// Opens and plays with the fault at the index-th operation. False when there were not as many.
bool PlayWithFault(const Bytes& file, const Blocks& right, const FaultOrder& order, int64_t index) {
    TempFolder folder;  // a file that was never parsed before
    const auto path = folder.Write("played", file);
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.ServeFromCache(readMode > 2);
    files.FailAt(order, index);
    const auto source = OpenSource(path);
    const bool wasMetAtOpen = files.Count(order.operation) > index;
    if (source->IsOnline()) {
        ExpectPrefixes(PlayAll(*source), right);
        if (!wasMetAtOpen && files.Count(order.operation) > index && !order.andLater) {
            EXPECT_TRUE(PlayAll(*source) == right) << "played again";
        }
    } else {
        EXPECT_GT(InfoText(*source).size(), 5u);
        EXPECT_TRUE(ReadInts(*source, 0, 100).empty());
    }
    const bool wasMet = files.Count(order.operation) > index;
    // What failed once is not held against the file.
    if (wasMet && !order.andLater) {
        Reopen(*source);
        EXPECT_TRUE(source->IsOnline() && PlayAll(*source) == right) << "reopened";
    }
    return wasMet;
}

TEST(PlayFaults, DeliverFewerFramesButNeverWrongOnes) {
    FakeHost host;
    TempFolder folder;
    Services().preferredReadMode = PreferSmallBlocks;
    for (readMode = -1; readMode <= 3; ++readMode)
        for (const auto* name : {"tagged.wav", "ima-adpcm.wav", "aiff.aif", "caf-big.caf", "wave64.w64"}) {
            const Bytes file = SampleFile(name);
            const Blocks right = PlayAll(*OpenSource(folder.Write("played", file)));
            ASSERT_EQ(right[10].size(), right[0].size()) << name;
            for (const auto& order : faultOrders) {
                bool wasMet = order.operation != Operation::write && order.operation != Operation::cut;
                for (int64_t index = 0; wasMet && !HasFailure(); ++index) {
                    SCOPED_TRACE(std::string(name) + ", mode " + std::to_string(readMode) + ", " +
                                 order.name + " at " + std::to_string(index));
                    wasMet = PlayWithFault(file, right, order, index);
                }
            }
        }
}

TEST(PlayFaults, AskForNoMoreReadersThanHelp) {
    FakeHost host;
    TempFolder folder;
    Services().preferredReadMode = PreferSmallBlocks;
    readMode = 2;
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    const auto path = folder.Write("played.wav", MonoFile(Ramp(20000)));
    const auto source = OpenSource(path);
    const auto readersFor = [&](const std::vector<int>& right, int64_t failingFrom) {
        files.Reset();
        files.FailAt(Operation::read, failingFrom, Fault::failure, true);
        EXPECT_EQ(ReadInts(*source, 0, 100), right);
        return files.Count(Operation::open);
    };
    EXPECT_EQ(readersFor(Numbers(0, 100), 1), 0) << "a read-ahead alone fails";
    EXPECT_EQ(readersFor({}, 0), 4);
    std::filesystem::remove(path);
    EXPECT_EQ(readersFor({}, 99), 1);
    // Half a frame a second: perhaps in the middle of an edit.
    const auto desc = ByteWriter().BeDouble(0.5).Text("lpcm").Be32(0).Be32(2).Be32(1).Be32(1).Be32(16);
    WriteWholeFile(path, CafFile(ByteWriter().CafChunk("desc", desc).CafChunk("data", Bytes(204))));
    const int before = host.liveObjects;
    EXPECT_EQ(readersFor({}, 99), 4);
    EXPECT_EQ(host.liveObjects, before) << "no resampler is troubled with such a rate";
}

}  // namespace
}  // namespace vantor::test
