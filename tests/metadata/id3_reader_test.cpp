#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "metadata/read/id3_picture.h"
#include "metadata/read/read_metadata.h"
#include "metadata/text.h"
#include "tests/metadata/id3_tag_writer.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;
using Entries = std::map<std::string, std::string>;

Entries EntriesOf(const MetadataStore& store) {
    Entries entries;
    store.ForEach([&](const MetadataEntry& entry) { entries[entry.key] = entry.value; });
    return entries;
}

Entries ReadTag(const Bytes& tag, int64_t fileOffset = 1000) {
    MetadataStore store;
    ReadId3Tag(tag, store, fileOffset);
    return EntriesOf(store);
}

Bytes Raw(std::string_view text) {
    return ByteWriter().Text(text);
}

// The value of a text frame with these data.
std::string TextOf(std::string_view data, int version = 4) {
    return ReadTag(Id3TagWriter(version)
                       .Frame(version == 2 ? "TT2" : "TIT2", Raw(data))
                       .Tag())[version == 2 ? "ID3:TT2" : "ID3:TIT2"];
}

TEST(Id3Chunk, HoldsItsLengthAgainstTheTagsSize) {
    const auto chunkOf = [](uint32_t size, size_t length) {
        return ByteWriter().Text("ID3").U8(4).U8(0).U8(0).Be32(Syncsafe(size)).Zeros(length - 10).Done();
    };
    MetadataStore store;
    struct Case {
        uint32_t size;
        size_t length;
        bool accepted;
    };
    for (const auto& [size, length, accepted] :
         {Case{20, 30, true}, Case{20, 31, false}, Case{20, 29, false}, Case{21, 31, true},
          Case{21, 32, true}, Case{21, 33, false}, Case{21, 30, false}, Case{0, 10, false}})
        EXPECT_EQ(ReadId3Chunk(chunkOf(size, length), store, 0), accepted) << size << " in " << length;
    auto invalid = chunkOf(20, 30);
    invalid[9] |= 0x80;
    EXPECT_FALSE(ReadId3Chunk(invalid, store, 0));
}

TEST(Id3Reader, ReadsTextFramesOfEveryVersion) {
    const Entries expected = {{"ID3:TIT2", "Title"}, {"ID3:TPE1", "Artist"}};
    for (const int version : {3, 4})
        EXPECT_EQ(ReadTag(Id3TagWriter(version).Text("TIT2", "Title").Text("TPE1", "Artist").Tag()),
                  expected);
    const Entries expected22 = {
        {"ID3:TT2", "Title"}, {"ID3:TXXX:VANTOR", "tags"}, {"ID3:TCON", "Rock"}, {"ID3:COMM", "words"}};
    EXPECT_EQ(ReadTag(Id3TagWriter(2)
                          .Text("TT2", "Title")
                          .Text("TXX", "VANTOR\0tags"s)
                          .Text("TCO", "(17)")
                          .Text("COM", "eng\0words"s)
                          .Tag()),
              expected22);
    EXPECT_TRUE(ReadTag(Id3TagWriter(5).Tag()).empty());
}

TEST(Id3Reader, CountsTheEntriesItStores) {
    MetadataStore store;
    const auto tag = Id3TagWriter(4).Text("TIT2", "a").Text("TIT2", "b").Text("TIT3", "").Tag();
    EXPECT_EQ(ReadId3Tag(tag, store, 0), 2);
    EXPECT_EQ(ReadId3Tag(tag, store, 0), 2);  // the same keys again
    EXPECT_EQ(store.Count(), 2u);
}

