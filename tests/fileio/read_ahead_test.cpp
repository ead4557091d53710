// Blocks that are asked for before anybody wants them: where seeks lead, and when a request fails or comes
// short.
#include <climits>

#include "tests/fileio/read_file.h"

namespace vantor::test {
namespace {

// Where a seek leads, read-ahead follows; what is on its way is used, or dropped without a wait.
TEST_F(ReadFile, ReadAheadFollowsSeeks) {
    const auto name = Write(98304);  // twelve blocks
    const struct {
        int32_t blockCount;
        std::vector<int64_t> positions;  // of a byte each
        std::vector<int64_t> requests;   // in blocks
    } cases[] = {
        {3, {0, 8192}, {0, 1, 2, 3}},
        {3, {0, 16384}, {0, 1, 2, 3, 4}},
        {3, {0, 24575}, {0, 1, 2, 3, 4}},
        {3, {0, 24576}, {0, 1, 2, 3, 4, 5}},
        {3, {0, 65536, 0}, {0, 1, 2, 8, 9, 10, 0, 1, 2}},
        {3, {16384, 8192}, {2, 3, 4, 1, 2, 3}},
        {3, {8192, 16384, 8192}, {1, 2, 3, 4, 1, 2, 3}},
        {2, {0, 65536, 0, 65536, 0, 65536}, {0, 1, 8, 9, 0, 1, 8, 9, 0, 1, 8, 9}},
        {2, {90112}, {11}},
        {2, {90112, 98303}, {11}},
    };
    for (const bool isLate : {false, true})
        for (const auto& c : cases) {
            files.Reset();
            files.HoldRequests(isLate);
            FileReader reader(name, {.mode = 2, .blockBytes = 8192, .blockCount = c.blockCount});
            for (const int64_t position : c.positions) {
                ASSERT_TRUE(reader.Seek(position));
                EXPECT_EQ(Deliver(reader, 1), 1);
            }
            EXPECT_FALSE(reader.HasFailed());
            std::vector<int64_t> requests;
            for (const auto& read : files.Reads()) {
                EXPECT_EQ(read.offset % 8192, 0);
                requests.push_back(read.offset / 8192);
            }
            EXPECT_EQ(requests, c.requests) << &c - cases;
        }
}

TEST_F(ReadFile, AnErrorStaysInReadAheadAlone) {
    const auto name = Write(100000);
    files.ServeFromCache(true);
    FileReader window(name, {.mode = 2});
    files.FailAt(Operation::read, 1, Fault::failure);
    EXPECT_EQ(Deliver(window, 100), 100);
    EXPECT_EQ(Deliver(window, 20000), 1948);  // what is buffered
    ASSERT_TRUE(window.Seek(50000));
    EXPECT_EQ(Deliver(window, 100), 0);
    EXPECT_TRUE(window.HasFailed());
    files.ServeFromCache(false);
    for (const bool isLate : {false, true}) {
        files.HoldRequests(isLate);
        FileReader ring(name, {.mode = 2, .blockBytes = 8192, .blockCount = 2});
        files.FailAt(Operation::read, 1, Fault::failure);
        EXPECT_EQ(Deliver(ring, 100), 100);
        EXPECT_EQ(Deliver(ring, 20000), 8092);  // what is buffered
        EXPECT_EQ(Deliver(ring, 100), 0);
        ASSERT_TRUE(ring.Seek(50000));
        EXPECT_EQ(Deliver(ring, 100), 0);
        EXPECT_TRUE(ring.HasFailed());
    }
    files.HoldRequests(false);
    for (const int32_t mode : {-1, 0}) {
        FileReader staged(name, {.mode = mode, .blockBytes = 8192});
        files.FailAt(Operation::read, 1, Fault::failure);
        EXPECT_EQ(Deliver(staged, 20000), 8192);
        EXPECT_EQ(Deliver(staged, 20000), 20000);
        files.FailAt(Operation::seek, 0, Fault::failure);
        ASSERT_TRUE(staged.Seek(65536));
        EXPECT_EQ(Deliver(staged, 20000), 20000);
        files.FailAt(Operation::seek, 0, Fault::failure, true);
        ASSERT_TRUE(staged.Seek(0));
        EXPECT_EQ(Deliver(staged, 100), 0);
        files.Reset();
        EXPECT_EQ(Deliver(staged, 100), 100);
    }
    FileReader direct(name, {.mode = 0, .blockBytes = 0});
    files.FailAt(Operation::seek, 0, Fault::failure, true);
    ASSERT_TRUE(direct.Seek(65536));
    EXPECT_EQ(Deliver(direct, 100), 0);
    files.Reset();
    EXPECT_EQ(Deliver(direct, 100), 100);
}

// Whether it answers less than its size at open promised, or is read by absurd parameters: every read ends.
TEST_F(ReadFile, DoesNotHoldAReadUp) {
    const auto name = Write(30000);
    for (const int32_t mode : {INT_MIN, -1, 0, 1, 2, INT_MAX}) {
        files.ServeFromCache(mode == INT_MAX);
        for (const int32_t blockBytes : {INT_MIN, 0, INT_MAX})
            for (const int32_t blockCount : {INT_MIN, 0, INT_MAX}) {
                FileReader reader(name, {mode, blockBytes, blockCount});
                EXPECT_EQ(Deliver(reader, 40000), 30000) << mode;
            }
        FileReader reader(name, {.mode = mode, .blockBytes = 8192, .blockCount = 2});
        files.FailAt(Operation::read, 0, Fault::partial, true);
        EXPECT_GE(Deliver(reader, 30000), 4096) << mode;
        files.Reset();
    }
}

}  // namespace
}  // namespace vantor::test
