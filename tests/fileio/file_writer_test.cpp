#include "fileio/file_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <random>

#include "host/host_services.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

// What the host is told in place of a count of bytes.
std::vector<uint32_t> reportedFailures;

class WriteFile : public testing::Test {
  protected:
    WriteFile() {
        reportedFailures.clear();
        Services().updateDiskCounters = [](int32_t, int32_t written) {
            reportedFailures.push_back(static_cast<uint32_t>(written));
        };
    }
    ~WriteFile() override { Services() = services; }

    HostServices services = Services();
    TempFolder folder;
    std::string name = folder.Path("out.bin");
    std::vector<uint8_t> bytes = std::vector<uint8_t>(30000, 0x5A);
    ScriptedFileSystem files;
    platform::ScopedFileSystem scope{files};
};

class WriteFileInModes : public WriteFile, public testing::WithParamInterface<std::tuple<int32_t, bool>> {};
INSTANTIATE_TEST_SUITE_P(All, WriteFileInModes, testing::Combine(testing::Range(0, 4), testing::Bool()));

// Random writes, seeks, flushes and cuts leave the bytes that they would leave in memory. Unbuffered writing
// ends with a whole sector, zeros behind the last byte.
TEST_P(WriteFileInModes, LeavesTheBytesThatWereWritten) {
    const auto [mode, openExisting] = GetParam();
    const bool wholeSectors = mode == 3 && !openExisting;
    std::mt19937 random(static_cast<unsigned>(mode));
    const auto upTo = [&](int32_t limit) { return std::uniform_int_distribution<int32_t>(0, limit)(random); };
    for (int round = 0; round < 12; ++round) {
        bytes.assign(static_cast<size_t>(upTo(20000)), 0xEE);
        folder.Write("out.bin", bytes);
        if (!openExisting) bytes.clear();
        FileWriter writer(name.c_str(), {.mode = mode,
                                         .blockBytes = upTo(9000),
                                         .minBlocks = upTo(2),
                                         .maxBlocks = upTo(4),
                                         .openExisting = openExisting});
        ASSERT_TRUE(writer.IsOpen());
        int64_t position = 0;
        for (int step = 0; step < 60; ++step) {
            std::vector<uint8_t> piece(1 + static_cast<size_t>(upTo(upTo(1) == 0 ? 40 : 30000)));
            std::generate(piece.begin(), piece.end(), [&] { return static_cast<uint8_t>(random()); });
            if (upTo(2) == 0) {
                position = upTo(static_cast<int32_t>(bytes.size()));
                ASSERT_EQ(writer.Seek(position), 0);
            }
            ASSERT_EQ(writer.Write(piece.data(), static_cast<int32_t>(piece.size())), std::ssize(piece));
            bytes.resize(std::max(bytes.size(), static_cast<size_t>(position) + piece.size()));
            position = std::ranges::copy(piece, bytes.begin() + position).out - bytes.begin();
            ASSERT_EQ(writer.Tell(), position);
            ASSERT_TRUE(upTo(9) != 0 || writer.Flush(upTo(1) == 0));
            if (wholeSectors) continue;
            ASSERT_EQ(writer.Size(), std::ssize(bytes));
            if (upTo(19) == 0) {
                ASSERT_TRUE(writer.CutAtPosition());
                bytes.resize(static_cast<size_t>(position));
            }
        }
        ASSERT_TRUE(writer.Flush(true));
        if (wholeSectors) bytes.resize((bytes.size() + 4095) / 4096 * 4096);
        ASSERT_EQ(ReadWholeFile(name), bytes);
    }
    if (!wholeSectors) return;
    for (const auto& write : files.Writes())
        EXPECT_EQ(write.offset % 4096 + write.count % 4096, 0);
}

// What was counted as written is in the file.
TEST_F(WriteFile, TellsTheKindOfFailure) {
    for (const int32_t mode : {0, 1}) {
        for (const int32_t space : {0, 1, 8192, 20000}) {
            reportedFailures.clear();
            files.SetFreeBytes(space);
            FileWriter writer(name.c_str(), {.mode = mode});
            EXPECT_EQ(writer.Write(bytes.data(), 30000), space) << mode;
            EXPECT_EQ(writer.Tell(), space);
            EXPECT_EQ(writer.Size(), space);
            EXPECT_FALSE(writer.Flush(true));
            EXPECT_EQ(reportedFailures, std::vector{0xF9FAB541u}) << mode;
        }
        files.Reset();
        reportedFailures.clear();
        files.FailAt(Operation::write, 0, Fault::failure);
        EXPECT_LT(FileWriter(name.c_str(), {.mode = mode}).Write(bytes.data(), 30000), 30000) << mode;
        EXPECT_EQ(reportedFailures, std::vector{0xF9FAB542u}) << mode;
    }
}

