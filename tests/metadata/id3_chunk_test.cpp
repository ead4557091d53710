// What an edit makes of ID3v2 tags: which version, which frames in which order, and pictures.
#include <gtest/gtest.h>

#include <random>

#include "metadata/read/id3_entries.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/id3_support.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

// The tag inside a chunk that the reader accepts; empty when nothing was built.
Bytes BuildTag(const MetadataStore& store, const std::vector<Bytes>& oldTags, FileReader* source = nullptr) {
    ChunkImage image = {0xAA};
    const int appended = BuildId3Chunk(image, store, source, {oldTags, {}});
    EXPECT_EQ(image.size(), 1u + static_cast<size_t>(appended));
    if (appended == 0) return {};
    EXPECT_EQ(std::string(image.begin() + 1, image.begin() + 5), "id3 ");
    Bytes tag(image.begin() + 9, image.end());
    MetadataStore read;
    EXPECT_TRUE(ReadId3Chunk(tag, read, 0));
    return tag;
}

Bytes BuildTag(const MetadataStore& store, const Bytes& oldTag = {}, FileReader* source = nullptr) {
    return BuildTag(store, std::vector<Bytes>{oldTag}, source);
}

// With a tag of version 2.4 beside the old one, so that both become one of that version.
Bytes BuildTag24(const MetadataStore& store, const Bytes& oldTag) {
    return BuildTag(store, std::vector<Bytes>{oldTag, TagOf(4, {})});
}

TEST(Id3Chunk, WritesTextsAsUtf8OfVersion24) {
    const auto tag = BuildTag(StoreOf(Listed("ID3:",
                                             "TIT2=\u0141\u00F3d\u017A|COMM=c|COMM:deu:d=e|COMM:no language=f"
                                             "|TXXX:VANTOR=g|TPE1=caf\xE9|UFID:o=h|TALB=")));
    const Frames expected = {"COMM\0\0\3eng\0c"s,
                             "COMM\0\0\3deud\0e"s,
                             "COMM\0\0\3XXXno language\0f"s,
                             "TIT2\0\0\3\u0141\u00F3d\u017A"s,
                             "TPE1\0\0\3caf\u00E9"s,
                             "TXXX\0\0\3VANTOR\0g"s,
                             "UFID\0\0o\0h"s};
    EXPECT_EQ(FramesOf(tag), expected);
    for (const auto* title : {"ab", "abc"})
        EXPECT_EQ(BuildTag(StoreOf({{"ID3:TIT2", title}})).size(), 24u);
    EXPECT_EQ(TextOf(tag).substr(0, 6), "ID3\4\0\0"s);
    const auto others = StoreOf(Listed("", "INFO:INAM=x|ID3X:TIT2=x|ID3:TIT2=|APE:TIT2=x"));
    EXPECT_EQ(BuildTag(others, TagOf(3, {"TIT2\0\0\0removed"s})), Bytes{});
}

TEST(Id3Chunk, GivesTheSameStoreWithoutTheOldTag) {
    auto store = StoreOf(fullEntries);
    for (size_t i = 1; i <= 1200; ++i)
        store.Set(i == 1 ? "ID3:TCOM" : NumberedKey("ID3:TCOM", i), std::to_string(i));
    const auto again = ReadStore(BuildTag(store));
    // What a value does not make up needs the old tag.
    for (const char* key : {"UFID:binary", "PRIV:maker", "CTOC", "CHAP", "CHAP:001", "CHAP:002"})
        EXPECT_TRUE(store.Remove("ID3:"s + key)) << key;
    EXPECT_EQ(EntriesOf(again), EntriesOf(store));
}

TEST(Id3Chunk, KeepsUnchangedFramesAndOrderInAnEdit) {
    const auto oldTag = TagOf(4, {"TPE1\0\0\0one\0two"s, "TIT2\0\0\0first"s, "TXXX\0\0\0a:002\0x"s,
                                  "TIT2\0\0\0second"s, "TALB\0\0\0gone"s, "TXXX\0\0\0a\0y"s});
    auto store = ReadStore(oldTag);
    store.Set("ID3:TIT2", "edited");
    store.Set("ID3:TXXX:a:002", "z");
    store.Set("ID3:TRCK", "n");
    store.Remove("ID3:TALB");
    const auto tag = BuildTag(store, oldTag);
    const Frames expected = {"TPE1\0\0\0one\0two"s, "TIT2\0\0\3edited"s, "TXXX\0\0\3a:002\0z"s,
                             "TIT2\0\0\0second"s,   "TXXX\0\0\0a\0y"s,   "TRCK\0\0\3n"s};
    EXPECT_EQ(FramesOf(tag), expected);
    EXPECT_EQ(EntriesOf(ReadStore(tag)), EntriesOf(store));
}

