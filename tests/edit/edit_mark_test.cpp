// The marks that an interrupted edit leaves: what they say is done when the file is as that edit left it, and
// at the least doubt the file stays as it is.

#include "edit/edit_mark.h"

#include <gtest/gtest.h>

#include <functional>

#include "edit/edit_file.h"
#include "edit/in_place_plan.h"
#include "fileio/byte_order.h"
#include "tests/support/chunk_list.h"
#include "tests/support/memory_file_system.h"

namespace vantor::test {
namespace {

const Bytes fmt = ByteWriter().Chunk("fmt ", FmtBody(1, 1, 48000, 16));
const Bytes audio = ByteWriter().Chunk("data", Bytes(1000, 0x5A)), cue = ByteWriter().Chunk("cue ", Bytes(4));
const Bytes info = ByteWriter().Chunk("LIST", ByteWriter().Text("INFO").Text("INAM").Le32(2).Text("ab"));

// After an edit that asks for what is there; when it is told, all changes behind so many fail.
Bytes EditedAgain(const Bytes& file, int mostChanges = -1) {
    MemoryFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.Put("a.wav", file);
    files.changesLeft = mostChanges;
    files.failing = MemoryFileSystem::Failing::forGood;
    MetadataStore changes;
    changes.Set("INFO:INAM", "ab");
    EXPECT_EQ(EditFile({.fileName = "a.wav",
                        .target = "b.wav",
                        .changes = changes,
                        .flags = writeMerge | writeLossless,
                        .forget = [](const std::string&) {}})
                  .answer,
              mostChanges < 0 ? updatedInPlace : writeFailed);
    return *files.Find("a.wav");
}

// An edit that stopped when its new chunks, a list and a tag, had just been shown at the end: the list
// belongs there, the tag to the first padding.
struct Interrupted {
    const Bytes tag = ByteWriter().Chunk("id3 ", Bytes(52, 'x'));
    const int64_t firstPadding = 36, secondPadding = firstPadding + 68 + 12;
    const int64_t end = secondPadding + 100 + std::ssize(audio);
    Bytes image = ByteWriter().Add(info).Add(tag);
    CopyMark mark{
        .schemes = SchemeBits(std::initializer_list<std::string_view>{"INFO", "ID3", paddingScheme}),
        .imageBytes = std::ssize(image),
        .checksum = ChecksumOf(image),
        .fileBytes = end,
        .target = {end, std::ssize(info)},
        .parts = {{firstPadding, std::ssize(tag)}}};
    Bytes inFront{}, inFrontOfMark{}, behind{};