// A write that fails on its way shows in what comes after it.
TEST_F(WriteFile, DoesNotLoseALateFailure) {
    for (const int32_t blocks : {1, 2}) {
        files.Reset();
        reportedFailures.clear();
        files.HoldRequests(true);
        files.FailAt(Operation::write, 0, Fault::diskFull);
        FileWriter writer(name.c_str(),
                          {.mode = 1, .blockBytes = 8192, .minBlocks = blocks, .maxBlocks = blocks});
        EXPECT_EQ(writer.Write(bytes.data(), 8192), 8192);
        EXPECT_TRUE(writer.Flush(false));
        EXPECT_EQ(writer.Write(bytes.data(), 1), blocks - 1) << "a free block is not waited for";
        EXPECT_EQ(writer.Seek(0), 1);
        EXPECT_FALSE(writer.Flush(true) || writer.FlushToDisk() || writer.CutAtPosition());
        EXPECT_EQ(reportedFailures, std::vector{0xF9FAB541u});
    }
}

// A sector around new bytes is the file's own: without it, or behind a write that failed, nothing is taken.
TEST_F(WriteFile, TakesNothingIntoASectorThatCannotBeRead) {
    const std::vector<uint8_t> sector = [&] {
        std::vector<uint8_t> written(4096);
        std::fill_n(written.begin(), 100, uint8_t{0x5A});
        return written;
    }();
    for (const bool isLate : {false, true}) {
        files.Reset();
        FileWriter writer(name.c_str(), {.mode = 3});
        EXPECT_EQ(writer.Write(bytes.data(), 100), 100);
        if (isLate) files.FailAt(Operation::write, 0, Fault::diskFull);
        files.HoldRequests(isLate);
        EXPECT_TRUE(writer.Flush(!isLate));
        if (!isLate) files.FailAt(Operation::read, 0, Fault::failure);
        EXPECT_EQ(writer.Write("abc", 3), 0);
        EXPECT_EQ(writer.Tell(), 100);
        EXPECT_EQ(writer.Write("abc", 3), 0) << "for good";
        const size_t writes = files.Writes().size();
        EXPECT_FALSE(writer.Flush(true));
        EXPECT_EQ(files.Writes().size(), writes);
        if (!isLate) {
            EXPECT_EQ(ReadWholeFile(name), sector);
        }
    }
}

TEST_F(WriteFile, DoesNotWritePartsOfSectors) {
    FileWriter writer(name.c_str(), {.mode = 3});
    EXPECT_EQ(writer.Write(bytes.data(), 100), 100);
    files.FailAt(Operation::read, 0, Fault::failure);
    EXPECT_FALSE(writer.Flush(true));
    EXPECT_TRUE(files.Writes().empty());
}

TEST_F(WriteFile, TellsThatItHadNoMemory) {
    for (const int32_t mode : {1, 3})
        for (int allowed = 0;; ++allowed) {
            const FailingAllocation failing(allowed, mode == 1);
            try {
                FileWriter writer(name.c_str(), {.mode = mode, .minBlocks = 1, .maxBlocks = 1});
                const int32_t taken = writer.Write(bytes.data(), 30000);
                if (writer.Flush(true)) {
                    ASSERT_EQ(taken, 30000) << mode << " " << allowed;
                    ASSERT_GE(ReadWholeFile(name).size(), 30000u);
                }
                if (!failing.HasFailed()) break;
            } catch (const std::bad_alloc&) {
            }
        }
}

