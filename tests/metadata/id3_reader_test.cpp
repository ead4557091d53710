// What the store gets of ID3v2 tags of all versions.
#include <gtest/gtest.h>

#include <set>

#include "metadata/read/id3_entries.h"
#include "metadata/read/id3_events.h"
#include "metadata/read/id3_genres.h"
#include "metadata/read/id3_picture.h"
#include "tests/metadata/id3_support.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

TEST(Id3Reader, KeysEveryKindOfFrame) {
    for (const int version : {3, 4}) {
        EXPECT_EQ(ReadTag(FullTag(version)), fullEntries);
        MetadataStore store;
        for (int time = 0; time < 2; ++time)
            EXPECT_EQ(ReadId3Tag(FullTag(version), store, 0), static_cast<int>(fullEntries.size()));
    }
    EXPECT_EQ(ReadTag(TagOf(5, {"TIT2\0\0\0text"s})), Entries{});
}

TEST(Id3Reader, HoldsTheLengthOfAChunkAgainstItsTag) {
    // An odd tag may have a pad byte.
    const std::set<std::pair<uint32_t, size_t>> accepted = {{1, 11}, {1, 12}, {20, 30}, {21, 31}, {21, 32}};
    for (const uint32_t size : {0, 1, 20, 21, 20 | 0x80})
        for (const size_t chunkBytes : {10, 11, 12, 29, 30, 31, 32, 33}) {
            MetadataStore store;
            const Bytes chunk = ByteWriter().Text("ID3\4").Zeros(2).Be32(size).Zeros(chunkBytes - 10);
            EXPECT_EQ(ReadId3Chunk(chunk, store, 0), accepted.contains({size, chunkBytes})) << chunkBytes;
        }
}

TEST(Id3Reader, DecodesEveryEncodingAndJoinsTexts) {
    const std::pair<std::string, const char*> cases[] = {
        {"\0caf\xE9"s, "caf\u00E9"},
        {"\1\xFF\xFE\x3D\xD8\x00\xDE"s, "\U0001F600"},
        {"\1\xFE\xFF\x01\x41"s, "\u0141"},
        {"\1\xFF\xFE"s, ""},
        {"\1\x41\x01"s, "\u0141"},  // no mark: little-endian
        {"\2\x01\x41"s, "\u0141"},
        {"\2\xD8\x3C\0A\xDF\xB5"s, "\uFFFDA\uFFFD"},  // halves of pairs
        {"\3\u0141"s, "\u0141"},
        {"\3caf\xE9"s, "caf\u00E9"},                 // not UTF-8 after all
        {"\1\xFF\xFE\x41\x00\x42"s, "A"},            // cut in mid-unit
        {"\1\xFF\xFE\x41\x00\x00"s, "A"},            // and in mid-terminator
        {"\1\xFF\xFE\x41\x00\x3D\xD8"s, "A\uFFFD"},  // cut in mid-pair
        {"\4text"s, ""},
        {"\3one\0two\0\0three\0"s, "one; two; three"},
        {"\1\xFE\xFF\0a\0\0\0b"s, "a; b"},  // the second text follows the first one's mark
    };
    for (const auto& [data, text] : cases)
        EXPECT_EQ(ReadStore(TagOf(4, {"TIT2\0\0"s + data})).Value("ID3:TIT2"), text);
}

TEST(Id3Genres, AreReadByNumberAndWrittenAsTheyAreRead) {
    const auto cases =
        Listed("",
               "(17)=Rock|17=Rock|(17)Rock=Rock|(4)Eurodisco=Disco; Eurodisco|(RX)=Remix|CR=Cover"
               "|(51)(39)=Techno-Industrial; Noise|((17)=(17)|(191)=Psybient|(192)=(192)|133=Afro-Punk"
               "|Something=Something|(=(|()=()|(0017)=(0017)|0017=0017|1/=1/|1:=1:");
    for (const auto& [text, names] : cases)
        EXPECT_EQ(ReadTag(TagOf(3, {"TCON\0\0\0"s + text})), (Entries{{"ID3:TCON", names}}));
    EXPECT_EQ(ReadTag(TagOf(4, {"TCON\0\0\0\61\67\0RX\0Own"s})), Listed("", "ID3:TCON=Rock; Remix; Own"));
    for (int i = 0; i < 192; ++i) {
        const auto name = GenreNames(std::to_string(i));
        EXPECT_NE(name, std::to_string(i));
        EXPECT_EQ(GenreNames(ContentTypeOfNames(name)), name);
    }
    for (const char* name : {"(17)", "((", "(", "a (17)", "Rock; (17)"})
        EXPECT_EQ(GenreNames(ContentTypeOfNames(name)), name);
}

