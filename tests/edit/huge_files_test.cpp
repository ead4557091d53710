// Files of 4 GiB and about that, nearly all of them holes: what their sizes of 32 bits cannot say.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

#include "edit/copy_file.h"
#include "edit/edit_file.h"
#include "edit/edit_mark.h"
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
    // Another edit was interrupted before that was refused.
    const Bytes shown = Tag(60, 1);
    const CopyMark mark{~0u, 60, ChecksumOf(shown), fourGiB + 70000, {}, {}};
    const Bytes copy = ByteWriter().Chunk("JUNK", BytesOf(mark)).Add(shown);
    const struct {
        const char* id;
        Bytes chunks;
        int64_t bytes;
        WriteAnswer answer = updatedInPlace;
    } cases[] = {
        {"RF64", ByteWriter().Add(Ds64(0)).Add(fmt).Add(padding).Add(data(0xFFFFFFFF)), fourGiB + 70000,
         writeFailed},
        {"RF64", ByteWriter().Add(Ds64(0)).Add(fmt).Add(copy).Add(data(0xFFFFFFFF)), fourGiB + 70000,
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

// What must be one chunk on the way is no longer than one can be; else the tags are written over the old
// ones, and where those are too long, too, not into the file at all.
TEST_F(HugeFiles, ArePlannedWithinChunksOfFourGiB) {
    constexpr int64_t most = fourGiB + 6, half = int64_t{2} << 30;  // an even length, with its header
    using Chunks = std::vector<std::pair<const char*, int64_t>>;    // with their headers
    const auto padded = [&](int64_t bytes) { return Chunks{{"JUNK", half}, {"JUNK", bytes - half}}; };
    const auto tagged = [&](int64_t bytes) {
        return Chunks{{"bext", 100}, {"JUNK", half}, {"JUNK", bytes - half - 100}};
    };
    const Chunks room = {{"JUNK", 60}, {"cue ", 12}}, none;
    const Bytes image = Tag(60, 1);
    const struct {
        Chunks inFront, padding, behind;
        Bytes image;
        std::optional<EditWay> way;
    } cases[] = {
        {none, padded(most), none, image, EditWay::direct},
        {none, padded(most + 2), none, image, std::nullopt},
        {none, tagged(most), none, {}, EditWay::direct},
        {none, tagged(most + 2), none, {}, std::nullopt},
        {none, none, tagged(most), image, EditWay::overwrite},
        {none, none, tagged(most + 2), image, std::nullopt},
        {none, none, tagged(most - 64 - 60), image, EditWay::throughCopy},
        {none, none, tagged(most - 64 - 58), image, EditWay::overwrite},
        {room, tagged(most), none, image, EditWay::throughCopy},
        {room, tagged(most + 2), none, image, EditWay::overwrite},
        {room, tagged(most + 2 + 100), none, image, EditWay::overwrite},
    };
    for (const auto& c : cases) {
        std::vector<std::pair<int64_t, Bytes>> headers;
        const Bytes head = RiffFile(ByteWriter().Add(Ds64(1000)).Add(fmt), "RF64");
        int64_t size = std::ssize(head);
        for (const auto& chunks : {c.inFront, c.padding, Chunks{{"data", 1008}}, c.behind})
            for (const auto& [id, bytes] : chunks) {
                headers.emplace_back(size, ByteWriter().Text(id).Le32(static_cast<uint32_t>(bytes - 8)));
                size += bytes;
            }
        if (!Write(head, size)) GTEST_SKIP() << "no sparse files here";
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        for (const auto& [offset, bytes] : headers)
            file.seekp(offset).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
        file.close();
        FileReader reader(path, smallReads);
        const auto plan = PlanInPlace(reader, {c.image, {}, Replaced(c.image)}, true);
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(plan ? std::optional(plan->way) : std::nullopt, c.way);
        EXPECT_TRUE(!plan || std::ranges::all_of(plan->runs.split, FitsOneHeader));
        EXPECT_NE(Edit(writeMerge | writeAnswerAlone), writeFailed);
    }
}

// A mark of another's making does not make anybody take gigabytes of memory.
TEST_F(HugeFiles, HoldNoImageBeyondTwoGiB) {
    constexpr uint32_t bytes = (uint32_t{1} << 31) + 8;
    uint64_t sum = 0xCBF29CE484222325, factor = 0x100000001B3;  // of so many zeros
    for (uint32_t left = bytes; left > 0; left /= 2, factor *= factor)
        if (left & 1) sum *= factor;
    CopyMark mark;
    mark.imageBytes = bytes;
    mark.checksum = sum;
    const auto head = [&] { return RiffFile(ByteWriter().Add(fmt).Chunk("JUNK", BytesOf(mark))); };
    mark.fileBytes = std::ssize(head()) + bytes;
    if (!Write(head(), mark.fileBytes)) GTEST_SKIP() << "no sparse files here";
    FileReader reader(path, smallReads);
    EXPECT_FALSE(FindMarks(reader, false).copy);
}

}  // namespace
}  // namespace vantor::test
