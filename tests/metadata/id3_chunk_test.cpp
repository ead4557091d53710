#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "metadata/read/id3_entries.h"
#include "metadata/read/id3_genres.h"
#include "metadata/read/id3_picture.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/id3_tag_writer.h"
#include "tests/metadata/store_entries.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

// The tag inside a chunk that a reader accepts; empty when nothing was built.
Bytes BuildTag(const MetadataStore& store, const Bytes& oldTag = {}, FileReader* source = nullptr) {
    ChunkImage image = {0xAA};
    const int appended = BuildId3Chunk(image, store, source, oldTag);
    EXPECT_EQ(image.size(), 1u + static_cast<size_t>(appended));
    if (appended == 0) return {};
    EXPECT_EQ(std::string(image.begin() + 1, image.begin() + 5), "id3 ");
    Bytes tag(image.begin() + 9, image.end());
    MetadataStore read;
    EXPECT_TRUE(ReadId3Chunk(tag, read, 0));
    return tag;
}

MetadataStore ReadStore(const Bytes& tag, int64_t fileOffset = 0) {
    MetadataStore store;
    ReadId3Tag(tag, store, fileOffset);
    return store;
}

// What a tag holds, frame by frame: id, status and format flags, body.
using Frames = std::vector<std::string>;
Frames FramesOf(const Bytes& tag) {
    Frames frames;
    Id3FrameWalk walk(tag);
    for (Id3Frame frame; walk.Next(frame);)
        frames.push_back(frame.id + TextOf(ByteWriter().U8(frame.status).U8(frame.format)) +
                         std::string(frame.body.begin(), frame.body.end()));
    return frames;
}

// A tag with every kind of frame that has a key, and some that have none.
Bytes FullTag(int version) {
    const auto chapter = ByteWriter().Text("c1\0"s).Be32(0).Be32(1500).Be64(~0ull).Add(
        Id3TagWriter(version).Text("TIT2", std::string(200, 'i')).Body());
    return Id3TagWriter(version)
        .Text("TIT2", "Title")
        .Text("TIT2", "Second title")
        .Frame("TPE1", BytesOf("\1\xFF\xFE\x41\x01"s))
        .Text("TCON", "(17)(4)Own")
        .Text("TXXX", "VANTOR\0tags"s)
        .Text("TXXX", "\0nameless"s)
        .Text("TXXX", "VANTOR:002\0other"s)
        .Text("TXXX", "VANTOR\0more tags"s)
        .Text("COMM", "XXX\0plain"s)
        .Text("COMM", "deu\0Wort"s)
        .Text("COMM", "eng002\0described"s)
        .Text("USLT", "eng\0la\nla"s)
        .Frame("WXXX", BytesOf("\0home\0http://a.b/"s))
        .Frame("UFID", BytesOf("http://id\0abc"s))
        .Frame("UFID", BytesOf("binary\0\1\2"s))
        .Frame("PRIV", BytesOf("maker\0\1\2"s))
        .Frame("ETCO", ByteWriter().U8(2).U8(2).Be32(0).U8(77).Be32(9))
        .Frame("CTOC", BytesOf("toc\0\3\1c1\0"s))
        .Frame("CHAP", chapter)
        .Frame("WCOM", BytesOf("http://shop"))
        .Frame("GEOB", BytesOf("\0a/b\0f\0d\0\xFF\0\xFF\xE0"s))
        .Tag();
}

TEST(Id3Chunk, IsNotBuiltWithoutEntriesOrFrames) {
    EXPECT_TRUE(BuildTag(StoreOf(Listed("", "INFO:INAM=x|ID3X:TIT2=x|ID3:TIT2="))).empty());
    EXPECT_TRUE(BuildTag({}, Id3TagWriter(3).Text("TIT2", "removed").Tag()).empty());
}

