// What the store gets of ID3v2 tags of all versions.
#include <gtest/gtest.h>

#include <set>

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
    const std::set<std::pair<uint32_t, size_t>> accepted = {{20, 30}, {21, 31}, {21, 32}};
    for (const uint32_t size : {0, 20, 21, 20 | 0x80})
        for (const size_t chunkBytes : {10, 29, 30, 31, 32, 33}) {
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
        {"\1\x41\x01"s, "\u0141"},  // no mark: little-endian
        {"\2\x01\x41"s, "\u0141"},
        {"\2\xD8\x3C\0A\xDF\xB5"s, "\uFFFDA\uFFFD"},  // halves of pairs
        {"\3\u0141"s, "\u0141"},
        {"\3caf\xE9"s, "caf\u00E9"},                 // not UTF-8 after all
        {"\1\xFF\xFE\x41\x00\x42"s, "A"},            // cut in mid-unit
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
               "|Something=Something|(=(");
    for (const auto& [text, names] : cases)
        EXPECT_EQ(ReadTag(TagOf(3, {"TCON\0\0\0"s + text})), (Entries{{"ID3:TCON", names}}));
    EXPECT_EQ(ReadTag(TagOf(4, {"TCON\0\0\0\61\67\0RX\0Own"s})), Listed("", "ID3:TCON=Rock; Remix; Own"));
    for (int i = 0; i < 192; ++i) {
        const auto name = GenreNames(std::to_string(i));
        EXPECT_EQ(GenreNames(ContentTypeOfNames(name)), name);
    }
    for (const char* name : {"(17)", "((", "(", "a (17)", "Rock; (17)"})
        EXPECT_EQ(GenreNames(ContentTypeOfNames(name)), name);
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
        const auto unsynchronised = TagOf(version, {"TIT2\0\0\0\xFF\xE0"s, "TPE1\0\0\0a"s}, 0x80);
        EXPECT_EQ(ReadTag(unsynchronised), Listed("ID3:", "TIT2=\u00FF\u00E0|TPE1=a"));
    }
    EXPECT_EQ(ReadTag(TagOf(2, {"TT2\0\xFF\xE0"s}, 0x80)), Listed("", "ID3:TT2=\u00FF\u00E0"));
}

TEST(Id3Reader, SkipsExtendedHeadersAndEndsAtPaddingAndLyingSizes) {
    const auto with = [](int version, const Bytes& header) {
        return ReadTag(Id3TagWriter(version).Add(header).Text("TIT2", "t").Tag(0x40));
    };
    const auto behind = [](int version, const Bytes& bytes) {
        return ReadTag(Id3TagWriter(version).Text("TIT2", "t").Add(bytes).Text("TPE1", "unseen").Tag());
    };
    const auto first = Listed("", "ID3:TIT2=t");
    EXPECT_EQ(with(3, ByteWriter().Be32(6).Zeros(6)), first);
    EXPECT_EQ(with(4, ByteWriter().Be32(6).U8(1).U8(0)), first);
    EXPECT_EQ(with(3, ByteWriter().Be32(0xFFFFFFF0u).Zeros(6)), Entries{});
    EXPECT_EQ(with(4, ByteWriter().Be32(0x80000006u).Zeros(2)), Entries{});
    EXPECT_EQ(behind(4, Bytes(10)), first);
    EXPECT_EQ(behind(3, ByteWriter().Text("TALB").Be32(17).Be16(0)), first);
    EXPECT_EQ(behind(4, ByteWriter().Text("TALB").Be32(0x80000001u).Be16(0)), first);
}

TEST(Id3Picture, HasATypeAndAPlaceOrIsNotStored) {
    const auto tag = TagOf(3, {"APIC\0\0\0\0\x80\0x"s, "APIC\0\0\0\0\x7F\0x"s, "APIC\0\0\0a"s});
    EXPECT_EQ(ReadTag(tag, 100), Listed("", "ID3:APIC=type:127 offset:139 length:1"));
    EXPECT_EQ(ReadTag(tag, -100), Entries{});

    const PictureDescriptor odd{"image/png", "type:1 offset:2 length:3 desc:", 4, ~0ull, 6};
    const auto read = ParseDescriptor(DescriptorText(odd));
    ASSERT_TRUE(read);
    EXPECT_EQ(DescriptorText(*read), DescriptorText(odd));
    EXPECT_EQ(read->description, odd.description);
    for (const auto* text : {"type:1 offset:2", "type:1 offset:2 length:", "type:128 offset:2 length:3",
                             "type:1 offset:-2 length:3", "type:1 offset:2 length:3 x"})
        EXPECT_FALSE(ParseDescriptor(text)) << text;
}

TEST(Id3Frames, AreWalkedWholeWhenOnlyPaddingOrAFooterFollows) {
    const Bytes frames = Id3TagWriter(4).Text("TIT2", "t").Tag();
    const Bytes padded = ByteWriter().Add(frames).Zeros(3);
    const Bytes footed = ByteWriter().Add(frames).Text("3DI\4").Zeros(2).Be32(12).Zeros(1);
    for (const Bytes& tag : {frames, padded, footed})
        EXPECT_TRUE(IsWalkedWhole(tag));
    const Bytes cut(frames.begin(), frames.end() - 1);
    for (const Bytes& tag : {cut, Bytes(ByteWriter().Add(padded).U8(1)), BytesOf("TAG of another kind")})
        EXPECT_FALSE(IsWalkedWhole(tag));
}

}  // namespace
}  // namespace vantor::test
