// Bytes lent where they lie.

#include <climits>

#include "tests/fileio/read_file.h"

namespace vantor::test {
namespace {

TEST_F(ReadFile, IsBorrowedFromTheBuffersWhereItCan) {
    const auto name = Write(100000);
    for (const int32_t mode : {-1, 0, 1, 2}) {
        FileReader reader(name, {.mode = mode, .blockBytes = 8192, .blockCount = 1});
        std::vector<uint8_t> scratch;
        const uint8_t *first = nullptr, *second = nullptr, *third = nullptr;
        ASSERT_EQ(reader.Borrow(&first, 1000, scratch) + reader.Borrow(&second, 7000, scratch), 8000);
        EXPECT_EQ(second, first + 1000);
        ASSERT_EQ(reader.Borrow(&third, 192, scratch), 192);
        EXPECT_EQ(third, second + 7000);
        EXPECT_TRUE(scratch.empty());
        ASSERT_EQ(reader.Borrow(&third, INT64_MAX, scratch), 91808);  // beyond the block
        EXPECT_EQ(third, scratch.data());
    }
}

TEST_F(ReadFile, LendsWhatItHoldsWithoutAskingTheSystem) {
    const auto name = Write(100000);
    EXPECT_EQ(FileReader(folder.Path("missing"), {}).BorrowHeld(1), nullptr);
    for (const auto& [mode, cached] : {std::pair{0, false}, {2, true}}) {
        files.Reset();
        files.ServeFromCache(cached);
        FileReader reader(name, {.mode = mode, .blockBytes = 8192});
        EXPECT_EQ(reader.BorrowHeld(1), nullptr) << "nothing is held yet";
        EXPECT_EQ(Deliver(reader, 1), 1);
        const auto held = static_cast<int64_t>(files.Reads().back().count) - 1;
        EXPECT_EQ(reader.BorrowHeld(held + 1), nullptr);
        EXPECT_EQ(reader.BorrowHeld(0), nullptr);
        EXPECT_EQ(reader.BorrowHeld(-1), nullptr);
        const uint8_t* const one = reader.BorrowHeld(1);
        ASSERT_TRUE(one);
        EXPECT_EQ(*one, bytes[1]);
        const uint8_t* const rest = reader.BorrowHeld(held - 1);
        ASSERT_TRUE(rest);
        EXPECT_TRUE(std::equal(rest, rest + held - 1, bytes.begin() + 2));
        EXPECT_EQ(reader.BytesRead(), held + 1);
        EXPECT_EQ(reader.Tell(), held + 1);
        EXPECT_EQ(files.Reads().size(), 1u);
    }
}

}  // namespace
}  // namespace vantor::test
