// Files of 4 GiB and about that, nearly all of them holes: what their sizes of 32 bits cannot say.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "edit/copy_file.h"
#include "edit/edit_file.h"
#include "fileio/byte_order.h"
#include "tests/edit/in_place_edit.h"
#include "tests/support/fake_host.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

constexpr int64_t fourGiB = int64_t{4} << 30;

const Bytes fmt = ByteWriter().Chunk("fmt ", FmtBody(1, 1, 48000, 16));
const Bytes padding = ByteWriter().Chunk("JUNK", Bytes(2000));

Bytes Tag(size_t bytes, uint8_t fill) {
    return ByteWriter().Chunk("bext", Bytes(bytes - 8, fill));
}
Bytes Ds64(uint64_t dataBytes) {
    return ByteWriter().Chunk(
        "ds64", ByteWriter().Le64(0).Le64(dataBytes).Le64(0).Le32(1).Text("abcd").Le64(fourGiB + 70000));
}

class HugeFiles : public testing::Test {
  protected:
    // The hole is as long as the file has to be. False where the system has no holes.
    bool Write(const Bytes& head, int64_t bytes, const Bytes& end = {}) {
        folder.Write("a.wav", head);
        std::error_code error;
        std::filesystem::resize_file(path, static_cast<uintmax_t>(bytes - std::ssize(end)), error);
        if (error) return false;
        std::ofstream(path, std::ios::binary | std::ios::app)
            .write(reinterpret_cast<const char*>(end.data()), std::ssize(end));
        return true;
    }
    WriteAnswer Edit(int32_t flags) {
        MetadataStore changes;
        changes.Set("INFO:INAM", "New");
        return EditFile({.fileName = path,
                         .target = target,
                         .changes = changes,
                         .flags = flags,
                         .forget = [](const std::string&) {}})
            .answer;
    }
    [[nodiscard]] std::string Name() const {
        FileReader reader(path, {});
        AudioFormat format;
        EXPECT_EQ(ParseAudioFormat(format, reader), 0);
        return std::string(format.metadata.Value("INFO:INAM"));
    }
    [[nodiscard]] static Bytes Part(const std::string& name, int64_t offset, size_t count) {
        Bytes bytes(count);
        std::ifstream file(name, std::ios::binary);
        file.seekg(offset).read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(count));
        return bytes;
    }

    FakeHost host;
    TempFolder folder;
    const std::string path = folder.Path("a.wav"), target = folder.Path("b.wav");
};

TEST_F(HugeFiles, TakeTagsUnlessNobodyKnowsWhereTheirAudioEnds) {
    const auto data = [](uint32_t sizeField) { return ByteWriter().Text("data").Le32(sizeField).Done(); };
    const Bytes table = ByteWriter().Add(data(1000)).Fill(1000, 0x5A).Text("abcd").Le32(0xFFFFFFFF);
    const struct {
        const char* id;
        Bytes chunks;
        int64_t bytes;
        WriteAnswer answer = updatedInPlace;
    } cases[] = {
        {"RF64", ByteWriter().Add(Ds64(0)).Add(fmt).Add(padding).Add(data(0xFFFFFFFF)), fourGiB + 70000,
         writeFailed},
        {"RF64", ByteWriter().Add(Ds64(0)).Add(fmt).Add(padding).Add(data(0xFFFFFFFF)), -1},
        {"RF64", ByteWriter().Add(Ds64(0)).Add(fmt).Add(padding).Add(data(0xFFFFFFFF)), 70000},
        {"RF64", ByteWriter().Add(Ds64(0)).Add(fmt).Add(padding).Add(table), -2},
        {"RIFF", ByteWriter().Add(fmt).Add(padding).Add(data(0xFFFFFFFF)), fourGiB + 70000},
    };
    for (const auto& [id, chunks, bytes, answer] : cases) {
        const Bytes head = RiffFile(chunks, id);
        const int64_t size = bytes == -1   ? std::ssize(head) + 0xFFFFFFFF
                             : bytes == -2 ? std::ssize(head) + fourGiB + 70000
                                           : bytes;
        if (!Write(head, size)) GTEST_SKIP() << "no sparse files here";
        EXPECT_EQ(Edit(writeMerge), answer) << id << " " << bytes;
        EXPECT_EQ(Name(), answer == updatedInPlace ? "New" : "") << id << " " << bytes;
        EXPECT_EQ(std::filesystem::file_size(path), static_cast<uintmax_t>(size));
        if (answer == updatedInPlace) continue;
        EXPECT_EQ(Edit(writeNeverInPlace), writeFailed);
        FileReader reader(path, smallReads);
        const Bytes image = Tag(60, 1);
        EXPECT_FALSE(CanCopy(reader, {image, {}, Replaced(image)}, kindRf64));
        EXPECT_FALSE(std::filesystem::exists(target));
    }
}

