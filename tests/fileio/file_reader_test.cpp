#include "fileio/file_reader.h"

#include <gtest/gtest.h>

#include <random>

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

}  // namespace
}  // namespace vantor::test
