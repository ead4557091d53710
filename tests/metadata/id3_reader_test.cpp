#include <gtest/gtest.h>

#include <random>
#include <string>

#include "metadata/read/id3_picture.h"
#include "metadata/text.h"
#include "tests/metadata/id3_tag_writer.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

Entries ReadTag(const Bytes& tag, int64_t fileOffset = 1000) {
    MetadataStore store;
    ReadId3Tag(tag, store, fileOffset);
    return EntriesOf(store);
}

std::string ValueIn(const Bytes& tag, const std::string& key, int64_t fileOffset = 1000) {
    MetadataStore store;
    ReadId3Tag(tag, store, fileOffset);
    return std::string(store.Value(key));
}

TEST(Id3Chunk, HoldsItsLengthAgainstTheTagsSize) {
    const auto chunkOf = [](uint32_t size, size_t length) {
        return ByteWriter().Text("ID3").U8(4).U8(0).U8(0).Be32(Syncsafe(size)).Zeros(length - 10).Done();
    };
    MetadataStore store;
    // An odd tag may have a pad byte.
    const std::pair<uint32_t, size_t> accepted[] = {{20, 30}, {21, 31}, {21, 32}};
    for (const auto& [size, length] : accepted)
        EXPECT_TRUE(ReadId3Chunk(chunkOf(size, length), store, 0)) << size << " in " << length;
    const std::pair<uint32_t, size_t> wrong[] = {{20, 31}, {20, 29}, {21, 33}, {21, 30}, {0, 10}};
    for (const auto& [size, length] : wrong)
        EXPECT_FALSE(ReadId3Chunk(chunkOf(size, length), store, 0)) << size << " in " << length;
    auto invalid = chunkOf(20, 30);
    invalid[9] |= 0x80;
    EXPECT_FALSE(ReadId3Chunk(invalid, store, 0));
}

TEST(Id3Reader, ReadsOldFrameNamesAndCountsEntries) {
    Id3TagWriter old(2);
    old.Text("TT2", "Title").Text("TXX", "VANTOR\0tags"s).Text("TCO", "(17)").Text("COM", "eng\0words"s);
    EXPECT_EQ(ReadTag(old.Tag()), Listed("ID3:", "COMM=words|TCON=Rock|TT2=Title|TXXX:VANTOR=tags"));
    EXPECT_TRUE(ReadTag(Id3TagWriter(5).Tag()).empty());

    MetadataStore store;
    const auto tag = Id3TagWriter(4).Text("TIT2", "a").Text("TIT2", "b").Text("TIT3", "").Tag();
    EXPECT_EQ(ReadId3Tag(tag, store, 0), 2);
    EXPECT_EQ(ReadId3Tag(tag, store, 0), 2) << "the same keys again";
    EXPECT_EQ(store.Count(), 2u);
}

TEST(Id3Text, DecodesEveryEncodingAndJoinsTexts) {
    const std::pair<std::string, const char*> cases[] = {
        {"\0caf\xE9"s, "caf\u00E9"},
        {"\1\xFF\xFE\x3D\xD8\x00\xDE"s, "\U0001F600"},
        {"\1\xFE\xFF\x01\x41"s, "\u0141"},
        {"\1\x41\x01"s, "\u0141"},  // no mark: little-endian
        {"\2\x01\x41"s, "\u0141"},
        {"\3\u0141"s, "\u0141"},
        {"\3caf\xE9"s, "caf\u00E9"},                 // not UTF-8 after all
        {"\1\xFF\xFE\x41\x00\x42"s, "A"},            // cut in mid-unit
        {"\1\xFF\xFE\x41\x00\x3D\xD8"s, "A\uFFFD"},  // cut in mid-pair
        {"\4text"s, ""},
        {"\3one\0two\0\0three\0"s, "one; two; three"},
        {"\1\xFE\xFF\0a\0\0\0b"s, "a; b"},  // the second text follows the first one's mark
    };
    for (const int version : {3, 4})
        for (const auto& [data, text] : cases)
            EXPECT_EQ(ValueIn(Id3TagWriter(version).Frame("TIT2", BytesOf(data)).Tag(), "ID3:TIT2"), text);
}