// A frame that cannot be read gives way to a text of its id, and to nothing else.
TEST(Id3Chunk, KeepsFramesBesideOthersOfTheirKind) {
    const std::string zipped = "\0\x80\0\0\1\0zipped"s;
    const Frames odd = {"COMM" + zipped, "TXXX" + zipped, "TIT2\0\0\4text"s, "GEOB\0\0a"s, "GEOB\0\0a"s};
    auto expected = odd;
    expected.insert(expected.end(), {"COMM\0\0\0eng\0new"s, "TIT2\0\0\0new"s, "TXXX\0\0\0\0new"s});
    const auto store = StoreOf(Listed("ID3:", "COMM=new|TIT2=new|TXXX=new"));
    EXPECT_EQ(FramesOf(BuildTag(store, TagOf(3, odd))), expected);
    const auto dated = TagOf(4, {"TDRC\0\0\x03"
                                 "2001"s});
    EXPECT_EQ(FramesOf(BuildTag(StoreOf(Listed("ID3:", "TDRC=2001|TYER=1999")), dated)),
              (Frames{"TDRC\0\0\x03"
                      "2001"s,
                      "TYER\0\0\x03"
                      "1999"s}));
}

TEST(Id3Chunk, CarriesFramesTheStoreCannotHold) {
    // A RIFF file has chunks of their own for documents.
    const auto oldTag =
        TagOf(3, {"GEOB\xE0\0object"s, "RVAD\0\x20ggroup"s, "TIT2\0\xE0\0\0\1\0MGzipped"s,
                  "TALB\0\x80\0\0\1\0zipped"s, "AENC\0\1unknown flag"s, "ab c\0\0no id"s,
                  "PRIV\0\0IXML\0<BWFXML><NOTE>n</NOTE></BWFXML>"s,
                  "PRIV\0\0XMP\0<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'/>"s,
                  "PRIV\0\0IXML\0<BWFXML version='1'/>"s, "PRIV\0\0XMP\0<x:xmpmeta/>"s});
    EXPECT_EQ(ReadTag(oldTag), Listed("", "IXML:NOTE=n"));
    Frames expected = {"GEOB\x70\0object"s,
                       "RVAD\0\x40ggroup"s,
                       "TIT2\0\x4DGM\0\0\2\0zipped"s,
                       "TALB\0\x09\0\0\2\0zipped"s,
                       "PRIV\0\0IXML\0<BWFXML version='1'/>"s,
                       "PRIV\0\0XMP\0<x:xmpmeta/>"s};
    EXPECT_EQ(FramesOf(BuildTag24({}, oldTag)), expected) << "even when no key is left";
    // The album that cannot be read gives way to the one that was entered.
    expected.erase(expected.begin() + 3);
    expected.push_back("TALB\0\0\3new"s);
    EXPECT_EQ(FramesOf(BuildTag24(StoreOf({{"ID3:TALB", "new"}}), oldTag)), expected);
}

TEST(Id3Chunk, ConvertsWhatAFrameHoldsAsFarAsItIsThere) {
    const auto inner = [](int version) {
        return TextOf(Id3TagWriter(version).Text("TIT2", std::string(200, 'i')).Body());
    };
    const std::string toc = "CTOC\0\0t\0\3\2c1\0c2\0"s, chapter = "CHAP\0\0c\0"s + std::string(16, '\1');
    const auto chapterIn = [&](int version) {  // whose own frames stay as they are
        const auto body = "c\0"s + std::string(16, '\1') + inner(3);
        return TextOf(Id3TagWriter(version).Frame("CHAP", BytesOf(body)).Body());
    };
    const std::pair<std::string, Frames> cases[] = {
        {"RVAD\0\x80\0\0\1"s, {}},
        {"RVAD\0\xC0\0\0\0\1"s, {}},
        {"RVAD\0\xE0\0\0\0\1m"s, {}},
        {"RVAD\0\x80\x10\0\0\0z"s, {}},
        {"RVAD\0\x80\x0F\xFF\xFF\xFFz"s, {"RVAD\0\x09\x7F\x7F\x7F\x7Fz"s}},
        {toc + inner(3), {toc + inner(4)}},
        {chapter + inner(3) + "ab c\0\0\0\1\0\0x"s, {chapter + inner(4)}},
        {chapter + "CHAP\0\0\0\x02\0\0c\0"s, {chapter + "CHAP\0\0\0\x02\0\0c\0"s}},
        {"CTOC\0\0t\0\3\0"s + inner(3), {"CTOC\0\0t\0\3\0"s + inner(4)}},
        {chapter + chapterIn(3), {chapter + chapterIn(4)}},
        {"CTOC\0\0t\0\3"s, {"CTOC\0\0t\0\3"s}},
        {"CTOC\0\0t\0\3\2c1\0c2"s, {"CTOC\0\0t\0\3\2c1\0c2"s}},
    };
    for (const auto& [frame, converted] : cases)
        EXPECT_EQ(FramesOf(BuildTag24(ReadStore(TagOf(3, {frame})), TagOf(3, {frame}))), converted);
    const std::string object(200, 'a');
    EXPECT_EQ(FramesOf(BuildTag24({}, TagOf(2, {"PIC\0PN"s, "GEO" + object}))), Frames{"GEOB\0\0"s + object});
}