TEST(Id3Text, DecodesEveryEncoding) {
    EXPECT_EQ(TextOf("\0caf\xE9"s), "caf\u00E9");
    EXPECT_EQ(TextOf("\1\xFF\xFE\x3D\xD8\x00\xDE"s), "\U0001F600");
    EXPECT_EQ(TextOf("\1\xFE\xFF\x01\x41"s), "\u0141");
    EXPECT_EQ(TextOf("\1\x41\x01"s), "\u0141");  // no mark: little-endian
    EXPECT_EQ(TextOf("\2\x01\x41"s), "\u0141");
    EXPECT_EQ(TextOf("\3\u0141"s), "\u0141");
    EXPECT_EQ(TextOf("\3caf\xE9"s), "caf\u00E9");                 // not UTF-8 after all
    EXPECT_EQ(TextOf("\1\xFF\xFE\x41\x00\x42"s), "A");            // cut in mid-unit
    EXPECT_EQ(TextOf("\1\xFF\xFE\x41\x00\x3D\xD8"s), "A\uFFFD");  // cut in mid-pair
    EXPECT_EQ(TextOf("\4text"s), "");
}

TEST(Id3Text, JoinsTheTextsOfOneFrame) {
    EXPECT_EQ(TextOf("\3one\0two\0\0three\0"s), "one; two; three");
    EXPECT_EQ(TextOf("\1\xFE\xFF\0a\0\0\0b"s), "a; b");  // the second text follows the first one's mark
    EXPECT_EQ(TextOf("\0one\0two"s, 3), "one; two");
}

TEST(Id3Reader, NamesGenres) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"(17)", "Rock"},
        {"17", "Rock"},
        {"(17)Rock", "Rock"},
        {"(4)Eurodisco", "Disco; Eurodisco"},
        {"(RX)", "Remix"},
        {"CR", "Cover"},
        {"(51)(39)", "Techno-Industrial; Noise"},
        {"((17)", "(17)"},
        {"(191)", "Psybient"},
        {"(192)", "(192)"},
        {"133", "Afro-Punk"},
        {"Something", "Something"},
        {"(", "("},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(ReadTag(Id3TagWriter(3).Text("TCON", text).Tag())["ID3:TCON"], expected) << text;
    EXPECT_EQ(ReadTag(Id3TagWriter(4).Text("TCON", "17\0RX\0Own"s).Tag())["ID3:TCON"], "Rock; Remix; Own");
}

TEST(Id3Reader, KeysCommentsByLanguageAndDescription) {
    const auto tag = Id3TagWriter(4)
                         .Text("COMM", "eng\0plain"s)
                         .Text("COMM", "XXX\0second"s)
                         .Text("COMM", "deu\0Wort"s)
                         .Text("COMM", "engiTunNORM\0 0001"s)
                         .Text("COMM", "\0\0\0what\0ever"s)
                         .Text("COMM", "eng cut")
                         .Text("USLT", "eng\0la\nla"s)
                         .Tag();
    const Entries expected = {{"ID3:COMM", "plain"},         {"ID3:COMM:002", "second"},
                              {"ID3:COMM:deu", "Wort"},      {"ID3:COMM:eng:iTunNORM", " 0001"},
                              {"ID3:COMM:XXX:what", "ever"}, {"ID3:USLT", "la\nla"}};
    EXPECT_EQ(ReadTag(tag), expected);
}

TEST(Id3Reader, KeysOwnersAndDescriptions) {
    const auto tag = Id3TagWriter(3)
                         .Frame("WXXX", Raw("\0home\0http://a.b/\0junk"s))
                         .Frame("UFID", Raw("http://id\0abc-123"s))
                         .Frame("UFID", Raw("binary\0\x01\x02"s))
                         .Frame("PRIV", Raw("maker\0\x01\x02"s))
                         .Frame("PRIV", Raw("no end"))
                         .Frame("WCOM", Raw("http://skipped"))
                         .Frame("TXXX", Raw("\1\xFF\xFE\x41\x01\0\0\xFF\xFEv\0"s))
                         .Tag();
    const Entries expected = {{"ID3:WXXX:home", "http://a.b/"},
                              {"ID3:UFID:http://id", "abc-123"},
                              {"ID3:UFID:binary", "[Binary data]"},
                              {"ID3:PRIV:maker", "[Binary data]"},
                              {"ID3:TXXX:\u0141", "v"}};
    EXPECT_EQ(ReadTag(tag), expected);
}