TEST(Id3Reader, ShowsIdentifiersThatCanBePrinted) {
    const std::pair<std::string, std::string> cases[] = {
        {"a b~\u00C0", "a b~\u00C0"}, {"end\0junk"s, "[Binary data]"}, {"\x1F", "[Binary data]"},
        {"\x7F", "[Binary data]"},    {"\xFF", "[Binary data]"},
    };
    for (const auto& [identifier, shown] : cases)
        EXPECT_EQ(ReadStore(TagOf(4, {"UFID\0\0o\0"s + identifier})).Value("ID3:UFID:o"), shown);
}

TEST(Id3Keys, AreMadeOfFrameIdsLanguagesAndNumbers) {
    for (int value = 0; value < 256; ++value) {
        const char character = static_cast<char>(value);
        const bool isDigit = value >= '0' && value <= '9', isCapital = value >= 'A' && value <= 'Z';
        const bool isLetter = isCapital || (value >= 'a' && value <= 'z');
        EXPECT_EQ(IsFrameId("TI"s + character), isDigit || isCapital) << value;
        EXPECT_EQ(IsLanguageCode("de"s + character), isLetter) << value;
        EXPECT_EQ(IsRunningNumber("01"s + character), isDigit) << value;
    }
    EXPECT_TRUE(IsFrameId("TIT2") && IsRunningNumber("1000"));
    EXPECT_FALSE(IsFrameId("TI") || IsFrameId("TIT22") || IsLanguageCode("de") || IsRunningNumber("12"));
    EXPECT_EQ(NumberedKey("k", 2) + NumberedKey("k", 99) + NumberedKey("k", 1000), "k:002k:099k:1000");
}

TEST(Id3Reader, StoresNoMoreThan65536Entries) {
    const auto store = ReadStore(TagOf(4, Frames(100000, "TPE1\0\0\0x"s)));
    EXPECT_EQ(store.Count(), 65536u);
    EXPECT_TRUE(store.Has("ID3:TPE1:999") && store.Has("ID3:TPE1:65536"));
}

TEST(Id3Reader, GoesByTheFlagsOfFramesAndTags) {
    for (const int version : {3, 4}) {
        for (int bit = 0; bit < 8; ++bit) {
            // With a group byte the encoding is the second byte: here the letter t.
            const auto flagged = "TIT2\x60"s + static_cast<char>(1 << bit) + "\0text"s;
            EXPECT_EQ(ReadTag(TagOf(version, {flagged, "TPE1\0\0\0a"s})), Listed("", "ID3:TPE1=a")) << bit;
        }
        const auto grouped = "TIT2\0"s + (version == 3 ? '\x20' : '\x40') + "g\0text"s;
        EXPECT_EQ(ReadTag(TagOf(version, {grouped})), Listed("", "ID3:TIT2=text"));
        const auto unsynchronised = TagOf(version, {"TIT2\0\0\0\xFF\xE0\xFFz"s, "TPE1\0\0\0a"s}, 0x80);
        EXPECT_EQ(ReadTag(unsynchronised), Listed("ID3:", "TIT2=\u00FF\u00E0\u00FFz|TPE1=a"));
        EXPECT_EQ(ReadTag(TagOf(version, {"CTOC\0\x80toc\0\3\0"s})), Entries{});
        // Zeros that count to the size of the frame leave it too short.
        Bytes cut = Id3TagWriter(version).Text("TPE1", "a").Add(TagOf(version, {})).Tag();
        std::copy_n("TIT2\0\0\0\4\0\0", 10, cut.end() - 10);
        cut[5] = 0x80;
        cut.insert(cut.end(), {0xFF, 0, 0xFF, 0});
        EXPECT_EQ(ReadTag(cut), Listed("", "ID3:TPE1=a"));
    }
    EXPECT_EQ(ReadTag(TagOf(2, {"TT2\0\xFF\xE0"s}, 0x80)), Listed("", "ID3:TT2=\u00FF\u00E0"));
    // Frames that are unsynchronised on their own are of version 2.4.
    EXPECT_EQ(ReadTag(TagOf(3, {"GEOB\0\2\xFF\xE0"s, "TPE1\0\0\0a"s}, 0x80)), Listed("", "ID3:TPE1=a"));
    EXPECT_EQ(ReadTag(TagOf(2, {"TT2\0a"s}, 0x40)), Listed("", "ID3:TT2=a")) << "no extended header there";
}