TEST(Id3Chunk, CarriesA24FrameUnsynchronisedOnItsOwn) {
    // Its size counts the bytes as stored; only the flag of the tag is missing here.
    auto oldTag = Id3TagWriter(4)
                      .Frame("GEOB", BytesOf("\xFF\0\xE0"s), 0x0002)
                      .Add(Unsynchronise(Id3TagWriter(4).Frame("MCDI", BytesOf("\xFF\xE0"s)).Body()))
                      .Tag();
    oldTag[5] = 0x80;
    EXPECT_EQ(FramesOf(BuildTag({}, oldTag)), (Frames{"GEOB\0\2\xFF\0\xE0"s, "MCDI\0\0\xFF\xE0"s}));
}

TEST(Id3Chunk, ConvertsFramesInsideChapters) {
    auto store = StoreOf(fullEntries);
    EXPECT_EQ(FramesOf(BuildTag24(store, FullTag(3))), FramesOf(BuildTag(store, FullTag(4))));
    EXPECT_EQ(FramesOf(BuildTag(store, FullTag(3))).size(), FramesOf(FullTag(3)).size());
    store.Remove("ID3:CHAP");
    for (const auto& frame : FramesOf(BuildTag24(store, FullTag(3))))
        EXPECT_FALSE(frame.starts_with("CHAP")) << "no count, no chapters";
}

TEST(Id3Chunk, KeepsVersion22AndMovesItToItsSuccessorBesideAnotherTag) {
    const auto oldTag =
        TagOf(2, {"TT2\0title"s, "TP1\0artist"s, "TCO\0(17)"s, "TXX\0VANTOR\0tags"s, "COM\0eng\0words"s,
                  "PIC\0PNG\3cover\0picture"s, "GEOobject"s, "LNKdropped"s});
    auto store = ReadStore(oldTag, 40);
    EXPECT_EQ(EntriesOf(store), Listed("ID3:",
                                       "APIC=mime:image/png desc:cover type:3 offset:137 length:7|COMM=words"
                                       "|TCON=Rock|TP1=artist|TT2=title|TXXX:VANTOR=tags"));
    store.Set("ID3:TPE1", "entered");
    const Frames expected = {"TIT2\0\0\0title"s,
                             "TCON\0\0\0(17)"s,
                             "TXXX\0\0\0VANTOR\0tags"s,
                             "COMM\0\0\0eng\0words"s,
                             "APIC\0\0\3image/png\0\3cover\0picture"s,
                             "GEOB\0\0object"s,
                             "TPE1\0\0\3entered"s};
    EXPECT_EQ(FramesOf(BuildTag24(store, oldTag)), expected);
    auto own = FramesOf(oldTag);
    own[1] = "TP1\0\0\0entered"s;
    EXPECT_EQ(FramesOf(BuildTag(store, oldTag)), own);
    // The same from the entries alone.
    const Frames fromStore = {"COMM\0\0\3eng\0words"s, "TCON\0\0\3Rock"s, "TPE1\0\0\3entered"s,
                              "TIT2\0\0\3title"s, "TXXX\0\0\3VANTOR\0tags"s};
    EXPECT_EQ(FramesOf(BuildTag(store)), fromStore);
}

// The frames of a tag with one picture, copied from a file.
Frames PictureFrames(const std::string& descriptor, const Bytes& oldTag = {}) {
    const TempFolder folder;
    FileReader source(folder.Write("picture.bin", BytesOf("0123456789picture!")), {});
    return FramesOf(BuildTag(StoreOf({{"ID3:APIC", descriptor}}), oldTag, &source));
}

