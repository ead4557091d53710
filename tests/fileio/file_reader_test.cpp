#include "fileio/file_reader.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <new>
#include <random>

#include "host/host_services.h"
#include "tests/fileio/read_file.h"
#include "tests/support/failing_allocation.h"

namespace vantor::test {
namespace {

// At random places, whatever the mode and the buffer. A file opened past the cache is read in whole sectors.
TEST_F(ReadFile, DeliversItsBytes) {
    const auto name = Write(300001);
    const auto size = std::ssize(bytes);
    const auto upTo = [&](int64_t limit) { return std::uniform_int_distribution<int64_t>(0, limit)(random); };
    for (int round = 0; round < 60; ++round) {
        files.Reset();
        files.HoldRequests(round % 3 != 0);
        files.ServeFromCache(round % 5 < 2);
        FileReader reader(name, {.mode = static_cast<int32_t>(round % 4) - 1,
                                 .blockBytes = static_cast<int32_t>(upTo(40000)),
                                 .blockCount = static_cast<int32_t>(upTo(4))});
        ASSERT_TRUE(reader.IsOpen());
        int64_t delivered = 0;
        for (int step = 0; step < 150; ++step) {
            if (upTo(3) == 0) {
                ASSERT_TRUE(reader.Seek(upTo(5) == 0 ? size : upTo(size)));
            }
            if (upTo(20) == 0) reader.ReleaseBuffers();
            const int64_t count = upTo(upTo(1) == 0 ? 200 : 100000);
            const int64_t expected = std::min(count, size - reader.Tell());
            ASSERT_EQ(Deliver(reader, count, upTo(1) == 0), expected);
            ASSERT_EQ(reader.BytesRead(), delivered += expected);
            ASSERT_EQ(reader.Remaining(), size - reader.Tell());
        }
        EXPECT_FALSE(reader.HasMissedBytes() || reader.HasFailed());
        if (!files.Opens()[0].options.unbuffered || round % 5 < 2) continue;
        for (const auto& read : files.Reads())
            ASSERT_EQ(read.offset % 8192 + read.count % 8192, 0);
    }
}

TEST_F(ReadFile, ModesChooseTheOpenFlags) {
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
    EXPECT_FALSE(FileReader(name, {}).IsWriteShared());
}

#if !defined(_WIN32)  // opening tells there
TEST_F(ReadFile, FindsOutAtItsEndThatItIsBeingWritten) {
    for (const bool isBorrowed : {false, true}) {
        const auto name = Write(10);
        FileReader reader(name, {.mode = 2});
        EXPECT_EQ(Deliver(reader, 10), 10);
        std::ofstream writer(name, std::ios::binary | std::ios::app);
        writer.write("\1", 1).flush();
        bytes.push_back(1);
        EXPECT_EQ(Deliver(reader, 1, isBorrowed), 1);
        EXPECT_TRUE(reader.IsWriteShared());
    }
}
#endif

TEST_F(ReadFile, GrowsWhenItIsWriteShared) {
    for (const int32_t mode : {-1, 0, 2}) {
        const auto name = Write(10);
        files.FailAt(Operation::open, 0, Fault::sharingViolation);
        FileReader reader(name, {.mode = mode});
        EXPECT_TRUE(reader.IsOpen() && reader.IsWriteShared());
        EXPECT_TRUE(files.Opens().back().options.shareWrite);
        EXPECT_EQ(Deliver(reader, 100), 10);
        bytes.insert(bytes.end(), {1, 2, 3});
        std::ofstream(name, std::ios::binary | std::ios::app).write("\1\2\3", 3);
        EXPECT_EQ(reader.Size(), 13);  // read-ahead learns the new size here
        EXPECT_EQ(Deliver(reader, 100), 3) << mode;
        // Every way to ask finds what has come since.
        const auto grow = [&] {
            bytes.push_back(static_cast<uint8_t>(bytes.size()));
            std::ofstream(name, std::ios::binary | std::ios::app)
                .write(reinterpret_cast<char*>(&bytes.back()), 1);
        };
        grow();
        EXPECT_EQ(Deliver(reader, 100), 1) << mode;
        grow();
        EXPECT_EQ(Deliver(reader, 100, true), 1) << mode;
        grow();
        EXPECT_TRUE(reader.Seek(16));
        EXPECT_EQ(reader.Tell(), 16);
        grow();
        EXPECT_EQ(reader.SizeNow(), 17);
        EXPECT_EQ(reader.Remaining(), 1);
    }
    files.FailAt(Operation::open, 0, Fault::sharingViolation, true);
    EXPECT_FALSE(FileReader(folder.Path("file.bin"), {}).IsWriteShared()) << "not open";
}

TEST_F(ReadFile, FirstReadsAreShortenedInTurn) {
    const auto name = Write(100000);
    for (const auto& [buffer, lengths] :
         {std::pair{65536, std::multiset<uint32_t>{8192, 16384, 32768, 65536}},
          {57344, {28672, 28672, 57344, 57344}}}) {
        std::multiset<uint32_t> firstRequests;
        for (int stream = 0; stream < 4; ++stream) {
            files.Reset();
            FileReader reader(name, {.mode = 0, .blockBytes = buffer});
            EXPECT_EQ(Deliver(reader, 100000), 100000);
            firstRequests.insert(files.Reads()[0].count);
            EXPECT_EQ(files.Reads()[1].count, static_cast<uint32_t>(buffer));
        }
        EXPECT_EQ(firstRequests, lengths);
    }
}

TEST_F(ReadFile, IsAskedForWhatIsNeeded) {
    const auto name = Write(30000);
    const struct {
        int32_t mode, blockCount;
        std::vector<std::pair<int64_t, int64_t>> reads;  // from where, how many bytes
        std::vector<int64_t> requests;                   // of 8192 bytes, from where
    } cases[] = {
        {0, 1, {{0, 100}, {8000, 100}, {4999, 100}, {8193, 100}}, {0, 8193}},  // a seek in what is there
        {0, 1, {{9000, 100}, {9050, 100}, {9000, 100}, {17192, 1}}, {9000, 17192}},
        {0, 1, {{9000, 100}, {8999, 100}}, {9000, 8999}},
        // Read-ahead starts at the sector or at the position.
        {1, 2, {{10000, 100}}, {8192, 16384}},
        {2, 2, {{10000, 100}}, {10000, 18192}},
        // A block that is spent is filled anew when its successor is read.
        {2, 3, {{0, 1}, {1, 8191}}, {0, 8192, 16384}},
        {2, 3, {{0, 8192}, {8192, 1}}, {0, 8192, 16384, 24576}},
        {2, 2, {{0, 30000}, {30000, 1}}, {0, 8192, 16384, 24576}},  // every byte is asked for once
    };
    for (const bool isBorrowed : {false, true})
        for (const auto& c : cases) {
            files.Reset();
            files.HoldRequests(true);
            FileReader reader(name, {.mode = c.mode, .blockBytes = 8192, .blockCount = c.blockCount});
            for (const auto& [position, count] : c.reads) {
                ASSERT_TRUE(reader.Seek(position));
                EXPECT_EQ(Deliver(reader, count, isBorrowed), std::min(count, 30000 - position));
            }
            std::vector<int64_t> requests;
            for (const auto& read : files.Reads()) {
                requests.push_back(read.offset);
                EXPECT_EQ(read.count, 8192u);
            }
            EXPECT_EQ(requests, c.requests) << "case " << &c - cases;
        }
}

TEST_F(ReadFile, GivesBuffersBack) {
    const auto name = Write(50000);
    for (const int32_t mode : {-1, 0, 1, 2})
        for (const bool cached : {false, true}) {
            files.ServeFromCache(cached);
            files.HoldRequests(true);
            FileReader reader(name, {.mode = mode, .blockBytes = 8192, .blockCount = 2});
            size_t requests = 0;  // in every round as many
            for (int round = 0; round < 4; ++round) {
                uint8_t bytes[100];
                const size_t before = BytesAllocated(), asked = files.Reads().size();
                EXPECT_EQ(reader.Read(bytes, 100), 100);
                EXPECT_GE(BytesAllocated() - before, 8192u) << mode;
                requests = round == 0 ? files.Reads().size() - asked : requests;
                EXPECT_EQ(files.Reads().size() - asked, requests) << mode;
                reader.ReleaseBuffers();
            }
        }
}

TEST_F(ReadFile, ThatBecomesShorterEndsTheRead) {
#if defined(_WIN32)
    GTEST_SKIP() << "nobody cuts a file that is open";
#endif
    for (const bool cached : {false, true}) {
        files.ServeFromCache(cached);
        const auto name = Write(300000);
        FileReader reader(name, {.mode = 1, .blockBytes = 8192, .blockCount = 2});
        EXPECT_EQ(Deliver(reader, 100), 100);
        std::filesystem::resize_file(name, 100000);
        EXPECT_LE(Deliver(reader, 200000), 99900);
        EXPECT_EQ(Deliver(reader, 1), 0);
        EXPECT_TRUE(reader.HasFailed() && reader.HasMissedBytes());
    }
}

TEST_F(ReadFile, IsHeldInMemoryWhenSmall) {
    const auto name = Write(50000);
    for (const auto& [mapThreshold, reads] : {std::pair{0u, 0}, {50000u, 0}, {50001u, 1}}) {
        files.Reset();
        FileReader reader(name, {.mode = 0, .blockBytes = 8192}, mapThreshold, 50001);
        for (const int64_t position : {0, 40000, 0}) {
            ASSERT_TRUE(reader.Seek(position));
            EXPECT_EQ(Deliver(reader, 60000, true), 50000 - position);
            ASSERT_TRUE(reader.Seek(position));
            EXPECT_EQ(Deliver(reader, 60000), 50000 - position);
        }
        EXPECT_EQ(reader.Read(nullptr, -5), 0);
        EXPECT_EQ(files.Count(Operation::read), reads);
    }
    files.Reset();
    FileReader larger(name, {.mode = 0, .blockBytes = 8192}, 0, 50000);
    EXPECT_EQ(Deliver(larger, 100), 100);
    EXPECT_EQ(files.Count(Operation::read), 1) << "not below the limit";
    FileReader empty(folder.Write("empty", {}), {}, 0, 1);
    EXPECT_TRUE(empty.IsOpen());
    EXPECT_EQ(Deliver(empty, 1), 0);
}

TEST_F(ReadFile, IsReadPieceByPieceWhenItCannotBeHeldInMemory) {
    const auto name = Write(50000);
    files.FailAt(Operation::read, 0, Fault::partial);
    FileReader reader(name, {.mode = 0, .blockBytes = 8192}, 50001, 50001);
    EXPECT_EQ(Deliver(reader, 60000), 50000);
    EXPECT_FALSE(reader.HasFailed());
}

// Reads end early at most, with the right bytes, however few buffers can be had.
TEST_F(ReadFile, WithoutMemoryEndsTheRead) {
    const auto name = Write(50000);
    for (const int32_t mode : {-1, 0, 1, 2})
        for (const auto& [cached, isForGood] : {std::pair{false, false}, {false, true}, {true, true}}) {
            files.ServeFromCache(cached);
            bool hasFailed = true;
            for (int allowed = 0; hasFailed; ++allowed) {
                std::vector<uint8_t> scratch(50000);
                int64_t delivered = 0;
                const FailingAllocation failing(allowed, isForGood);
                try {
                    FileReader reader(name, {.mode = mode, .blockBytes = 8192, .blockCount = 2}, 50001,
                                      mode == 0 ? 50001 : 0);
                    const int64_t start = reader.Read(scratch.data(), 100);
                    const uint8_t* got = nullptr;
                    const int64_t borrowed = reader.Borrow(&got, 20000, scratch);
                    ASSERT_TRUE(borrowed == 0 || std::equal(got, got + borrowed, bytes.begin() + start));
                    delivered = start + borrowed;
                } catch (const std::bad_alloc&) {
                }
                hasFailed = failing.HasFailed();
                ASSERT_TRUE(hasFailed || delivered == 20100) << mode;
            }
        }
}

TEST_F(ReadFile, ClosedOrBeyondItsEndsDeliversNothing) {
    FileReader closed(folder.Path("missing"), {});
    EXPECT_FALSE(closed.Seek(0));
    EXPECT_EQ(closed.Size() + closed.SizeNow() + closed.Remaining(), 0);
    EXPECT_EQ(Deliver(closed, 5, true) + Deliver(closed, 5), 0);
    EXPECT_FALSE(closed.IsWriteShared());
    closed.ReleaseBuffers();
    FileReader reader(Write(10), {});
    EXPECT_EQ(reader.Read(nullptr, 0) + reader.Read(nullptr, -5), 0);
    for (const auto& [position, reached] : {std::pair{INT64_MAX, 10}, std::pair{int64_t{-1}, 0}}) {
        EXPECT_TRUE(reader.Seek(position));
        EXPECT_EQ(reader.Tell(), reached);
    }
}

TEST(PreferredReadParameters, TheHostMayOverwriteThem) {
    const auto services = Services();
    Services().preferredReadMode = nullptr;
    Services().preferredPeakReadMode = [](int32_t* mode, int32_t* blocks, int32_t* blockBytes) {
        *mode -= 3;
        *blocks += 3;
        *blockBytes += 1;
    };
    const auto peaks = PreferredReadParameters(1);
    EXPECT_EQ(std::tuple(peaks.mode, peaks.blockCount, peaks.blockBytes), std::tuple(-1, 5, 65537));
    const auto playing = PreferredReadParameters(0), glance = PreferredReadParameters(-1);
    EXPECT_EQ(std::tuple(playing.mode, playing.blockCount, playing.blockBytes), std::tuple(1, 3, 262144));
    EXPECT_EQ(std::tuple(glance.mode, glance.blockCount, glance.blockBytes), std::tuple(2, 1, 1024));
    Services() = services;
}

}  // namespace
}  // namespace vantor::test