TEST(Id3Reader, SkipsExtendedHeadersAndEndsAtPaddingAndLyingSizes) {
    const auto with = [](int version, const Bytes& header) {
        return ReadTag(Id3TagWriter(version).Add(header).Text("TIT2", "t").Tag(0x40));
    };
    const auto behind = [](int version, const Bytes& bytes) {
        return ReadTag(Id3TagWriter(version).Text("TIT2", "t").Add(bytes).Text("TPE1", "unseen").Tag());
    };
    const auto first = Listed("", "ID3:TIT2=t"), both = Listed("ID3:", "TIT2=t|TPE1=unseen");
    for (const auto& id : {"\0\0\0A"s, "A\0\0A"s, "\0A\0A"s, "\0\0AA"s})
        EXPECT_EQ(behind(4, ByteWriter().Text(id).Be32(1).Be16(0).U8(0)), id == "\0\0\0A"s ? first : both);
    EXPECT_EQ(with(3, ByteWriter().Be32(6).Zeros(6)), first);
    EXPECT_EQ(with(3, ByteWriter().Be32(200).Zeros(200)), first);
    EXPECT_EQ(with(4, ByteWriter().Be32(Syncsafe(200)).Zeros(196)), first);
    EXPECT_EQ(with(4, ByteWriter().Be32(6).U8(1).U8(0)), first);
    EXPECT_EQ(with(3, ByteWriter().Be32(0xFFFFFFF0u).Zeros(6)), Entries{});
    EXPECT_EQ(with(4, ByteWriter().Be32(0x80000006u).Zeros(2)), Entries{});
    EXPECT_EQ(behind(4, Bytes(10)), first);
    EXPECT_EQ(behind(3, ByteWriter().Text("TALB").Be32(17).Be16(0)), first);
    EXPECT_EQ(behind(4, ByteWriter().Text("TALB").Be32(0x80000001u).Be16(0)), first);
}

TEST(Id3Picture, HasATypeAndAPlaceOrIsNotStored) {
    const auto tag =
        TagOf(3, {"APIC\0\0\0\0\x80\0x"s, "APIC\0\0\0\0\x7F\0x"s, "APIC\0\0\0a"s, "APIC\0\0\0a\0"s});
    EXPECT_EQ(ReadTag(tag, 100), Listed("", "ID3:APIC=type:127 offset:139 length:1"));
    for (const int64_t offset : {int64_t{-100}, int64_t{-39}, INT64_MAX - 38})
        EXPECT_EQ(ReadTag(tag, offset), Entries{}) << offset;
    for (const int64_t offset : {int64_t{-38}, INT64_MAX - 39}) {
        const auto place = std::to_string(offset + 39);
        EXPECT_EQ(ReadTag(tag, offset), Listed("", "ID3:APIC=type:127 offset:" + place + " length:1"));
    }

    const PictureDescriptor odd{"image/png", "type:1 offset:2 length:3 desc:", 4, ~0ull, 6};
    const auto read = ParseDescriptor(DescriptorText(odd));
    ASSERT_TRUE(read);
    EXPECT_EQ(DescriptorText(*read), DescriptorText(odd));
    EXPECT_EQ(read->description, odd.description);
    EXPECT_EQ(ParseDescriptor("type:127 offset:2 length:3")->type, 127);
    for (const auto* text : {"type:1 offset:2", "type:1 offset:2 length:", "type:128 offset:2 length:3",
                             "type:1 offset:-2 length:3", "type:1 offset:2 length:3 x", "offset:2 length:3",
                             "type:1 length:3", "type:1 offset:2 xlength:3"})
        EXPECT_FALSE(ParseDescriptor(text)) << text;
    for (const auto& [mime, format] : Listed("",
                                             "-->=-->|image/png=PNG|image/az`{=JPG|image/`a{=`A{|azB=AZB"
                                             "|image/jpeg=JPG|=JPG"))
        EXPECT_EQ(PictureFormat22(mime), format);
}