TEST(Id3Chunk, CopiesThePictureThatADescriptorNames) {
    EXPECT_EQ(PictureFrames("mime:image/png desc:a b type:3 offset:10 length:8"),
              (Frames{"APIC\0\0\3image/png\0\3a b\0picture!"s}));
    EXPECT_EQ(PictureFrames("type:0 offset:17 length:1"), (Frames{"APIC\0\0\3\0\0\0!"s}));
    for (const char* descriptor :
         {"type:0 offset:10 length:9", "type:0 offset:19 length:0",
          "type:0 offset:18446744073709551615 length:2", "type:0 offset:1 length:18446744073709551615",
          "type:200 offset:1 length:1", "C:/cover.png"})
        EXPECT_EQ(PictureFrames(descriptor), Frames{}) << descriptor;
    const Frames old = {"APIC\0\0\0image/png\0\3\0old"s};
    EXPECT_EQ(PictureFrames("C:/cover.png", TagOf(3, old)), old);
    EXPECT_EQ(PictureFrames("type:0 offset:18 length:0"), (Frames{"APIC\0\0\3\0\0\0"s}));
    EXPECT_EQ(BuildTag(StoreOf({{"ID3:APIC", "type:0 offset:1 length:1"}})), Bytes{}) << "no source";
}

TEST(Id3Chunk, KeepsPicturesWhereverTheyLie) {
    const Frames pictures = {"APIC\0\0\0image/png\0\3\0\xFF\0\xFF\xE0"s,
                             "APIC\0\0\0image/png\0\4back\0other"s};
    for (const uint8_t flags : {uint8_t{0}, uint8_t{0x80}}) {
        const auto oldTag = TagOf(3, pictures, flags);
        // Lengths count the zeros that unsynchronisation puts in.
        const auto second =
            "mime:image/png desc:back type:4 offset:" + std::to_string(5000 + TextOf(oldTag).find("other")) +
            " length:5";
        const auto first = "mime:image/png type:3 offset:5033 length:"s + (flags ? "6" : "4");
        const auto store = ReadStore(oldTag, 5000);
        EXPECT_EQ(EntriesOf(store), (Entries{{"ID3:APIC", first}, {"ID3:APIC:002", second}}));
        EXPECT_EQ(FramesOf(BuildTag(store, oldTag)), pictures);
        // The old tag is where a picture comes from that has only moved, whatever now lies in its place.
        const std::string moved(ReadStore(oldTag, -30).Value("ID3:APIC"));
        EXPECT_EQ(PictureFrames(moved, oldTag), Frames{pictures[0]});
        // Another picture in its place; the second one removed.
        EXPECT_EQ(PictureFrames("type:3 offset:10 length:7", oldTag), (Frames{"APIC\0\0\0\0\3\0picture"s}));
    }
}

TEST(Id3Chunk, KeepsTheVersionThatSeveralTagsHave) {
    const Frames twice = {"TIT2\0\0\0a"s, "TIT2\0\0\0a"s, "CTOC\0\0one\0\3\0"s};
    const auto first = TagOf(3, twice), last = TagOf(3, {"CTOC\0\0two\0\3\0"s});
    const auto tag = BuildTag(ReadStore(first), {first, last});
    EXPECT_EQ(tag[3], 3);
    EXPECT_EQ(FramesOf(tag), (Frames{"CTOC\0\0two\0\3\0"s, twice[0], twice[1], twice[2]}));
    const Frames object = {"GEOB\0\0object"s};
    EXPECT_EQ(FramesOf(BuildTag({}, {TagOf(2, {"GEOobject"s}), TagOf(4, object)})), object);
}

TEST(Id3Chunk, KeepsWhatSeveralTagsHold) {
    const auto first =
        TagOf(3, {"TIT2\0\0\0old"s, "TPE1\0\0\0one"s, "PRIV\0\0maker\0one"s, "GEOB\0\0same"s, "POPM\0\0one"s,
                  "CTOC\0\0toc\0\3\1c1\0"s, "UFID\0\0owner\0\1"s, "APIC\0\0\0\0\3\0one"s});
    const auto last = TagOf(4, {"GEOB\0\0same"s, "TIT2\0\0\0new"s, "PRIV\0\0maker\0two"s,
                                "CTOC\0\0toc\0\3\1c1\0"s, "APIC\0\0\0\0\3\0two"s});
    auto store = ReadStore(first);
    ReadId3Tag(last, store, 5000);
    const Frames expected = {"GEOB\0\0same"s,          "TIT2\0\0\0new"s,       "PRIV\0\0maker\0two"s,
                             "CTOC\0\0toc\0\3\1c1\0"s, "APIC\0\0\0\0\3\0two"s, "TPE1\0\0\0one"s,
                             "PRIV\0\0maker\0one"s,    "POPM\0\0one"s,         "UFID\0\0owner\0\1"s,
                             "APIC\0\0\0\0\3\0one"s};
    EXPECT_EQ(FramesOf(BuildTag(store, {first, last})), expected);
    for (const char* key : {"PRIV:maker", "APIC", "CTOC", "UFID:owner", "TPE1"})
        store.Remove("ID3:"s + key);
    EXPECT_EQ(FramesOf(BuildTag(store, {first, last})),
              (Frames{"GEOB\0\0same"s, "TIT2\0\0\0new"s, "POPM\0\0one"s}))
        << "a key that is gone goes from both";
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
