#include "fileio/file_reader.h"

#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <map>
#include <random>

#include "host/host_services.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

std::vector<uint8_t> RandomBytes(std::mt19937& random, size_t count) {
    std::vector<uint8_t> bytes(count);
    for (auto& byte : bytes)
        byte = static_cast<uint8_t>(random());
    return bytes;
}

// Reads and borrows at random places deliver the file's bytes, whatever the mode and the buffer.
TEST(FileReader, DeliversTheBytesOfTheFile) {
    std::mt19937 random(1);
    const TempFolder folder;
    const auto bytes = RandomBytes(random, 300001);
    const auto name = folder.Write("random.bin", bytes);
    const auto size = static_cast<int64_t>(bytes.size());
    const auto upTo = [&](int64_t limit) { return std::uniform_int_distribution<int64_t>(0, limit)(random); };
    for (int round = 0; round < 60; ++round) {
        const ReadParameters parameters{.mode = static_cast<int32_t>(round % 4) - 1,
                                        .blockBytes = static_cast<int32_t>(upTo(40000)),
                                        .blockCount = static_cast<int32_t>(upTo(4))};
        FileReader reader(name, parameters);
        ASSERT_TRUE(reader.IsOpen());
        int64_t position = 0;
        std::vector<uint8_t> destination, scratch;
        for (int step = 0; step < 150; ++step) {
            if (upTo(3) == 0) {
                position = upTo(5) == 0 ? size : upTo(size);
                ASSERT_TRUE(reader.Seek(position));
            }
            if (upTo(20) == 0) reader.ReleaseBuffers();
            const int64_t count = upTo(upTo(1) == 0 ? 200 : 100000);
            const int64_t expected = std::min(count, size - position);
            const uint8_t* got = nullptr;
            if (upTo(1) == 0) {
                ASSERT_EQ(reader.Borrow(&got, count, scratch), expected);
            } else {
                destination.resize(static_cast<size_t>(count));
                ASSERT_EQ(reader.Read(destination.data(), count), expected);
                got = destination.data();
            }
            if (expected > 0) {
                ASSERT_TRUE(std::equal(got, got + expected, bytes.begin() + position));
            }
            position += expected;
            ASSERT_EQ(reader.Tell(), position);
        }
    }
}

// A file behind the scripted system.
class ScriptedReader : public testing::Test {
  protected:
    std::string Write(size_t count) {
        std::mt19937 random(7);
        bytes = RandomBytes(random, count);
        return folder.Write("file.bin", bytes);
    }

    // Reads and compares; the bytes that came.
    int64_t ReadAndCompare(FileReader& reader, int64_t count) {
        std::vector<uint8_t> destination(static_cast<size_t>(count));
        const int64_t start = reader.Tell();
        const int64_t got = reader.Read(destination.data(), count);
        EXPECT_TRUE(std::equal(destination.begin(), destination.begin() + got, bytes.begin() + start));
        EXPECT_EQ(reader.Tell(), start + got);
        return got;
    }

    TempFolder folder;
    std::vector<uint8_t> bytes;
    ScriptedFileSystem files;
    platform::ScopedFileSystem scope{files};
};

TEST_F(ScriptedReader, ModesChooseTheOpenFlags) {
    const auto name = Write(10);
    const struct {
        int32_t mode, blockBytes;
        bool overlapped, unbuffered;
    } cases[] = {{-1, 1, false, true}, {-1, 0, false, false}, {0, 1, false, false},
                 {1, 1, true, true},   {2, 1, true, false},   {7, 1, true, false}};
    for (const auto& c : cases) {
        const FileReader reader(name, {.mode = c.mode, .blockBytes = c.blockBytes});
        const auto options = files.Opens().back().options;
        EXPECT_EQ(options.overlapped, c.overlapped) << c.mode;
        EXPECT_EQ(options.unbuffered, c.unbuffered) << c.mode;
        EXPECT_FALSE(options.shareWrite);
    }
}

TEST_F(ScriptedReader, AWriteSharedFileGrows) {
    const auto name = Write(10);
    for (const int32_t mode : {-1, 0, 2}) {
        bytes.resize(10);
        WriteWholeFile(name, bytes);
        files.FailAt(Operation::open, 0, Fault::sharingViolation);
        FileReader reader(name, {.mode = mode});
        ASSERT_TRUE(reader.IsOpen());
        EXPECT_TRUE(reader.IsWriteShared());
        EXPECT_TRUE(files.Opens().back().options.shareWrite);
        EXPECT_EQ(ReadAndCompare(reader, 100), 10);
        bytes.insert(bytes.end(), {1, 2, 3});
        std::ofstream(name, std::ios::binary | std::ios::app).write("\1\2\3", 3);
        EXPECT_EQ(reader.Size(), 13);  // read-ahead learns the new size here
        EXPECT_EQ(ReadAndCompare(reader, 100), 3) << mode;
    }
}

