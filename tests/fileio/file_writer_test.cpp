#include "fileio/file_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

// The file as it must be after some writes.
struct Reference {
    std::vector<uint8_t> bytes;
    size_t position = 0;

    void Write(const std::vector<uint8_t>& piece) {
        bytes.resize(std::max(bytes.size(), position + piece.size()));
        std::copy(piece.begin(), piece.end(), bytes.begin() + static_cast<std::ptrdiff_t>(position));
        position += piece.size();
    }
};

class FileWriterModes : public testing::TestWithParam<std::tuple<int32_t, bool>> {};
INSTANTIATE_TEST_SUITE_P(All, FileWriterModes, testing::Combine(testing::Range(0, 4), testing::Bool()));

// Random writes, seeks, flushes and cuts leave the bytes that they would leave in memory. Unbuffered writing
// ends with a whole sector, zeros behind the last byte.
TEST_P(FileWriterModes, LeaveTheBytesThatWereWritten) {
    const auto [mode, openExisting] = GetParam();
    const bool wholeSectors = mode == 3 && !openExisting;
    std::mt19937 random(static_cast<unsigned>(mode));
    const auto upTo = [&](size_t limit) { return std::uniform_int_distribution<size_t>(0, limit)(random); };
    const TempFolder folder;
    for (int round = 0; round < 12; ++round) {
        Reference reference;
        const auto name = folder.Write("out.bin", std::vector<uint8_t>(upTo(20000), 0xEE));
        if (openExisting) reference.bytes = ReadWholeFile(name);
        {
            FileWriter writer(name.c_str(), {.mode = mode,
                                             .blockBytes = static_cast<int32_t>(upTo(9000)),
                                             .minBlocks = static_cast<int32_t>(upTo(2)),
                                             .maxBlocks = static_cast<int32_t>(upTo(4)),
                                             .openExisting = openExisting});
            ASSERT_TRUE(writer.IsOpen());
            for (int step = 0; step < 60; ++step) {
                std::vector<uint8_t> piece(1 + upTo(upTo(1) == 0 ? 40 : 30000));
                std::generate(piece.begin(), piece.end(), [&] { return static_cast<uint8_t>(random()); });
                if (upTo(2) == 0) {
                    reference.position = upTo(reference.bytes.size());
                    ASSERT_EQ(writer.Seek(static_cast<int64_t>(reference.position)), 0);
                }
                ASSERT_EQ(writer.Write(piece.data(), static_cast<int32_t>(piece.size())),
                          static_cast<int32_t>(piece.size()));
                reference.Write(piece);
                ASSERT_EQ(writer.Tell(), static_cast<int64_t>(reference.position));
                ASSERT_TRUE(upTo(9) != 0 || writer.Flush(upTo(1) == 0));
                if (!wholeSectors) {
                    ASSERT_EQ(writer.Size(), static_cast<int64_t>(reference.bytes.size()));
                    if (upTo(19) == 0) {
                        ASSERT_TRUE(writer.CutAtPosition());
                        reference.bytes.resize(reference.position);
                    }
                }
            }
            ASSERT_TRUE(writer.Flush(true));
        }
        if (wholeSectors) reference.bytes.resize((reference.bytes.size() + 4095) / 4096 * 4096);
        ASSERT_EQ(ReadWholeFile(name), reference.bytes);
    }
}

}  // namespace
}  // namespace vantor::test