TEST(Id3Frames, AreThoseOfThreeVersions) {
    const auto tag = [](std::string_view id, int version, uint8_t flags, const Bytes& body) {
        Bytes bytes = Id3TagWriter(version).Add(body).Tag(flags);
        std::copy(id.begin(), id.end(), bytes.begin());
        return bytes;
    };
    for (int version = 0; version < 256; ++version)
        EXPECT_EQ(Id3FrameWalk(tag("ID3", version, 0, {})).Version(),
                  version >= 2 && version <= 4 ? version : 0);
    EXPECT_EQ(Id3FrameWalk(tag("TAG", 3, 0, {})).Version(), 0);
    EXPECT_EQ(Id3FrameWalk(BytesOf("ID3\3\0\0\0\0\0"s)).Version(), 0);
    // An extended header that cannot be passed.
    for (const Bytes& header : {Bytes(3), Bytes(ByteWriter().Be32(0x80000006u).Zeros(20)),
                                Bytes(ByteWriter().Be32(0x7F7F7F7F).Zeros(20))})
        EXPECT_EQ(Id3FrameWalk(tag("ID3", 4, 0x40, header)).Version(), 0);

    for (const size_t bytes : {300, 70'000}) {
        const auto frame = std::string(bytes, 'x');
        EXPECT_EQ(FramesOf(TagOf(2, {"TT2" + frame, "TP1\0a"s})),
                  (Frames{"TT2\0\0"s + frame, "TP1\0\0\0a"s}));
    }
    for (int bit = 0; bit < 28; ++bit) {
        uint8_t bytes[4];
        WriteSyncsafe(bytes, 1u << bit);
        EXPECT_EQ(ReadSyncsafe(bytes), 1u << bit);
        bytes[bit % 4] |= 0x80;
        EXPECT_FALSE(ReadSyncsafe(bytes));
    }
}

TEST(Id3Events, AreReadAndWrittenInMilliseconds) {
    for (const auto& data : {""s, "\1\2\0\0\0\1"s, "\2\2\0\0\1"s, "\2\2\0\0\0\1\2"s})
        EXPECT_FALSE(EventsText(BytesOf(data)));
    for (const auto* text : {"", "5", "5:", ":padding", "-1:padding", "5 padding", "4294967296:padding",
                             "5:odd", "5:padding,", "5:padding,6"})
        EXPECT_FALSE(EventsData(text)) << text;
    const auto* const events = "0:padding,4294967295:profanity end,7:unknown";
    EXPECT_EQ(EventsText(EventsData(events).value()), events);
}

TEST(Id3Frames, AreWalkedWholeWhenOnlyPaddingOrAFooterFollows) {
    const Bytes frames = Id3TagWriter(4).Text("TIT2", "t").Tag();
    const Bytes padded = ByteWriter().Add(frames).Zeros(3);
    const Bytes footed = ByteWriter().Add(frames).Text("3DI\4").Zeros(2).Be32(12).Zeros(1);
    const Bytes footedLast(footed.begin(), footed.end() - 1);
    for (const Bytes& tag : {frames, padded, footed, footedLast})
        EXPECT_TRUE(IsWalkedWhole(tag));
    const Bytes cutFooter(footed.begin(), footed.end() - 2);
    EXPECT_FALSE(IsWalkedWhole(cutFooter));
    EXPECT_TRUE(IsUnsynchronised(BytesOf("ID3\4\0\x80\0\0\0\0"s)));
    EXPECT_FALSE(IsUnsynchronised(BytesOf("ID3\4\0\x80"s)));
    const Bytes cut(frames.begin(), frames.end() - 1);
    for (const Bytes& tag : {cut, Bytes(ByteWriter().Add(padded).U8(1)), BytesOf("TAG of another kind")})
        EXPECT_FALSE(IsWalkedWhole(tag));
}

}  // namespace
}  // namespace vantor::test