TEST(Id3Chunk, WritesTextsAsUtf8OfVersion24) {
    const auto entries = Listed("ID3:",
                                "TIT2=\u0141\u00F3d\u017A|COMM=c|COMM:deu:d=e|COMM:no language=f"
                                "|TXXX:VANTOR=g|TPE1=caf\xE9|UFID:o=h");
    const auto tag = BuildTag(StoreOf(entries));
    const Frames expected = {"COMM\0\0\3eng\0c"s,
                             "COMM\0\0\3deud\0e"s,
                             "COMM\0\0\3XXXno language\0f"s,
                             "TIT2\0\0\3\u0141\u00F3d\u017A"s,
                             "TPE1\0\0\3caf\u00E9"s,
                             "TXXX\0\0\3VANTOR\0g"s,
                             "UFID\0\0o\0h"s};
    EXPECT_EQ(FramesOf(tag), expected);
    EXPECT_EQ(tag.size() % 2, 0u);
    EXPECT_EQ(Bytes(tag.begin(), tag.begin() + 6), ByteWriter().Text("ID3").U8(4).U8(0).U8(0).Done());
}

TEST(Id3Chunk, GivesTheSameStoreWithoutTheOldTag) {
    auto store = ReadStore(FullTag(4));
    for (int i = 0; i < 1200; ++i)
        store.Set(i == 0 ? "ID3:TCOM" : NumberedKey("ID3:TCOM", static_cast<size_t>(i) + 1),
                  std::to_string(i));
    const auto again = ReadStore(BuildTag(store));
    // What a value does not make up needs the old tag.
    for (const char* key : {"ID3:UFID:binary", "ID3:PRIV:maker", "ID3:CTOC", "ID3:CHAP", "ID3:CHAP:001"})
        EXPECT_TRUE(store.Remove(key)) << key;
    EXPECT_EQ(EntriesOf(again), EntriesOf(store));
}

TEST(Id3Chunk, KeepsUnchangedFramesAndOrderInAnEdit) {
    const auto oldTag = Id3TagWriter(4)
                            .Frame("TPE1", BytesOf("\0one\0two"s))
                            .Text("TIT2", "first")
                            .Text("TXXX", "a:002\0x"s)
                            .Text("TIT2", "second")
                            .Text("TALB", "gone")
                            .Text("TXXX", "a\0y"s)
                            .Tag();
    auto store = ReadStore(oldTag);
    EXPECT_EQ(store.Value("ID3:TPE1"), "one; two");
    store.Set("ID3:TIT2", "edited");
    store.Set("ID3:TXXX:a:002", "z");
    store.Set("ID3:TRCK", "7");
    store.Remove("ID3:TALB");
    const auto tag = BuildTag(store, oldTag);
    const Frames expected = {"TPE1\0\0\0one\0two"s, "TIT2\0\0\3edited"s, "TXXX\0\0\3a:002\0z"s,
                             "TIT2\0\0\0second"s,   "TXXX\0\0\0a\0y"s,   "TRCK\0\0\3\x37"s};
    EXPECT_EQ(FramesOf(tag), expected);
    EXPECT_EQ(EntriesOf(ReadStore(tag)), EntriesOf(store));
}

TEST(Id3Chunk, DropsWhatTheStoreNoLongerHas) {
    auto store = ReadStore(FullTag(3));
    for (const char* key : {"ID3:PRIV:maker", "ID3:CHAP", "ID3:CTOC", "ID3:UFID:binary", "ID3:COMM:deu"})
        EXPECT_TRUE(store.Remove(key)) << key;
    const auto again = ReadStore(BuildTag(store, FullTag(3)));
    store.Remove("ID3:CHAP:001");
    EXPECT_EQ(EntriesOf(again), EntriesOf(store));
}

