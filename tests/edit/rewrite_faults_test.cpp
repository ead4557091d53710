// Every write, seek and cut of a rewrite fails in turn, once or for good (as when the process is killed
// there): the call says so, and the audio and all that is kept are intact in the source.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

#include "edit/copy_file.h"
#include "fileio/byte_order.h"
#include "formats/audio_format.h"
#include "tests/edit/in_place_edit.h"
#include "tests/support/byte_writer.h"
#include "tests/support/chunk_list.h"
#include "tests/support/memory_file_system.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

Bytes Tag(std::string_view id, size_t bytes, uint8_t fill) {
    return ByteWriter().Text(id).Le32(static_cast<uint32_t>(bytes - 8)).Fill(bytes - 8, fill);
}

const Bytes oldTags = ByteWriter().Add(Tag("bext", 300, 1)).Add(Tag("iXML", 100, 1));
const Bytes image = ByteWriter().Add(Tag("bext", 200, 2)).Add(Tag("id3 ", 60, 2));
const Bytes largeImage = ByteWriter().Add(Tag("bext", 500, 2)).Add(Tag("id3 ", 9000, 2));

struct Layout {
    const char* name;
    Bytes inFront;  // of the audio
    Bytes behind;
    Bytes image;
};
const Layout layouts[] = {
    {"gap", oldTags, {}, image},
    {"gap and trailing run", oldTags, oldTags, image},
    {"shrinking at the end", {}, oldTags, image},
    {"growing at the end", {}, oldTags, largeImage},
    {"appended", {}, {}, largeImage},
    {"appended, old ones blanked", oldTags, {}, largeImage},
    {"removed", oldTags, oldTags, {}},
    {"appended to an odd end", {}, ByteWriter().Text("odd ").Le32(3).Text("abc"), image},
};

Bytes FileOf(const Layout& layout) {
    return RiffFile(ByteWriter()
                        .Chunk("fmt ", FmtBody(1, 1, 48000, 16))
                        .Add(layout.inFront)
                        .Chunk("data", Bytes(20000, 0x5A))  // two blocks are never read at once
                        .Chunk("cue ", Bytes(28, 3))
                        .Add(layout.behind));
}

// Kept, new or old metadata, padding, or the zeros of a file that was growing: nothing else ever shows.
void ExpectWalkable(const Bytes& file, const std::vector<ListedChunk>& kept, const std::string& what) {
    auto chunks = KeptChunks(file);
    std::erase_if(chunks, [](const ListedChunk& chunk) { return chunk.id == std::string(4, '\0'); });
    EXPECT_EQ(chunks, kept) << what;
    for (const auto& chunk : ChunkList(file))
        if (chunk.id == "bext" || chunk.id == "id3 " || chunk.id == "iXML") {
            EXPECT_EQ(std::ranges::count(chunk.body, chunk.body[0]), std::ssize(chunk.body)) << what;
        }
}

// With padding behind it where the file could not be cut, of zeros but for a mark.
void ExpectEdited(const std::string& path, const Bytes& sound, bool mayBeLonger, const std::string& what) {
    auto edited = ReadWholeFile(path);
    EXPECT_EQ(RiffSizeField(edited), edited.size() - 8) << what;
    if (mayBeLonger && edited.size() > sound.size()) {
        const Bytes behind(edited.begin() + std::ssize(sound), edited.end());
        EXPECT_EQ(FourCharacters(behind.data()), "JUNK") << what;
        EXPECT_TRUE(std::all_of(behind.begin() + std::min<int64_t>(16, std::ssize(behind)), behind.end(),
                                [](uint8_t byte) { return byte == 0; }))
            << what;
        edited.resize(sound.size());
        std::copy_n(sound.begin() + 4, 4, edited.begin() + 4);
    }
    EXPECT_EQ(edited, sound) << what;
}

