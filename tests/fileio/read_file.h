// Reads of a file whose bytes are known, behind a file system that notes what it is asked for.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "fileio/file_reader.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"

namespace vantor::test {

// A file of random bytes behind the scripted system.
class ReadFile : public testing::Test {
  protected:
    std::string Write(size_t count) {
        bytes.resize(count);
        for (auto& byte : bytes)
            byte = static_cast<uint8_t>(random());
        return folder.Write("file.bin", bytes);
    }

    // Reads, or borrows, and compares; the bytes that came.
    int64_t Deliver(FileReader& reader, int64_t count, bool borrow = false) {
        std::vector<uint8_t> destination(static_cast<size_t>(borrow ? 0 : count));
        const int64_t start = reader.Tell();
        const uint8_t* got = destination.data();
        const int64_t delivered =
            borrow ? reader.Borrow(&got, count, destination) : reader.Read(destination.data(), count);
        EXPECT_TRUE(delivered == 0 || std::equal(got, got + delivered, bytes.begin() + start));
        EXPECT_EQ(reader.Tell(), start + delivered);
        return delivered;
    }

    std::mt19937 random{7};
    TempFolder folder;
    std::vector<uint8_t> bytes;
    ScriptedFileSystem files;
    platform::ScopedFileSystem scope{files};
};

}  // namespace vantor::test