TEST(Id3Chunk, CarriesFramesTheStoreCannotHold) {
    const auto oldTag = Id3TagWriter(3)
                            .Frame("GEOB", BytesOf("object"), 0xE000)
                            .Frame("RVAD", BytesOf("ggroup"), 0x0020)
                            .Frame("TIT2", BytesOf("\0\0\1\0MGzipped"s), 0x00E0)
                            .Frame("TALB", BytesOf("\0\0\1\0zipped"s), 0x0080)
                            .Frame("AENC", BytesOf("unknown flag"), 0x0001)
                            .Frame("ab c", BytesOf("no id"))
                            .Tag();
    const Frames expected = {"GEOB\x70\0object"s, "RVAD\0\x40ggroup"s, "TIT2\0\x4DGM\0\0\2\0zipped"s};
    // The album that cannot be read gives way to the one that was entered.
    auto built = FramesOf(BuildTag(StoreOf({{"ID3:TALB", "new"}}), oldTag));
    ASSERT_EQ(built.size(), 4u);
    EXPECT_TRUE(built.back().starts_with("TALB"));
    built.pop_back();
    EXPECT_EQ(built, expected);
    EXPECT_EQ(FramesOf(BuildTag({}, oldTag)).size(), 4u);  // even when no key is left
}

TEST(Id3Chunk, CarriesA24FrameUnsynchronisedOnItsOwn) {
    // Its size counts the bytes as stored; only the flag of the tag is missing here.
    auto oldTag = Id3TagWriter(4)
                      .Frame("GEOB", BytesOf("\xFF\0\xE0"s), 0x0002)
                      .Add(Unsynchronise(Id3TagWriter(4).Frame("MCDI", BytesOf("\xFF\xE0"s)).Body()))
                      .Tag();
    oldTag[5] = 0x80;
    const Frames expected = {"GEOB\0\2\xFF\0\xE0"s, "MCDI\0\0\xFF\xE0"s};
    EXPECT_EQ(FramesOf(BuildTag({}, oldTag)), expected);
}

TEST(Id3Chunk, ConvertsFramesInsideChapters) {
    const auto tag = BuildTag(ReadStore(FullTag(3)), FullTag(3));
    const auto frames = FramesOf(tag);
    const auto chapter =
        std::ranges::find_if(frames, [](const std::string& frame) { return frame.starts_with("CHAP"); });
    ASSERT_NE(chapter, frames.end());
    const auto inner = Id3TagWriter(4).Text("TIT2", std::string(200, 'i')).Body();
    EXPECT_EQ(chapter->substr(6 + 19), TextOf(inner));
}

TEST(Id3Chunk, LeavesDocumentsToTheirOwnChunks) {
    const auto oldTag = Id3TagWriter(3)
                            .Text("TIT2", "t")
                            .Frame("PRIV", BytesOf("IXML\0<BWFXML><NOTE>n</NOTE></BWFXML>"s))
                            .Frame("PRIV", BytesOf("XMP\0<x:xmpmeta/>"s))
                            .Tag();
    const auto store = ReadStore(oldTag);
    EXPECT_EQ(EntriesOf(store), Listed("", "ID3:TIT2=t|IXML:NOTE=n"));
    EXPECT_EQ(FramesOf(BuildTag(store, oldTag)), (Frames{"TIT2\0\0\0t"s}));
}

TEST(Id3Chunk, MovesVersion22ToItsSuccessor) {
    const auto oldTag = Id3TagWriter(2)
                            .Text("TT2", "title")
                            .Text("TP1", "artist")
                            .Text("TCO", "(17)")
                            .Frame("PIC", BytesOf("\0PNG\3cover\0picture"s))
                            .Frame("GEO", BytesOf("object"))
                            .Frame("LNK", BytesOf("dropped"))
                            .Tag();
    auto store = ReadStore(oldTag, 40);
    store.Set("ID3:TPE1", "entered");
    const Frames expected = {"TIT2\0\0\0title"s, "TCON\0\0\0(17)"s, "APIC\0\0\3image/png\0\3cover\0picture"s,
                             "GEOB\0\0object"s, "TPE1\0\0\3entered"s};
    EXPECT_EQ(FramesOf(BuildTag(store, oldTag)), expected);
    // The same from the entries alone.
    const Frames fromStore = {"TCON\0\0\3Rock"s, "TPE1\0\0\3entered"s, "TIT2\0\0\3title"s};
    EXPECT_EQ(FramesOf(BuildTag(store)), fromStore);
}