    [[nodiscard]] Bytes File() const {
        const Bytes junk = ByteWriter().Chunk("JUNK", Joined({inFrontOfMark, BytesOf(mark)}));
        return RiffFile(Joined({fmt, Padding(68), cue, Padding(100), audio, inFront, junk, image, behind}));
    }
    [[nodiscard]] Bytes Finished() const {
        return RiffFile(Joined({fmt, tag, Padding(8), cue, Padding(100), audio, info}));
    }
};

TEST(EditMarks, SayWhatIsLeftToDo) {
    Interrupted edit;
    EXPECT_EQ(EditedAgain(edit.File()), edit.Finished());
    edit.mark.schemes = ~0u;  // more than there are
    edit.inFrontOfMark = Bytes(100);
    EXPECT_EQ(EditedAgain(edit.File()), edit.Finished());
    // The list into the other padding.
    edit.mark.target.start = edit.secondPadding;
    EXPECT_EQ(EditedAgain(edit.File()),
              RiffFile(Joined({fmt, edit.tag, Padding(8), cue, info, Padding(100 - info.size()), audio})));
    // All into the two paddings.
    edit.mark.target = {edit.end, 0};
    edit.mark.parts = {{edit.secondPadding, std::ssize(info)}, {edit.firstPadding, std::ssize(edit.tag)}};
    EXPECT_EQ(EditedAgain(edit.File()),
              RiffFile(Joined({fmt, edit.tag, Padding(8), cue, info, Padding(100 - info.size()), audio})));
    // A chunk without a body, here and there.
    const Bytes empty = ByteWriter().Chunk("id3 ", {});
    Interrupted inPadding{.image = Joined({info, empty})}, atEnd{.image = Joined({empty, info})};
    inPadding.mark.parts = {{edit.firstPadding, std::ssize(empty)}};
    EXPECT_EQ(EditedAgain(inPadding.File()),
              RiffFile(Joined({fmt, empty, Padding(60), cue, Padding(100), audio, info})));
    atEnd.mark.target.bytes = std::ssize(empty);
    atEnd.mark.parts = {{edit.firstPadding, std::ssize(info)}};
    EXPECT_EQ(EditedAgain(atEnd.File()),
              RiffFile(Joined({fmt, info, Padding(68 - info.size()), cue, Padding(100), audio, empty})));
    // A pad byte that was missing at the end is missing again.
    const Bytes tag = edit.tag, own = ByteWriter().Text("own ").Le32(5).Text("kept.");
    const Bytes before = RiffFile(Joined({fmt, Padding(68), info, audio, own}));
    const CopyMark mark{edit.mark.schemes & ~SchemeBits(std::initializer_list<std::string_view>{"INFO"}),
                        std::ssize(tag),
                        ChecksumOf(tag),
                        std::ssize(before),
                        {edit.firstPadding, std::ssize(tag)},
                        {}};
    EXPECT_EQ(EditedAgain(Joined({before, {0}, ByteWriter().Chunk("JUNK", BytesOf(mark)), tag})),
              RiffFile(Joined({fmt, tag, Padding(8), info, audio, own})));
    // The checksum, FNV-1a, of a file that another version left.
    const std::string_view text = "foobar";
    EXPECT_EQ(ChecksumOf(Bytes(text.begin(), text.end())), 0x85944171F73967E8);
}

TEST(EditMarks, AreNoneWhenInDoubt) {
    const int64_t tagBytes = Interrupted().mark.parts[0].bytes, infoBytes = std::ssize(info);
    const std::pair<const char*, std::function<void(Interrupted&)>> doubts[] = {
        {"tags of others behind it", [](auto& edit) { edit.behind = info; }},
        {"tags of others in front of it", [](auto& edit) { edit.inFront = info; }},
        {"an image of nothing",
         [](auto& edit) {
             edit.image.clear();
             edit.behind = info;
             edit.mark = {.schemes = edit.mark.schemes,
                          .imageBytes = 0,
                          .checksum = ChecksumOf({}),
                          .fileBytes = edit.end + chunkHeaderBytes + copyMarkBytes + std::ssize(info),
                          .target = {edit.end, 0},
                          .parts = {}};
         }},
        {"another image", [](auto& edit) { edit.image.back() ^= 1; }},
        {"more behind it", [](auto& edit) { edit.behind = cue; }},
        {"less behind it", [](auto& edit) { edit.image.resize(edit.image.size() - 2); }},
        {"it is said to be longer", [](auto& edit) { edit.mark.imageBytes += 2; }},
        {"kept chunks behind where the file ended", [](auto& edit) { edit.mark.fileBytes -= 2; }},
        {"its schemes stand elsewhere", [](auto& edit) { edit.mark.schemes = SchemeBits({}); }},
        {"too few bytes are placed", [](auto& edit) { edit.mark.parts[0].bytes -= 8; }},
        {"none of it belongs to the end", [](auto& edit) { edit.mark.target.bytes = 0; }},
        {"a bit of it belongs to the end",
         [&](auto& edit) {
             edit.mark.target.bytes = 4;
             edit.mark.parts = {{edit.secondPadding, infoBytes + tagBytes - 4}};
         }},
        {"it belongs behind the end", [](auto& edit) { edit.mark.target.start += 2; }},
        {"it belongs to what is kept", [](auto& edit) { edit.mark.target.start = edit.firstPadding + 68; }},
        {"it fits no header",
         [&](auto& edit) {
             edit.mark.target = {edit.firstPadding, 64};
             edit.mark.parts = {{edit.secondPadding, infoBytes + tagBytes - 64}};
         }},
        {"nothing of it belongs to padding",
         [&](auto& edit) {
             edit.mark.target = {edit.firstPadding, 0};
             edit.mark.parts = {{edit.secondPadding, infoBytes + tagBytes}};
         }},
        {"two parts for one place",
         [&](auto& edit) {
             edit.mark.target = {edit.end, 0};
             edit.mark.parts = {{edit.secondPadding, infoBytes}, {edit.secondPadding, tagBytes}};
         }},
        {"part and rest for one place", [](auto& edit) { edit.mark.target.start = edit.firstPadding; }},
        {"a part for what is kept", [](auto& edit) { edit.mark.parts[0].start += 68; }},
        {"a part for the middle of padding", [](auto& edit) { edit.mark.parts[0].start += 2; }},
        {"a part that fits no header",
         [&](auto& edit) {
             edit.mark.target.bytes -= 4;
             edit.mark.parts[0].bytes += 4;
         }},
        {"a part without a header",
         [&](auto& edit) {
             edit.mark.target.bytes = infoBytes + tagBytes - 4;
             edit.mark.parts = {{edit.firstPadding, 4}};
         }},
    };
    for (const auto& [what, cast] : doubts) {
        Interrupted edit;
        cast(edit);
        EXPECT_EQ(EditedAgain(edit.File()), edit.File()) << what;
    }
    // What hides it, or a part of it, is not among what its edit replaces.
    const Bytes tag = Interrupted().tag;
    const uint32_t tags = SchemeBits(std::initializer_list<std::string_view>{"ID3"});
    const uint32_t padding = SchemeBits(std::initializer_list<std::string_view>{paddingScheme});
    for (const auto& [schemes, image] : {std::pair(tags, tag), {tags | padding, Joined({tag, cue})}}) {
        const int64_t start = 12 + std::ssize(fmt), bytes = std::ssize(image);
        CopyMark mark{schemes, bytes, ChecksumOf(image), 0, {start, bytes}, {}};
        const auto file = [&] {
            const Bytes junk = ByteWriter().Chunk("JUNK", BytesOf(mark));
            return RiffFile(Joined({fmt, tag, junk, tag, cue, audio, info}));
        };
        mark.fileBytes = std::ssize(file());
        EXPECT_EQ(EditedAgain(file()), file()) << schemes;
    }
    // No mark at all.
    Bytes other = Interrupted().File();
    other[static_cast<size_t>(Interrupted().end) + 8 + 12] ^= 1;
    EXPECT_EQ(EditedAgain(other), other);
}

// More chunks than that go where new ones go.
TEST(EditMarks, NameAFewPlaces) {
    ChunkImages images{.main = {}, .tail = {}, .replaced = {"BWF"}};
    ByteWriter chunks, image;
    for (int i = 0; i < mostParts + 2; ++i) {
        const auto oldStart = 12 + std::ssize(chunks.Done());
        chunks.Chunk("bext", Bytes(12, 1)).Add(cue);
        image.Chunk("bext", Bytes(12, 2));
        images.places.push_back({oldStart, false, image.Size() - 20, image.Size()});
    }
    images.main = image;
    MemoryFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.Put("a.wav", RiffFile(Joined({chunks, fmt, audio})));
    FileReader reader("a.wav", {});
    const auto plan = PlanInPlace(reader, images, false);
    ASSERT_TRUE(plan);
    EXPECT_EQ(std::ssize(plan->placed), mostParts);
    EXPECT_EQ(plan->targetBytes, 2 * 20);
}

// A file full of marks does not cost as many looks at as many copies.
TEST(EditMarks, BeyondAFewAreNotLookedAt) {
    for (const int others : {15, 16}) {
        Interrupted edit;
        CopyMark wrong = edit.mark;
        ++wrong.checksum;
        edit.mark.parts.clear();
        edit.mark.target.bytes = edit.mark.imageBytes;
        ByteWriter chunks;
        for (int i = 0; i < others; ++i)
            chunks.Chunk("JUNK", BytesOf(wrong));
        chunks.Add(fmt).Add(audio);
        edit.mark.fileBytes = edit.mark.target.start = 12 + std::ssize(chunks.Done());
        const Bytes file =
            RiffFile(Joined({chunks, ByteWriter().Chunk("JUNK", BytesOf(edit.mark)), edit.image}));
        EXPECT_EQ(EditedAgain(file) == file, others == 16) << others;
    }
}

TEST(EditMarks, OfPaddingAreCleanedAway) {
    const auto fileWith = [](std::string_view text) {
        return RiffFile(Joined({fmt, ByteWriter().Chunk("JUNK", ByteWriter().Text(text)),
                                ByteWriter().Chunk("EAN1", Bytes(20, 1)), audio, info}));
    };
    EXPECT_EQ(EditedAgain(fileWith("VWCLEAN1")), fileWith(std::string(8, '\0')));
    EXPECT_EQ(EditedAgain(fileWith("VWCLEAN1 and old tags.")), fileWith(std::string(22, '\0')));
    // Behind the end that the size in front tells, where the file could not be cut.
    const Bytes whole = RiffFile(Joined({fmt, audio, info}));
    EXPECT_EQ(EditedAgain(Joined({whole, ByteWriter().Chunk("JUNK", ByteWriter().Text("VWCLEAN1"))})), whole);
    // The mark goes last: whoever is stopped goes on the next time.
    const auto gapAndEnd = [](std::string_view text, const Bytes& end) {
        return RiffFile(Joined({fmt, ByteWriter().Chunk("JUNK", ByteWriter().Text(text)), audio, info, end}));
    };
    for (int changes = 0; changes < 6; ++changes)
        EXPECT_EQ(EditedAgain(EditedAgain(gapAndEnd("VWCLEAN1", Padding(50)), changes)),
                  gapAndEnd(std::string(8, '\0'), {}))
            << changes;
    for (const auto* none : {"VWCL", "VWCLEAN2", "!VWCLEAN1"})
        EXPECT_EQ(EditedAgain(fileWith(none)), fileWith(none));
}

}  // namespace
}  // namespace vantor::test