TEST(Id3Reader, NamesGenres) {
    const auto cases =
        Listed("",
               "(17)=Rock|17=Rock|(17)Rock=Rock|(4)Eurodisco=Disco; Eurodisco|(RX)=Remix|CR=Cover"
               "|(51)(39)=Techno-Industrial; Noise|((17)=(17)|(191)=Psybient|(192)=(192)|133=Afro-Punk"
               "|Something=Something|(=(");
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(ValueIn(Id3TagWriter(3).Text("TCON", text).Tag(), "ID3:TCON"), expected) << text;
    EXPECT_EQ(ValueIn(Id3TagWriter(4).Text("TCON", "17\0RX\0Own"s).Tag(), "ID3:TCON"), "Rock; Remix; Own");
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
    EXPECT_EQ(ReadTag(tag), Listed("ID3:",
                                   "COMM=plain|COMM:002=second|COMM:XXX:what=ever|COMM:deu=Wort|COMM:eng:"
                                   "iTunNORM= 0001|USLT=la\nla"));
}

TEST(Id3Reader, KeysOwnersAndDescriptions) {
    const auto tag = Id3TagWriter(3)
                         .Frame("WXXX", BytesOf("\0home\0http://a.b/\0junk"s))
                         .Frame("UFID", BytesOf("http://id\0abc-123"s))
                         .Frame("UFID", BytesOf("binary\0\x01\x02"s))
                         .Frame("PRIV", BytesOf("maker\0\x01\x02"s))
                         .Frame("PRIV", BytesOf("no end"))
                         .Frame("WCOM", BytesOf("http://skipped"))
                         .Frame("TXXX", BytesOf("\1\xFF\xFE\x41\x01\0\0\xFF\xFEv\0"s))
                         .Tag();
    EXPECT_EQ(ReadTag(tag), Listed("ID3:",
                                   "PRIV:maker=[Binary data]|TXXX:\u0141=v|UFID:binary=[Binary "
                                   "data]|UFID:http://id=abc-123|WXXX:home=http://a.b/"));
}

TEST(Id3Reader, NumbersRepeatedFrames) {
    const auto tag =
        Id3TagWriter(4).Text("TXXX", "a:002\0one"s).Text("TXXX", "a\0two"s).Text("TXXX", "a\0three"s).Tag();
    EXPECT_EQ(ReadTag(tag), Listed("ID3:TXXX:", "a=two|a:002=one|a:003=three"));

    Id3TagWriter many(4);
    for (int i = 0; i < 100000; ++i)
        many.Text("TPE1", "x");
    const auto store = StoreOf(ReadTag(many.Tag()));
    EXPECT_EQ(store.Count(), 65536u);
    EXPECT_TRUE(store.Has("ID3:TPE1:999") && store.Has("ID3:TPE1:65536"));
}

TEST(Id3Reader, ShowsChaptersAndEvents) {
    const auto chapter = [](uint32_t start, uint32_t end, const Bytes& frames) {
        return ByteWriter().Text("c\0"s).Be32(start).Be32(end).Be64(~0ull).Add(frames).Done();
    };
    const auto events = ByteWriter().U8(2).U8(2).Be32(0).U8(22).Be32(4000000000u).U8(23).Be32(7).Done();
    const auto tag = Id3TagWriter(3)
                         .Frame("CTOC", BytesOf("toc\0\3\1c\0"s))
                         .Frame("CHAP", chapter(0, 1500, Id3TagWriter(3).Text("TIT2", "Intro").Body()))
                         .Frame("CHAP", chapter(1500, 9000, {}))
                         .Frame("ETCO", events)
                         .Frame("ETCO", Bytes(events.begin(), events.end() - 1))
                         .Frame("ETCO", ByteWriter().U8(1).U8(2).Be32(0))
                         .Tag();
    EXPECT_EQ(ReadTag(tag), Listed("ID3:",
                                   "CHAP=2 chapters|CHAP:001=0:1500:Intro|CHAP:002=1500:9000|CTOC=[table of "
                                   "contents data]|ETCO=0:intro start,4000000000:profanity end,7:unknown"));
}

