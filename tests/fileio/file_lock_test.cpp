#include "fileio/file_lock.h"

#include <gtest/gtest.h>

#include "fileio/file_reader.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

TEST(FileLock, IsOneFilesAndHeldByOne) {
    using std::chrono::milliseconds;
    const TempFolder folder;
    const auto name = folder.Write("one", {1});
    EXPECT_FALSE(FileLock(folder.Path("missing"), milliseconds(0)).IsHeld());
    const FileLock lock(name, std::chrono::seconds(30));  // free: nothing to wait for
    ASSERT_TRUE(lock.IsHeld());
    const FileLock second(name, milliseconds(20));
    EXPECT_FALSE(second.IsHeld());
    const FileLock other(folder.Write("two", {1}), milliseconds(0));
    EXPECT_TRUE(other.IsHeld());
    EXPECT_TRUE(lock.IsOf(FileReader(name, {}).Status()));
    EXPECT_FALSE(lock.IsOf(FileReader(folder.Path("two"), {}).Status()));
    auto elsewhere = FileReader(name, {}).Status();
    ++elsewhere.volume;
    EXPECT_FALSE(lock.IsOf(elsewhere));
}

}  // namespace
}  // namespace vantor::test