// The size of a recording that was never finished; the disk is full before all of the copy is written.
TEST_F(HugeFiles, HaveTheSizeOfTheirAudioInCopies) {
    const Bytes head = RiffFile(ByteWriter().Add(Ds64(0)).Add(fmt).Text("data").Le32(0), "RF64");
    if (!Write(head, std::ssize(head) + fourGiB + 70000)) GTEST_SKIP() << "no sparse files here";
    const Bytes image = Tag(60, 1);
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.SetFreeBytes(500000);
    FileReader reader(path, smallReads);
    EXPECT_FALSE(WriteCopy(reader, target, {image, {}, Replaced(image)}, kindRf64));
    const Bytes start = Part(target, 0, head.size() + image.size());
    EXPECT_EQ(ReadLe32(&start[4]), 0xFFFFFFFF);
    EXPECT_EQ(ReadLe64(&start[20]), head.size() + image.size() + fourGiB + 70000 - 8);
    EXPECT_EQ(ReadLe64(&start[28]), fourGiB + 70000);
    EXPECT_EQ(ReadLe32(&start[start.size() - 4]), 0xFFFFFFFF);
}

// What grows behind audio that plays to the end of the file goes in front of it.
TEST_F(HugeFiles, GiveUpPlacesThatWouldPlay) {
    const Bytes head = RiffFile(ByteWriter().Add(fmt).Text("data").Le32(1000)), old = Tag(60, 1),
                image = Tag(80, 2);
    const int64_t oldStart = std::ssize(head) + fourGiB + 1000;
    if (!Write(head, oldStart + std::ssize(old), old)) GTEST_SKIP() << "no sparse files here";
    FileReader reader(path, smallReads);
    EXPECT_TRUE(CanCopy(reader, {image, {}, {"BWF"}, true, {{oldStart, false, 0, image.size()}}}, kindWave));
}

// The copy of the new tags would reach beyond 4 GiB, where all plays: they go over the old ones.
TEST_F(HugeFiles, GrowUpToFourGiB) {
    const Bytes old = Tag(300, 1), image = Tag(400, 2);
    const int64_t bytes = fourGiB - 300;
    Bytes head = RiffFile(ByteWriter().Add(fmt).Text("data").Le32(0));
    WriteLe32(&head[head.size() - 4], static_cast<uint32_t>(bytes - std::ssize(old) - std::ssize(head)));
    WriteLe32(&head[4], static_cast<uint32_t>(bytes - 8));
    if (!Write(head, bytes, old)) GTEST_SKIP() << "no sparse files here";
    for (const auto& failing : {Operation::cut, Operation::write}) {
        ScriptedFileSystem files;
        const platform::ScopedFileSystem scope(files);
        files.FailAt(failing, failing == Operation::write ? 3 : 0, Fault::failure);
        EXPECT_EQ(EditInPlace(path, image), failing == Operation::cut);
        const bool isNew = failing == Operation::cut;
        const Bytes& wanted = isNew ? image : old;
        EXPECT_EQ(std::filesystem::file_size(path), static_cast<uintmax_t>(bytes + (isNew ? 100 : 0)));
        EXPECT_EQ(Part(path, bytes - std::ssize(old), wanted.size()), wanted);
        EXPECT_EQ(ReadLe32(&Part(path, 4, 4)[0]), static_cast<uint32_t>(bytes + (isNew ? 100 : 0) - 8));
        if (!Write(head, bytes, old)) return;
    }
}

}  // namespace
}  // namespace vantor::test