class Id3PictureCopy : public testing::Test {
  protected:
    Id3PictureCopy() : path_(folder_.Write("picture.bin", BytesOf("0123456789picture!"))) {}
    Bytes Build(const std::string& descriptor, const Bytes& oldTag = {}) {
        FileReader source(path_, {});
        return BuildTag(StoreOf({{"ID3:APIC", descriptor}}), oldTag, &source);
    }

    TempFolder folder_;
    std::string path_;
};

TEST_F(Id3PictureCopy, TakesTheBytesThatTheDescriptorNames) {
    EXPECT_EQ(FramesOf(Build("mime:image/png desc:a b type:3 offset:10 length:8")),
              (Frames{"APIC\0\0\3image/png\0\3a b\0picture!"s}));
    EXPECT_EQ(FramesOf(Build("type:0 offset:17 length:1")), (Frames{"APIC\0\0\3\0\0\0!"s}));
    for (const char* descriptor :
         {"type:0 offset:10 length:9", "type:0 offset:19 length:0",
          "type:0 offset:18446744073709551615 length:2", "type:0 offset:1 length:18446744073709551615",
          "type:200 offset:1 length:1", "C:/cover.png"})
        EXPECT_TRUE(Build(descriptor).empty()) << descriptor;
    EXPECT_TRUE(BuildTag(StoreOf({{"ID3:APIC", "type:0 offset:1 length:1"}})).empty());  // no source
}

TEST_F(Id3PictureCopy, KeepsThePicturesOfTheOldTag) {
    for (const uint8_t flags : {uint8_t{0}, uint8_t{0x80}}) {
        const auto oldTag = Id3TagWriter(3)
                                .Frame("APIC", BytesOf("\0image/png\0\3\0\xFF\0\xFF\xE0"s))
                                .Frame("APIC", BytesOf("\0image/png\0\4\0other"s))
                                .Tag(flags);
        auto store = ReadStore(oldTag, 5000);
        ASSERT_EQ(store.Count(), 2u);
        const Frames expected = {"APIC\0\0\0image/png\0\3\0\xFF\0\xFF\xE0"s,
                                 "APIC\0\0\0image/png\0\4\0other"s};
        EXPECT_EQ(FramesOf(BuildTag(store, oldTag)), expected);
        // Another picture in its place; the second one removed.
        EXPECT_EQ(FramesOf(Build("type:3 offset:10 length:7", oldTag)), (Frames{"APIC\0\0\3\0\3\0picture"s}));
    }
}

TEST(Id3Genres, AreWrittenAsTheyAreRead) {
    for (int i = 0; i < 192; ++i) {
        const auto name = GenreNames(std::to_string(i));
        EXPECT_FALSE(name.empty() || name == std::to_string(i)) << i;
        EXPECT_EQ(GenreNames(ContentTypeOfNames(name)), name);
    }
    for (const char* name : {"(17)", "((", "(", "a (17)", "Rock; (17)"})
        EXPECT_EQ(GenreNames(ContentTypeOfNames(name)), name);
}

// Whatever a whole or a damaged tag holds, one rewrite keeps it and a second one changes nothing.
TEST(Id3Chunk, GivesTheSameStoreAgain) {
    std::mt19937 random(23);
    for (const int version : {3, 4})
        for (int i = 0; i < 1500; ++i) {
            auto oldTag = FullTag(version);
            for (int change = 0; change < i % 7; ++change)
                oldTag[10 + random() % (oldTag.size() - 10)] = static_cast<uint8_t>(random());
            const auto store = ReadStore(oldTag);
            const auto once = BuildTag(store, oldTag);
            ASSERT_EQ(EntriesOf(ReadStore(once)), EntriesOf(store)) << "round " << i;
            ASSERT_EQ(BuildTag(ReadStore(once), once), once) << "round " << i;
        }
}

}  // namespace
}  // namespace vantor::test