TEST_F(ScriptedReader, FirstReadsAreShortenedInTurn) {
    const auto name = Write(200000);
    const struct {
        int32_t blockBytes;
        std::map<uint32_t, int> firstRequests;  // of 8 streams
    } cases[] = {{65536, {{65536, 2}, {32768, 2}, {16384, 2}, {8192, 2}}},
                 {16384, {{16384, 4}, {8192, 4}}},
                 {8192, {{8192, 8}}}};
    for (const auto& c : cases) {
        std::map<uint32_t, int> firstRequests;
        for (int stream = 0; stream < 8; ++stream) {
            files.Reset();
            FileReader reader(name, {.mode = 0, .blockBytes = c.blockBytes});
            EXPECT_EQ(ReadAndCompare(reader, 150000), 150000);
            const auto reads = files.Reads();
            ++firstRequests[reads[0].count];
            EXPECT_EQ(reads[1].count, static_cast<uint32_t>(c.blockBytes));
        }
        EXPECT_EQ(firstRequests, c.firstRequests);
    }
}

TEST_F(ScriptedReader, UnbufferedRequestsCoverWholeSectors) {
    const auto name = Write(200000);
    for (int stream = 0; stream < 4; ++stream) {
        FileReader reader(name, {.mode = -1, .blockBytes = 9 * 8192});
        ASSERT_TRUE(reader.Seek(10000));
        EXPECT_EQ(ReadAndCompare(reader, 1000000), 190000);
    }
    for (const auto& read : files.Reads()) {
        EXPECT_EQ(read.offset % 8192, 0);
        EXPECT_EQ(read.count % 8192, 0u);
    }
}

TEST_F(ScriptedReader, ASeekInsideTheStagedBytesReadsNothing) {
    FileReader reader(Write(20000), {.mode = 0, .blockBytes = 8192});
    for (const int64_t position : {0, 8000, 4999, 8193}) {
        ASSERT_TRUE(reader.Seek(position));
        EXPECT_EQ(ReadAndCompare(reader, 100), 100);
    }
    EXPECT_EQ(files.Reads(), (std::vector<RequestRecord>{{0, 8192}, {8193, 8192}}));
}

TEST_F(ScriptedReader, ReadAheadStartsAtTheSectorOrAtThePosition) {
    const auto name = Write(100000);
    for (const auto& [mode, offset] : {std::pair{1, 8192}, std::pair{2, 10000}}) {
        files.Reset();
        FileReader reader(name, {.mode = mode, .blockBytes = 8192, .blockCount = 2});
        ASSERT_TRUE(reader.Seek(10000));
        EXPECT_EQ(ReadAndCompare(reader, 100), 100);
        const auto reads = files.Reads();
        ASSERT_GE(reads.size(), 2u);
        EXPECT_EQ(reads[0], (RequestRecord{offset, 8192}));
        EXPECT_EQ(reads[1], (RequestRecord{offset + 8192, 8192}));
    }
}

TEST_F(ScriptedReader, TheRingRefillsAsBlocksAreConsumed) {
    files.HoldRequests(true);
    FileReader reader(Write(100000), {.mode = 2, .blockBytes = 8192, .blockCount = 3});
    const struct {
        int64_t wanted, delivered, requests;
    } steps[] = {{1, 1, 3},
                 {8191, 8191, 3},  // the block is spent, but its place not yet taken
                 {1, 1, 4},
                 {100000, 91807, 13},  // every byte was asked for once
                 {1, 0, 13}};
    for (const auto& step : steps) {
        EXPECT_EQ(ReadAndCompare(reader, step.wanted), step.delivered);
        EXPECT_EQ(files.Count(Operation::read), step.requests);
    }
}

TEST_F(ScriptedReader, AnOverlappedErrorStays) {
    FileReader reader(Write(100000), {.mode = 2, .blockBytes = 8192, .blockCount = 2});
    files.FailAt(Operation::read, 1, Fault::failure);
    EXPECT_EQ(ReadAndCompare(reader, 100), 100);
    EXPECT_EQ(ReadAndCompare(reader, 20000), 8092);  // what is buffered
    EXPECT_EQ(ReadAndCompare(reader, 100), 0);
    ASSERT_TRUE(reader.Seek(50000));
    EXPECT_EQ(ReadAndCompare(reader, 100), 0);
}

TEST_F(ScriptedReader, ASynchronousErrorEndsTheReadOnly) {
    const auto name = Write(100000);
    for (const int32_t mode : {-1, 0}) {
        FileReader reader(name, {.mode = mode, .blockBytes = 8192});
        files.FailAt(Operation::read, 1, Fault::failure);
        EXPECT_EQ(ReadAndCompare(reader, 20000), 8192);
        EXPECT_EQ(ReadAndCompare(reader, 20000), 20000);
        files.FailAt(Operation::seek, 0, Fault::failure);
        ASSERT_TRUE(reader.Seek(65536));
        EXPECT_EQ(ReadAndCompare(reader, 20000), 20000);
    }
}

// A file that answers less than its size at open promised: every read ends.
TEST_F(ScriptedReader, ShortBlocksDoNotHoldAReadUp) {
    const auto name = Write(100000);
    for (const int32_t mode : {-1, 0, 1, 2}) {
        FileReader reader(name, {.mode = mode, .blockBytes = 8192, .blockCount = 2});
        files.FailAt(Operation::read, 0, Fault::partial, true);
        EXPECT_GE(ReadAndCompare(reader, 100000), 4096) << mode;
        files.Reset();
    }
}