TEST(RewriteFaults, InPlaceUpdatesKeepTheFileWalkable) {
    for (const auto& layout : layouts) {
        const TempFolder folder;
        const auto file = FileOf(layout);
        ASSERT_TRUE(EditInPlace(folder.Write("a.wav", file), layout.image));
        const auto sound = ReadWholeFile(folder.Path("a.wav"));
        for (const auto& order : faultOrders)
            for (int64_t index = 0;; ++index) {
                const auto path = folder.Write("a.wav", file);
                ScriptedFileSystem files;
                const platform::ScopedFileSystem scope(files);
                files.FailAt(order, index);
                const bool succeeded = EditInPlace(path, layout.image);
                const bool wasMet = files.Count(order.operation) > index;
                const auto what = layout.name + std::string(", ") + order.name + " " + std::to_string(index);
                ExpectWalkable(ReadWholeFile(path), KeptChunks(file), what);
                if (!wasMet) {
                    EXPECT_TRUE(succeeded) << what;
                    break;
                }
                // What fails once is done again, and where the end cannot be cut padding takes its place.
                EXPECT_FALSE(succeeded && order.operation == Operation::write && order.andLater) << what;
                EXPECT_TRUE(succeeded || order.operation != Operation::cut) << what;
                if (succeeded)
                    ExpectEdited(path, sound, order.operation == Operation::cut && order.andLater, what);
            }
    }
}

// Without all that it may have to write back, an edit does not begin.
TEST(RewriteFaults, WhatCannotBeReadIsNotPlanned) {
    std::vector<Layout> all(std::begin(layouts), std::end(layouts));
    all.push_back({"no room but that of the old ones", oldTags, Bytes(8, 'T'), image});
    for (const auto& layout : all) {
        const TempFolder folder;
        const auto path = folder.Write("a.wav", FileOf(layout));
        const auto saved = [&] {
            FileReader reader(path, smallReads);
            const auto plan = PlanInPlace(reader, {layout.image, {}, Replaced(layout.image)}, false);
            std::vector<std::pair<int64_t, Bytes>> pieces;
            if (!plan) return pieces;
            pieces.emplace_back(plan->runs.fileSize, plan->image);
            for (const auto& [offset, bytes] : plan->saved)
                pieces.emplace_back(offset, bytes);
            return pieces;
        };
        const auto sound = saved();
        EXPECT_FALSE(sound.empty());
        for (const auto& order : faultOrders)
            for (int64_t index = 0; order.operation == Operation::read && index < 8; ++index) {
                ScriptedFileSystem files;
                const platform::ScopedFileSystem scope(files);
                files.FailAt(order, index);
                const auto there = saved();
                EXPECT_TRUE(there.empty() || there == sound)
                    << layout.name << ", " << order.name << " " << index;
            }
    }
}

// What the disk may not have is not undone.
TEST(RewriteFaults, AnUndoThatCannotBeFlushedIsNone) {
    const TempFolder folder;
    const auto path = folder.Write("a.wav", FileOf(layouts[5]));
    std::optional<InPlacePlan> plan;
    {
        FileReader reader(path, smallReads);
        plan = PlanInPlace(reader, {largeImage, {}, Replaced(largeImage)}, false);
    }
    ASSERT_TRUE(plan);
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    FileWriter writer(path.c_str(), {.mode = 0, .openExisting = true, .mustExist = true});
    files.FailAt(Operation::flush, 0, Fault::failure, true);
    EXPECT_EQ(UpdateInPlace(writer, *plan), InPlaceResult::unfinished);
}