TEST(Id3Reader, NumbersRepeatedFrames) {
    const auto tag =
        Id3TagWriter(4).Text("TXXX", "a:002\0one"s).Text("TXXX", "a\0two"s).Text("TXXX", "a\0three"s).Tag();
    const Entries expected = {{"ID3:TXXX:a:002", "one"}, {"ID3:TXXX:a", "two"}, {"ID3:TXXX:a:003", "three"}};
    EXPECT_EQ(ReadTag(tag), expected);

    Id3TagWriter many(4);
    for (int i = 0; i < 100000; ++i)
        many.Text("TPE1", "x");
    auto entries = ReadTag(many.Tag());
    EXPECT_EQ(entries.size(), 65536u);
    EXPECT_EQ(entries.count("ID3:TPE1:999") + entries.count("ID3:TPE1:65536"), 2u);
}

TEST(Id3Reader, HandsDocumentsOn) {
    const auto tag = Id3TagWriter(3)
                         .Frame("PRIV", Raw("IXML\0<?xml version=\"1.0\"?><BWFXML><NOTE>n</NOTE></BWFXML>"s))
                         .Frame("PRIV", Raw("XMP\0"s))
                         .Tag();
    const Entries expected = {{"IXML:NOTE", "n"}};
    EXPECT_EQ(ReadTag(tag), expected);
}

TEST(Id3Reader, ShowsChaptersAndEvents) {
    const auto chapter = [](uint32_t start, uint32_t end, const Bytes& frames) {
        return ByteWriter().Text("c\0"s).Be32(start).Be32(end).Be64(~0ull).Add(frames).Done();
    };
    const auto events = ByteWriter().U8(2).U8(2).Be32(0).U8(22).Be32(4000000000u).U8(23).Be32(7).Done();
    const auto tag = Id3TagWriter(3)
                         .Frame("CTOC", Raw("toc\0\3\1c\0"s))
                         .Frame("CHAP", chapter(0, 1500, Id3TagWriter(3).Text("TIT2", "Intro").Body()))
                         .Frame("CHAP", chapter(1500, 9000, {}))
                         .Frame("ETCO", events)
                         .Frame("ETCO", Bytes(events.begin(), events.end() - 1))
                         .Frame("ETCO", ByteWriter().U8(1).U8(2).Be32(0))
                         .Tag();
    const Entries expected = {{"ID3:CHAP", "2 chapters"},
                              {"ID3:CHAP:001", "0:1500:Intro"},
                              {"ID3:CHAP:002", "1500:9000"},
                              {"ID3:CTOC", "[table of contents data]"},
                              {"ID3:ETCO", "0:intro start,4000000000:profanity end,7:unknown"}};
    EXPECT_EQ(ReadTag(tag), expected);
}

TEST(Id3Reader, SkipsFramesByTheirFlags) {
    for (const int version : {3, 4}) {
        const uint16_t grouping = version == 3 ? 0x20 : 0x40;
        for (int bit = 0; bit < 8; ++bit) {
            const auto flags = static_cast<uint16_t>(0x6000 | 1 << bit);
            auto entries =
                ReadTag(Id3TagWriter(version).Frame("TIT2", Raw("\0text"s), flags).Text("TPE1", "a").Tag());
            // With a group byte the encoding is the second byte: here the letter t.
            EXPECT_EQ(entries.count("ID3:TIT2"), 0u) << version << " bit " << bit;
            EXPECT_EQ(entries["ID3:TPE1"], "a") << version << " bit " << bit;
        }
        EXPECT_EQ(ReadTag(Id3TagWriter(version).Frame("TIT2", Raw("g\0text"s), grouping).Tag())["ID3:TIT2"],
                  "text");
    }
}

