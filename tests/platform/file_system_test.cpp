#include "platform/file_system.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

using namespace platform;

class SystemFiles : public testing::Test {
  protected:
    OpenResult Open(const OpenOptions& options = {}) {
        file.reset();
        return SystemFileSystem().OpenNarrow(name, options, file);
    }

    TempFolder folder;
    const std::string name = folder.Write("file", {1, 2, 3, 4, 5});
    const std::u16string wideName{name.begin(), name.end()};
    std::unique_ptr<File> file;
};

TEST_F(SystemFiles, OpensRegularFilesByBothFormsOfTheirName) {
    EXPECT_EQ(Open(), OpenResult::opened);
    for (const auto* other : {"missing", ""})
        EXPECT_EQ(SystemFileSystem().OpenNarrow(folder.Path(other), {}, file), OpenResult::failed);
    EXPECT_EQ(SystemFileSystem().OpenWide(wideName, {}, file), OpenResult::opened);
    file.reset();
    EXPECT_EQ(SystemFileSystem().OpenWide(wideName + u'\xD800', {}, file), OpenResult::failed);
    EXPECT_TRUE(SystemFileSystem().RemoveWide(wideName));
    EXPECT_FALSE(SystemFileSystem().RemoveNarrow(name));
}

TEST_F(SystemFiles, TellsWhenTheFileIsBeingWritten) {
    {
        std::ofstream writer(name, std::ios::binary | std::ios::app);
        EXPECT_TRUE(Open() == OpenResult::sharingViolation || file->IsBeingWritten());
        ASSERT_EQ(Open({.shareWrite = true}), OpenResult::opened);
        writer << "more" << std::flush;
        EXPECT_EQ(file->Size(), 9);
    }
    ASSERT_EQ(Open(), OpenResult::opened);
    EXPECT_FALSE(file->IsBeingWritten());
}

TEST_F(SystemFiles, CreationKeepsOrEmptiesTheFile) {
    const auto sizeAfter = [&](Creation creation) {
        EXPECT_EQ(Open({.access = Access::write, .creation = creation}), OpenResult::opened);
        return file->Size();
    };
    EXPECT_EQ(sizeAfter(Creation::openExisting), 5);
    EXPECT_EQ(sizeAfter(Creation::openAlways), 5);
    EXPECT_EQ(sizeAfter(Creation::createAlways), 0);
    file.reset();
    EXPECT_TRUE(SystemFileSystem().RemoveNarrow(name));
    EXPECT_EQ(sizeAfter(Creation::openAlways), 0);
}

TEST_F(SystemFiles, ReadsWritesAndCutsAtTheFilePointer) {
    ASSERT_EQ(Open({.access = Access::readWrite}), OpenResult::opened);
    uint8_t bytes[8] = {};
    ASSERT_TRUE(file->SetPosition(3));
    EXPECT_EQ(file->Read(bytes, sizeof bytes), 2);
    EXPECT_EQ(file->Read(bytes, sizeof bytes), 0);
    EXPECT_FALSE(file->SetPosition(-1));
    ASSERT_TRUE(file->SetPosition(1));
    EXPECT_EQ(file->Write("\x09\x08", 2).bytes, 2u);
    EXPECT_TRUE(file->CutAtPosition());
    ASSERT_EQ(Open(), OpenResult::opened);
    const auto result = file->Write("x", 1);
    EXPECT_EQ(result.bytes, 0u);
    EXPECT_EQ(result.error, WriteError::other) << "opened for reading";
    EXPECT_FALSE(file->CutAtPosition());
    EXPECT_EQ(ReadWholeFile(name), (std::vector<uint8_t>{1, 9, 8}));
}