// Synchronous writing hands over what it gets, overlapped writing gathers blocks.
TEST_F(WriteFile, BlocksAreOfTheSizeAskedFor) {
    const struct {
        int32_t mode, blockBytes, count;
        std::vector<uint32_t> requests;
    } cases[] = {
        {0, 4, 10, {10}},
        {0, 4, 0, {}},
        {0, 4, -1, {}},
        {1, 4, 10, {4, 4}},
        {1, 1, 2, {1, 1}},
        {1, 0, 16384, {8192, 8192}},
        {1, 4, -1, {}},
        {3, 1, 8192, {4096, 4096}},
        {3, 4096, 8192, {4096, 4096}},
        {3, 4097, 8192, {8192}},
        {1, 4, 100, std::vector<uint32_t>(25, 4)},  // more blocks than there are
    };
    for (const auto& c : cases) {
        files.Reset();
        FileWriter writer(name.c_str(), {.mode = c.mode, .blockBytes = c.blockBytes});
        EXPECT_EQ(writer.Write(bytes.data(), c.count), std::max(c.count, 0));
        std::vector<uint32_t> requests;
        for (const auto& write : files.Writes())
            requests.push_back(write.count);
        EXPECT_EQ(requests, c.requests) << &c - cases;
    }
}

TEST_F(WriteFile, FillsBlocksAgainThatHaveBeenWaitedFor) {
    files.HoldRequests(true);
    FileWriter writer(name.c_str(), {.mode = 1, .blockBytes = 4, .minBlocks = 1, .maxBlocks = 2});
    EXPECT_EQ(writer.Write(bytes.data(), 100), 100);
}

TEST_F(WriteFile, ReachesTheDiskWhenAskedTo) {
    for (const int32_t mode : {0, 1}) {
        files.Reset();
        FileWriter writer(name.c_str(), {.mode = mode});
        EXPECT_EQ(writer.Write("abc", 3), 3);
        EXPECT_TRUE(writer.FlushToDisk());
        EXPECT_EQ(files.Count(Operation::flush), 1);
        files.FailAt(Operation::flush, 0, Fault::failure);
        EXPECT_FALSE(writer.FlushToDisk()) << mode;
        files.FailAt(Operation::cut, 0, Fault::failure);
        EXPECT_FALSE(writer.CutAtPosition()) << mode;
    }
}

TEST_F(WriteFile, ModesChooseTheOpenFlags) {
    using platform::Access;
    using platform::Creation;
    const struct {
        int32_t mode;
        bool openExisting, overlapped, writeThrough, unbuffered;
    } cases[] = {{0, true, false, false, false},
                 {1, false, true, false, false},
                 {2, true, true, true, false},
                 {3, false, true, true, true},
                 {3, true, true, true, false}};
    for (const auto& c : cases) {
        (void)FileWriter(name.c_str(),
                         {.mode = c.mode, .openExisting = c.openExisting, .shareWrite = c.openExisting});
        const auto options = files.Opens().back().options;
        EXPECT_EQ(options.access, c.mode == 0 ? Access::write : Access::readWrite);
        EXPECT_EQ(options.creation, c.openExisting ? Creation::openAlways : Creation::createAlways);
        EXPECT_EQ(std::tie(options.overlapped, options.writeThrough, options.unbuffered, options.shareWrite),
                  std::tie(c.overlapped, c.writeThrough, c.unbuffered, c.openExisting));
    }
}

TEST_F(WriteFile, FailsQuietlyWhenClosed) {
    EXPECT_FALSE(FileWriter(folder.Path("no folder/x").c_str(), {.mode = 1}).IsOpen());
    FileWriter writer(nullptr, {});
    EXPECT_EQ(writer.Write("x", 1) + writer.Size(), 0);
    EXPECT_EQ(writer.Seek(0), 1);
    EXPECT_FALSE(writer.CutAtPosition() || writer.Flush(true) || writer.FlushToDisk());
    EXPECT_TRUE(reportedFailures.empty());
}

TEST_F(WriteFile, CountsASeekBeyondTheEnd) {
    for (const int32_t mode : {0, 1}) {
        FileWriter writer(name.c_str(), {.mode = mode});
        EXPECT_EQ(writer.Seek(-1), 1);
        EXPECT_EQ(writer.Seek(3), 0);
        EXPECT_EQ(writer.Size(), 3);
        EXPECT_TRUE(writer.WriteUInt32(0x04030201));
        EXPECT_EQ(writer.Size(), 7);
        EXPECT_TRUE(writer.Flush(true));
        EXPECT_EQ(ReadWholeFile(name), std::vector<uint8_t>({0, 0, 0, 1, 2, 3, 4}));
    }
}

}  // namespace
}  // namespace vantor::test