TEST(Id3Reader, TakesUnsynchronisationOut) {
    for (const int version : {2, 3, 4}) {
        const std::string id = version == 2 ? "TT2" : "TIT2";
        const auto tag = Id3TagWriter(version).Frame(id, Raw("\0\xFF\xE0"s)).Text("TYE", "x").Tag(0x80);
        EXPECT_EQ(tag.size(), tag[9] + 10u);
        EXPECT_EQ(ReadTag(tag)["ID3:" + id], "\u00FF\u00E0") << version;
    }
    // A 2.4 frame that is unsynchronised on its own counts its bytes as stored; the walk goes on behind it.
    const auto stored = ByteWriter()
                            .Add(Id3TagWriter(4).Frame("TIT2", Raw("\0\xFF\0\xE0"s), 0x0002).Body())
                            .Add(Id3TagWriter(4).Text("TPE1", "next").Body())
                            .Done();
    const auto tag = ByteWriter()
                         .Text("ID3")
                         .U8(4)
                         .U8(0)
                         .U8(0x80)
                         .Be32(static_cast<uint32_t>(stored.size()))
                         .Add(stored)
                         .Done();
    EXPECT_EQ(ReadTag(tag), (Entries{{"ID3:TPE1", "next"}}));
}

TEST(Id3Reader, SkipsExtendedHeaders) {
    const auto with = [](int version, const Bytes& header) {
        return ReadTag(Id3TagWriter(version).Add(header).Text("TIT2", "t").Tag(0x40));
    };
    EXPECT_EQ(with(3, ByteWriter().Be32(6).Zeros(6)).size(), 1u);
    EXPECT_EQ(with(4, ByteWriter().Be32(6).U8(1).U8(0)).size(), 1u);
    EXPECT_EQ(with(3, ByteWriter().Be32(0xFFFFFFF0u).Zeros(6)).size(), 0u);
    EXPECT_EQ(with(4, ByteWriter().Be32(0x80000006u).Zeros(2)).size(), 0u);
    EXPECT_EQ(with(4, ByteWriter().Be32(0x7F7F7F7Fu).Zeros(2)).size(), 0u);
}

TEST(Id3Reader, EndsAtPaddingAndLyingSizes) {
    const auto behind = [](int version, const Bytes& bytes) {
        return ReadTag(Id3TagWriter(version).Text("TIT2", "t").Add(bytes).Text("TPE1", "unseen").Tag());
    };
    const Entries first = {{"ID3:TIT2", "t"}};
    EXPECT_EQ(behind(4, Bytes(10)), first);
    EXPECT_EQ(behind(4, ByteWriter().Text("TALB").Be32(0).Be16(0)), first);
    EXPECT_EQ(behind(3, ByteWriter().Text("TALB").Be32(0xFFFFFFFFu).Be16(0)), first);
    EXPECT_EQ(behind(3, ByteWriter().Text("TALB").Be32(17).Be16(0)), first);
    EXPECT_EQ(behind(4, ByteWriter().Text("TALB").Be32(0x80000001u).Be16(0)), first);
}

TEST(Id3Picture, IsDescribedByItsPlaceInTheFile) {
    const std::string picture = "\xFF\xD8\xFF\xE0picture"s;
    const auto data = "\0image/jpeg\0\3a cover\0"s + picture;
    const auto data22 = "\0PNG\0\0"s + picture;
    for (const int version : {2, 3, 4})
        for (const uint8_t flags : {uint8_t{0}, uint8_t{0x80}}) {
            const auto tag = Id3TagWriter(version)
                                 .Text(version == 2 ? "TT2" : "TIT2", "\xFF\xE0\xFF\xE0")
                                 .Frame(version == 2 ? "PIC" : "APIC", Raw(version == 2 ? data22 : data))
                                 .Tag(flags);
            const auto descriptor = ParseDescriptor(ReadTag(tag, 5000)["ID3:APIC"]);
            ASSERT_TRUE(descriptor);
            EXPECT_EQ(descriptor->mime, version == 2 ? "image/png" : "image/jpeg");
            EXPECT_EQ(descriptor->description, version == 2 ? "" : "a cover");
            EXPECT_EQ(descriptor->type, version == 2 ? 0 : 3);
            const auto stored = flags ? Unsynchronise(Raw(picture)) : Raw(picture);
            ASSERT_LE(descriptor->offset - 5000 + stored.size(), tag.size());
            EXPECT_EQ(descriptor->length, stored.size());
            EXPECT_TRUE(std::equal(stored.begin(), stored.end(), &tag[descriptor->offset - 5000]));
        }
}