TEST_F(ScriptedReader, BorrowsFromItsBuffersWhereItCan) {
    const auto name = Write(100000);
    for (const int32_t mode : {-1, 0, 1, 2}) {
        FileReader reader(name, {.mode = mode, .blockBytes = 8192, .blockCount = 1});
        std::vector<uint8_t> scratch;
        const uint8_t *first = nullptr, *second = nullptr, *third = nullptr;
        ASSERT_EQ(reader.Borrow(&first, 1000, scratch) + reader.Borrow(&second, 7000, scratch), 8000);
        EXPECT_EQ(second, first + 1000);
        EXPECT_TRUE(scratch.empty());
        ASSERT_EQ(reader.Borrow(&third, INT64_MAX, scratch), 92000);  // beyond the block
        EXPECT_EQ(third, scratch.data());
        EXPECT_EQ(scratch, std::vector<uint8_t>(bytes.begin() + 8000, bytes.end()));
    }
}

TEST_F(ScriptedReader, ReleasingForgetsRequestsInFlight) {
    files.HoldRequests(true);
    FileReader reader(Write(100000), {.mode = 1, .blockBytes = 8192, .blockCount = 3});
    EXPECT_EQ(ReadAndCompare(reader, 5000), 5000);
    reader.ReleaseBuffers();
    EXPECT_EQ(ReadAndCompare(reader, 100000), 95000);
}

TEST_F(ScriptedReader, SmallFilesAreHeldInMemory) {
    const auto name = Write(50000);
    const struct {
        int32_t mode;
        uint32_t mapThreshold, wholeFileLimit;
        int64_t reads;  // until everything is delivered, twice
    } cases[] = {{0, 0, 50001, 0}, {-1, 50001, 50001, 1}, {0, 50001, 50001, 1}, {2, 0, 50001, 2}};
    for (const auto& c : cases) {
        files.Reset();
        FileReader reader(name, {.mode = c.mode, .blockBytes = 65536}, c.mapThreshold, c.wholeFileLimit);
        for (int pass = 0; pass < 2; ++pass) {
            ASSERT_TRUE(reader.Seek(0));
            EXPECT_EQ(ReadAndCompare(reader, 60000), 50000);
            ASSERT_TRUE(reader.Seek(40000));
            EXPECT_EQ(ReadAndCompare(reader, 60000), 10000);
        }
        EXPECT_LE(files.Count(Operation::read), c.reads);
    }
    FileReader empty(folder.Write("empty", {}), {}, 0, 1);
    EXPECT_TRUE(empty.IsOpen());
    EXPECT_EQ(ReadAndCompare(empty, 1), 0);
}

TEST_F(ScriptedReader, AbsurdParametersAreBounded) {
    const auto name = Write(30000);
    for (const int32_t mode : {INT_MIN, -1, 0, 1, INT_MAX})
        for (const int32_t blockBytes : {INT_MIN, 0, INT_MAX})
            for (const int32_t blockCount : {INT_MIN, 0, INT_MAX}) {
                FileReader reader(name, {mode, blockBytes, blockCount});
                EXPECT_EQ(ReadAndCompare(reader, 40000), 30000);
            }
}

TEST_F(ScriptedReader, ClosedReadersAndEdgesDeliverNothing) {
    FileReader closed(folder.Path("missing"), {});
    std::vector<uint8_t> scratch;
    const uint8_t* borrowed = nullptr;
    EXPECT_FALSE(closed.Seek(0));
    EXPECT_EQ(closed.Size() + closed.Remaining() + closed.Borrow(&borrowed, 5, scratch), 0);
    FileReader reader(Write(10), {});
    EXPECT_EQ(reader.Read(nullptr, 0) + reader.Read(nullptr, -5), 0);
    EXPECT_TRUE(reader.Seek(INT64_MAX));
    EXPECT_EQ(reader.Tell(), 10);
    EXPECT_TRUE(reader.Seek(-1));
    EXPECT_EQ(reader.Tell(), 0);
}

TEST(PreferredReadParameters, TheHostMayOverwriteThem) {
    const auto services = Services();
    Services().preferredReadMode = nullptr;
    EXPECT_EQ(PreferredReadParameters(0).blockBytes, 262144);
    EXPECT_EQ(PreferredReadParameters(2).blockBytes, 65536);
    Services().preferredPeakReadMode = [](int32_t* mode, int32_t* blocks, int32_t* blockBytes) {
        *mode = -1;
        *blocks = 5;
        *blockBytes += 1;
    };
    const auto peaks = PreferredReadParameters(1);
    EXPECT_EQ(peaks.mode, -1);
    EXPECT_EQ(peaks.blockCount, 5);
    EXPECT_EQ(peaks.blockBytes, 65537);
    EXPECT_EQ(PreferredReadParameters(-1).blockBytes, 1024);
    Services() = services;
}

}  // namespace
}  // namespace vantor::test