TEST(RewriteFaults, ACopyThatSucceedsIsWholeAndLeavesTheSource) {
    const auto file = FileOf(layouts[1]);
    const TempFolder folder;
    const auto path = folder.Write("a.wav", file), target = folder.Path("b.wav");
    const auto writeCopy = [&](FileReader& reader) {
        return WriteCopy(reader, target, {largeImage, image, Replaced(image)}, kindWave);
    };
    FileReader soundReader(path, smallReads);
    ASSERT_TRUE(writeCopy(soundReader));
    const auto copy = ReadWholeFile(target);
    for (const auto& order : faultOrders)
        for (int64_t index = 0;; ++index) {
            ScriptedFileSystem files;
            const platform::ScopedFileSystem scope(files);
            FileReader reader(path, smallReads);
            const int64_t before = files.Count(order.operation);
            files.FailAt(order, index);
            const bool succeeded = writeCopy(reader);
            const bool wasMet = files.Count(order.operation) > before + index;
            EXPECT_EQ(ReadWholeFile(path), file);
            EXPECT_TRUE(!succeeded || ReadWholeFile(target) == copy) << order.name << " " << index;
            const bool isSerious = order.operation == Operation::write || order.operation == Operation::flush;
            EXPECT_FALSE(succeeded && wasMet && isSerious) << order.name;
            EXPECT_TRUE(succeeded || wasMet) << order.name;
            if (!wasMet) break;
        }
}

// An edit had begun to add padding: what is there of its header is too short for a chunk.
TEST(RewriteFaults, BytesThatCannotBeCutOffArePaddingOrStay) {
    const auto whole =
        RiffFile(ByteWriter().Chunk("fmt ", FmtBody(1, 1, 48000, 16)).Chunk("data", Bytes(30)));
    const Bytes growth = ByteWriter().Text("JUNK").Le32(60);
    for (const int64_t bytes : {3, 8}) {
        const TempFolder folder;
        const auto file = ByteWriter().Add(whole).Add({growth.begin(), growth.begin() + bytes}).Done();
        const auto path = folder.Write("a.wav", file);
        ScriptedFileSystem files;
        const platform::ScopedFileSystem scope(files);
        files.FailAt(Operation::cut, 0, Fault::failure, true);
        EXPECT_TRUE(EditInPlace(path, {}));
        const auto edited = ReadWholeFile(path);
        EXPECT_EQ(edited.size(), file.size());
        EXPECT_EQ(RiffSizeField(edited), (bytes < 8 ? whole : file).size() - 8);
        EXPECT_EQ(ChunkList(edited).size(), bytes < 8 ? 2u : 3u);
    }
}

// Whatever the disk keeps of a copy, it is a copy when it is the right bytes alone.
TEST(RewriteFaults, ACopyThatReadsBackAsAnotherIsNone) {
    const Bytes fmt = ByteWriter().Chunk("fmt ", FmtBody(1, 1, 48000, 16)), kept = Tag("abcd", 20, 3);
    const Bytes audio = ByteWriter().Chunk("data", Bytes(30, 0x5A));
    const Bytes unfinished = ByteWriter().Text("data").Le32(0).Fill(30, 0x5A);
    const Bytes ds64 = ByteWriter().Chunk("ds64", ByteWriter().Zeros(8).Le64(30).Zeros(12));
    const Bytes oldTag = Tag("bext", 40, 1), newTag = Tag("bext", 60, 2), tail = Tag("ID3 ", 50, 2);
    const auto joined = [](std::initializer_list<Bytes> pieces) {
        ByteWriter all;
        for (const Bytes& piece : pieces)
            all.Add(piece);
        return all.Done();
    };
    const Bytes tagLast = RiffFile(joined({fmt, audio, oldTag}));
    const auto place =
        ChunkPlace{static_cast<int64_t>(tagLast.size() - oldTag.size()), false, 0, newTag.size()};
    const std::vector<std::string_view> schemes = {"BWF", "ID3"};
    const struct {
        Bytes file;
        ChunkImages images;
        int32_t kind = kindWave;
    } cases[] = {
        {RiffFile(joined({fmt, audio, kept})), {newTag, {}, schemes}},
        {RiffFile(joined({fmt, audio, kept})), {newTag, tail, schemes}},
        {RiffFile(joined({fmt, unfinished})), {newTag, tail, schemes}},
        {RiffFile(joined({fmt, ByteWriter().Chunk("data", {})})), {newTag, tail, schemes}},
        {tagLast, {newTag, {}, schemes, true, {place}}},
        {tagLast, {}},
        {joined({RiffFile(joined({fmt, joined({audio, Tag("odd ", 11, 3)}), Tag("cue ", 28, 3)})),
                 Bytes(20, 'x')}),
         {newTag, {}, schemes}},
        {RiffFile(joined({ds64, fmt, audio, kept}), "RF64"), {newTag, {}, schemes}, kindRf64},
    };
    for (const auto& [file, images, kind] : cases) {
        size_t copyBytes = 0;
        const auto copies = [&](const std::function<void(Bytes&)>& spoil) {
            MemoryFileSystem files;
            const platform::ScopedFileSystem scope(files);
            files.Put("a.wav", file);
            files.afterFlush = spoil;
            FileReader reader("a.wav", smallReads);
            return WriteCopy(reader, "b.wav", images, kind);
        };
        EXPECT_TRUE(copies([&](const Bytes& copy) { copyBytes = copy.size(); }));
        ASSERT_GT(copyBytes, file.size() - 1);
        EXPECT_FALSE(copies([](Bytes& copy) { copy.pop_back(); }));
        EXPECT_FALSE(copies([](Bytes& copy) { copy.push_back(0); }));
        for (size_t at = 0; at < copyBytes; ++at)
            EXPECT_FALSE(copies([&](Bytes& copy) { copy[at] ^= 0x10; })) << at;
    }
}