TEST(Id3Picture, HasATypeAndAPlaceOrIsNotStored) {
    const auto tag = Id3TagWriter(3)
                         .Frame("APIC", Raw("\0\0\x80\0x"s))
                         .Frame("APIC", Raw("\0\0\x7F\0x"s))
                         .Frame("APIC", Raw("\0a\0\0b\0xy"s))
                         .Frame("APIC", Raw("\0a"s))
                         .Tag();
    const Entries expected = {{"ID3:APIC", "type:127 offset:139 length:1"},
                              {"ID3:APIC:002", "mime:a desc:b type:0 offset:156 length:2"}};
    EXPECT_EQ(ReadTag(tag, 100), expected);
    EXPECT_TRUE(ReadTag(tag, -100).empty());
}

TEST(Id3Picture, DescriptorsAreReadAsTheyAreWritten) {
    const PictureDescriptor odd{"image/png", "type:1 offset:2 length:3 desc:", 4, ~0ull, 6};
    const auto read = ParseDescriptor(DescriptorText(odd));
    ASSERT_TRUE(read);
    EXPECT_EQ(DescriptorText(*read), DescriptorText(odd));
    EXPECT_EQ(read->description, odd.description);
    EXPECT_EQ(read->offset, odd.offset);
    for (const auto* text :
         {"", "type:1 offset:2", "type:1 offset:2 length:", "type:128 offset:2 length:3",
          "type:1 offset:-2 length:3", "type:1 offset:2 length:3 x", "atype:1 offset:2 length:3"})
        EXPECT_FALSE(ParseDescriptor(text)) << text;
}

// Every prefix and many changes of a tag with all kinds of frames: valid texts or none, never past the bytes.
TEST(Id3Reader, SurvivesDamage) {
    std::mt19937 random(17);
    for (const int version : {2, 3, 4}) {
        Id3TagWriter writer(version);
        for (const char* id : {"TIT2", "TXXX", "TCON", "COMM", "USLT", "WXXX", "UFID", "PRIV", "APIC", "CHAP",
                               "CTOC", "ETCO", "TXX", "PIC"})
            writer.Frame(std::string_view(id).substr(0, version == 2 ? 3 : 4),
                         Raw("\1\xFF\xFEo\0\0\0(17)\0\0\0\0\0\0\0\0TIT2\0\0\0\2\0\0\0x"s));
        for (const uint8_t flags : {uint8_t{0}, uint8_t{0x80}, uint8_t{0x40}}) {
            const auto tag = writer.Tag(flags);
            for (size_t size = 0; size < tag.size(); ++size)
                ReadTag(Bytes(tag.begin(), tag.begin() + static_cast<ptrdiff_t>(size)));
            for (int i = 0; i < 2000; ++i) {
                auto damaged = tag;
                for (int change = 0; change < 4; ++change)
                    damaged[random() % tag.size()] = static_cast<uint8_t>(random());
                for (const auto& [key, value] : ReadTag(damaged)) {
                    ASSERT_TRUE(IsValidUtf8(key) && IsValidUtf8(value));
                    ASSERT_FALSE(value.empty());
                }
            }
        }
    }
}

}  // namespace
}  // namespace vantor::test
