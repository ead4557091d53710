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
    std::unique_ptr<File> file;

    OpenResult Open(const std::string& name, const OpenOptions& options = {}) {
        file.reset();
        return SystemFileSystem().OpenNarrow(name, options, file);
    }

    TempFolder folder;
};

TEST_F(SystemFiles, OpensRegularFilesOnly) {
    EXPECT_EQ(Open(folder.Path("missing")), OpenResult::failed);
    EXPECT_EQ(Open(folder.Path("")), OpenResult::failed);
    EXPECT_EQ(Open(folder.Write("file", {1})), OpenResult::opened);
}

TEST_F(SystemFiles, TellsWhenTheFileIsBeingWritten) {
    const auto name = folder.Write("shared", {1, 2, 3});
    {
        std::ofstream writer(name, std::ios::binary | std::ios::app);
        ASSERT_EQ(Open(name), OpenResult::sharingViolation);
        ASSERT_EQ(Open(name, {.shareWrite = true}), OpenResult::opened);
        writer << "more" << std::flush;
        EXPECT_EQ(file->Size(), 7);
    }
    EXPECT_EQ(Open(name), OpenResult::opened);
}

TEST_F(SystemFiles, CreationKeepsOrEmptiesTheFile) {
    const auto name = folder.Write("file", {1, 2, 3});
    const auto sizeAfter = [&](Creation creation) {
        EXPECT_EQ(Open(name, {.access = Access::write, .creation = creation}), OpenResult::opened);
        return file->Size();
    };
    EXPECT_EQ(sizeAfter(Creation::openExisting), 3);
    EXPECT_EQ(sizeAfter(Creation::openAlways), 3);
    EXPECT_EQ(sizeAfter(Creation::createAlways), 0);
    EXPECT_EQ(Open(folder.Path("new"), {.access = Access::write, .creation = Creation::openAlways}),
              OpenResult::opened);
}

TEST_F(SystemFiles, ReadsWritesAndCutsAtTheFilePointer) {
    const auto name = folder.Write("file", {1, 2, 3, 4, 5});
    ASSERT_EQ(Open(name, {.access = Access::readWrite}), OpenResult::opened);
    uint8_t bytes[8] = {};
    ASSERT_TRUE(file->SetPosition(3));
    EXPECT_EQ(file->Read(bytes, sizeof bytes), 2);
    EXPECT_EQ(file->Read(bytes, sizeof bytes), 0);
    EXPECT_FALSE(file->SetPosition(-1));
    ASSERT_TRUE(file->SetPosition(1));
    EXPECT_EQ(file->Write("\x09\x08", 2).bytes, 2u);
    EXPECT_TRUE(file->CutAtPosition());
    file.reset();
    EXPECT_EQ(ReadWholeFile(name), (std::vector<uint8_t>{1, 9, 8}));
}

TEST_F(SystemFiles, AWriteToAFileOpenedForReadingFails) {
    ASSERT_EQ(Open(folder.Write("file", {1})), OpenResult::opened);
    const auto result = file->Write("x", 1);
    EXPECT_EQ(result.bytes, 0u);
    EXPECT_EQ(result.error, WriteError::other);
    EXPECT_FALSE(file->CutAtPosition());
}

TEST_F(SystemFiles, OverlappedRequestsEndDoneWithTheirBytes) {
    const auto name = folder.Write("file", {1, 2, 3, 4, 5});
    ASSERT_EQ(Open(name, {.access = Access::readWrite, .overlapped = true}), OpenResult::opened);
    const auto request = file->NewRequest();
    const auto finished = [&](RequestResult result) {
        return result.state == RequestState::pending ? file->Finish(*request, true) : result;
    };
    uint8_t bytes[8] = {};
    auto result = finished(file->StartRead(*request, 3, bytes, sizeof bytes));
    EXPECT_EQ(result.state, RequestState::done);
    EXPECT_EQ(result.bytes, 2u);
    EXPECT_EQ(bytes[1], 5);
    EXPECT_EQ(file->Finish(*request, true).bytes, 2u);  // the same answer again
    result = finished(file->StartRead(*request, 100, bytes, sizeof bytes));
    EXPECT_EQ(result.state, RequestState::done);
    EXPECT_EQ(result.bytes, 0u);
    result = finished(file->StartWrite(*request, 6, "\x07", 1));
    EXPECT_EQ(result.state, RequestState::done);
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
    const auto name = folder.Write("file", {1});
    const auto moment = std::filesystem::last_write_time(name);
    const auto timeAfter = [&](std::chrono::seconds added) {
        std::filesystem::last_write_time(name, moment + added);
        EXPECT_EQ(Open(name), OpenResult::opened);
        const int64_t time = file->StatusAtOpen().lastWriteTime;
        file.reset();
        return time;
    };
    const int64_t before = timeAfter(std::chrono::seconds(0));
    EXPECT_EQ(timeAfter(std::chrono::seconds(7)) - before, 7 * unitsPerSecond);
}

TEST_F(SystemFiles, WideAndNarrowNamesReachTheSameFile) {
    const auto name = folder.Write("plain.bin", {1, 2});
    const std::u16string wide(name.begin(), name.end());
    EXPECT_EQ(SystemFileSystem().OpenWide(wide, {}, file), OpenResult::opened);
    file.reset();
    EXPECT_EQ(SystemFileSystem().OpenWide(wide + u'\xD800', {}, file), OpenResult::failed);
    EXPECT_TRUE(SystemFileSystem().RemoveWide(wide));
    EXPECT_FALSE(SystemFileSystem().RemoveNarrow(name));
}

}  // namespace
}  // namespace vantor::test