// Nor is one that is another and cannot be compared to its end, or whose source cannot be walked.
TEST(RewriteFaults, ACopyOfWhatCannotBeReadIsNone) {
    const auto file = FileOf(layouts[1]);
    const ChunkImages images{largeImage, {}, Replaced(largeImage)};
    const TempFolder folder;
    const auto path = folder.Write("a.wav", file), target = folder.Path("b.wav");
    bool wasMet = true;
    for (int64_t index = 0; wasMet; ++index) {
        ScriptedFileSystem files;
        const platform::ScopedFileSystem scope(files);
        FileReader asked(path, smallReads), reader(path, smallReads);
        files.FailAt(Operation::read, index, Fault::failure, true);
        EXPECT_FALSE(CanCopy(asked, images, kindWave) && asked.HasMissedBytes()) << index;
        files.Reset();
        files.FailAt(Operation::read, index, Fault::failure);
        files.BeforeEach([&] {
            if (files.Count(Operation::flush) == 0) return;
            files.BeforeEach({});
            auto copy = ReadWholeFile(target);
            copy.back() ^= 1;
            WriteWholeFile(target, copy);
        });
        EXPECT_FALSE(WriteCopy(reader, target, images, kindWave)) << index;
        wasMet = files.Count(Operation::read) > index;
    }
}

// The cost of an edit is that of its chunks, whatever the file's size; growing and shrinking do not pile
// up.
TEST(RewriteFaults, EditsOfHugeFilesWriteFewBytes) {
    TempFolder folder;
    constexpr int64_t audioBytes = int64_t{6} << 30;
    const Bytes ds64 = ByteWriter().Chunk(
        "ds64", ByteWriter().Le64(audioBytes + 200).Le64(audioBytes).Le64(audioBytes / 2).Le32(0));
    const Bytes head = RiffFile(
        ByteWriter().Add(ds64).Chunk("fmt ", FmtBody(1, 1, 48000, 16)).Text("data").Le32(0xFFFFFFFF), "RF64");
    const auto path = folder.Write("huge.wav", head);
    std::error_code error;
    std::filesystem::resize_file(path, static_cast<uintmax_t>(audioBytes) + head.size(), error);
    if (error) GTEST_SKIP() << "no sparse files here: " << error.message();
    const auto bareBytes = std::filesystem::file_size(path);
    for (int round = 0; round < 100; ++round) {
        ScriptedFileSystem files;
        const platform::ScopedFileSystem scope(files);
        const Bytes& edit = round % 2 ? image : largeImage;
        ASSERT_TRUE(EditInPlace(path, edit, true));
        EXPECT_LT(files.BytesWritten(), 3 * static_cast<int64_t>(largeImage.size()) + 200);
        EXPECT_EQ(std::filesystem::file_size(path), bareBytes + edit.size());
    }
}

}  // namespace
}  // namespace vantor::test