TEST(Id3Reader, SkipsFramesByTheirFlags) {
    for (const int version : {3, 4}) {
        const uint16_t grouping = version == 3 ? 0x20 : 0x40;
        for (int bit = 0; bit < 8; ++bit) {
            const auto flags = static_cast<uint16_t>(0x6000 | 1 << bit);
            Id3TagWriter writer(version);
            writer.Frame("TIT2", BytesOf("\0text"s), flags).Text("TPE1", "a");
            // With a group byte the encoding is the second byte: here the letter t.
            EXPECT_EQ(ReadTag(writer.Tag()), Listed("ID3:", "TPE1=a")) << version << " bit " << bit;
        }
        const auto grouped = Id3TagWriter(version).Frame("TIT2", BytesOf("g\0text"s), grouping).Tag();
        EXPECT_EQ(ReadTag(grouped), Listed("ID3:", "TIT2=text"));
    }
}

TEST(Id3Reader, TakesUnsynchronisationOut) {
    for (const int version : {2, 3, 4}) {
        const std::string id = version == 2 ? "TT2" : "TIT2";
        const auto tag = Id3TagWriter(version).Frame(id, BytesOf("\0\xFF\xE0"s)).Text("TYE", "x").Tag(0x80);
        EXPECT_EQ(tag.size(), tag[9] + 10u);
        EXPECT_EQ(ValueIn(tag, "ID3:" + id), "\u00FF\u00E0") << version;
    }
    // A 2.4 frame that is unsynchronised on its own counts its bytes as stored; the walk goes on behind it.
    Bytes tag = Id3TagWriter(4).Frame("TIT2", BytesOf("\0\xFF\0\xE0"s), 0x0002).Text("TPE1", "next").Tag();
    tag[5] = 0x80;
    EXPECT_EQ(ReadTag(tag), Listed("ID3:", "TPE1=next"));
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
    const auto first = Listed("ID3:", "TIT2=t");
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
                                 .Frame(version == 2 ? "PIC" : "APIC", BytesOf(version == 2 ? data22 : data))
                                 .Tag(flags);
            const auto descriptor = ParseDescriptor(ValueIn(tag, "ID3:APIC", 5000));
            ASSERT_TRUE(descriptor);
            EXPECT_EQ(descriptor->mime, version == 2 ? "image/png" : "image/jpeg");
            EXPECT_EQ(descriptor->description, version == 2 ? "" : "a cover");
            EXPECT_EQ(descriptor->type, version == 2 ? 0 : 3);
            const auto stored = flags ? Unsynchronise(BytesOf(picture)) : BytesOf(picture);
            ASSERT_LE(descriptor->offset - 5000 + stored.size(), tag.size());
            EXPECT_EQ(descriptor->length, stored.size());
            EXPECT_TRUE(std::equal(stored.begin(), stored.end(), &tag[descriptor->offset - 5000]));
        }
}

TEST(Id3Picture, HasATypeAndAPlaceOrIsNotStored) {
    const auto tag = Id3TagWriter(3)
                         .Frame("APIC", BytesOf("\0\0\x80\0x"s))
                         .Frame("APIC", BytesOf("\0\0\x7F\0x"s))
                         .Frame("APIC", BytesOf("\0a\0\0b\0xy"s))
                         .Frame("APIC", BytesOf("\0a"s))
                         .Tag();
    EXPECT_EQ(ReadTag(tag, 100),
              Listed("ID3:",
                     "APIC=type:127 offset:139 length:1|APIC:002=mime:a desc:b type:0 offset:156 length:2"));
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
                         BytesOf("\1\xFF\xFEo\0\0\0(17)\0\0\0\0\0\0\0\0TIT2\0\0\0\2\0\0\0x"s));
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