// How much of a file takes no room, and whether the system tells, is its own affair: no stored byte is
// missed.
TEST_F(SystemFiles, StepOverNothingThatIsStored) {
    constexpr int64_t place = int64_t{1} << 20;
    ASSERT_EQ(Open({.access = Access::readWrite}), OpenResult::opened);
    ASSERT_TRUE(file->SetPosition(place));
    ASSERT_EQ(file->Write("abc", 3).bytes, 3u);
    ASSERT_TRUE(file->SetPosition(3 * place) && file->CutAtPosition());
    for (const bool overlapped : {false, true}) {
        ASSERT_EQ(Open({.overlapped = overlapped}), OpenResult::opened);
        EXPECT_EQ(file->NextStored(4), 4);
        for (const int64_t hole : {place / 2, 2 * place}) {
            const int64_t stored = file->NextStored(hole);
            EXPECT_TRUE(stored >= hole && stored <= (hole < place ? place : 3 * place)) << stored;
        }
        EXPECT_EQ(file->NextStored(place + 1), place + 1);
        EXPECT_EQ(file->NextStored(3 * place), 3 * place);
    }
}

TEST_F(SystemFiles, OverlappedRequestsEndDoneWithTheirBytes) {
    ASSERT_EQ(Open({.access = Access::readWrite, .overlapped = true}), OpenResult::opened);
    const auto request = file->NewRequest();
    const auto bytesOf = [&](RequestResult result) {
        if (result.state == RequestState::pending) result = file->Finish(*request, true);
        EXPECT_EQ(result.state, RequestState::done);
        return result.bytes;
    };
    uint8_t bytes[8] = {};
    EXPECT_EQ(bytesOf(file->StartRead(*request, 3, bytes, sizeof bytes)), 2u);
    EXPECT_EQ(bytes[1], 5);
    EXPECT_EQ(file->Finish(*request, true).bytes, 2u) << "the same answer again";
    EXPECT_EQ(bytesOf(file->StartRead(*request, 100, bytes, sizeof bytes)), 0u);
    EXPECT_EQ(bytesOf(file->StartWrite(*request, 6, "\x07", 1)), 1u);
    (void)file->StartRead(*request, 0, bytes, sizeof bytes);
    file->Abandon(*request);
    file.reset();
    EXPECT_EQ(ReadWholeFile(name), (std::vector<uint8_t>{1, 2, 3, 4, 5, 0, 7}));
}

TEST_F(SystemFiles, LastWriteTimeIsInTheFinestUnit) {
#ifdef _WIN32
    constexpr int64_t unitsPerSecond = 10000000;
#else
    constexpr int64_t unitsPerSecond = 1000000000;
#endif
    const auto moment = std::filesystem::last_write_time(name);
    int64_t times[2];
    for (const int i : {0, 1}) {
        std::filesystem::last_write_time(name, moment + i * std::chrono::seconds(7));
        EXPECT_EQ(Open(), OpenResult::opened);
        times[i] = file->StatusAtOpen().lastWriteTime;
        file.reset();
    }
    EXPECT_EQ(times[1] - times[0], 7 * unitsPerSecond);
}

TEST_F(SystemFiles, TellApartAndTakeTurnsWithOthers) {
    ASSERT_EQ(Open(), OpenResult::opened);
    const auto status = file->StatusNow();
    EXPECT_EQ(status, file->StatusAtOpen());
    EXPECT_EQ(file->TryLock(), LockResult::locked);
    const auto first = std::move(file);
    ASSERT_EQ(Open(), OpenResult::opened);
    EXPECT_EQ(file->StatusNow(), status);
    EXPECT_EQ(file->TryLock(), LockResult::heldElsewhere);
    ASSERT_EQ(SystemFileSystem().OpenNarrow(folder.Write("other", {1, 2, 3}), {}, file), OpenResult::opened);
    EXPECT_NE(std::pair(file->StatusNow().volume, file->StatusNow().number),
              std::pair(status.volume, status.number));
    EXPECT_EQ(file->TryLock(), LockResult::locked);
}

}  // namespace
}  // namespace vantor::test
