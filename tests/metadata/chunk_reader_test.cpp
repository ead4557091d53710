#include <gtest/gtest.h>

#include <limits>

#include "metadata/read/read_metadata.h"
#include "tests/metadata/store_entries.h"
#include "tests/support/byte_writer.h"

namespace vantor {
namespace {

using test::Bytes;
using test::ByteWriter;
using test::Entries;
using test::EntriesOf;

using Reader = bool (*)(std::span<const uint8_t>, MetadataStore&);

// What a reader stores; a refused chunk shows as the entry "refused".
Entries Read(Reader reader, const Bytes& chunk) {
    MetadataStore store;
    if (!reader(chunk, store)) store.Set("refused", "");
    return EntriesOf(store);
}
const Entries refused = {{"refused", ""}};

Bytes Bext(std::string_view description, uint64_t timeReference, uint16_t version, const Bytes& loudness) {
    return ByteWriter()
        .Field(description, 256)
        .Zeros(32 + 32)
        .Field("2024-01-05", 10)
        .Zeros(8)
        .Le64(timeReference)
        .Le16(version)
        .Zeros(64)
        .Add(loudness)
        .Zeros(190 - loudness.size());
}

const Bytes loudnessFields =
    ByteWriter().Le16(uint16_t(-2300)).Le16(1250).Le16(0).Le16(uint16_t(-5)).Le16(32767);

TEST(BextReader, StoresTextsAndTheTimeReference) {
    const std::string full(256, 'x');
    EXPECT_EQ(Read(ReadBext, Bext(full, UINT64_MAX, 1, loudnessFields)),
              (Entries{{"BWF:Description", full},
                       {"BWF:OriginationDate", "2024-01-05"},
                       {"BWF:TimeReference", "18446744073709551615"}}));
    EXPECT_EQ(Read(ReadBext, Bytes(602)), (Entries{{"BWF:TimeReference", "0"}}));
    EXPECT_EQ(Read(ReadBext, Bytes(601)), refused);
}

TEST(BextReader, StoresLoudnessFromVersionTwoOn) {
    EXPECT_EQ(Read(ReadBext, Bext("", 0, 2, loudnessFields)), (Entries{{"BWF:LoudnessRange", "12.5"},
                                                                       {"BWF:LoudnessValue", "-23"},
                                                                       {"BWF:MaxMomentaryLoudness", "-0.05"},
                                                                       {"BWF:MaxShortTermLoudness", "327.67"},
                                                                       {"BWF:OriginationDate", "2024-01-05"},
                                                                       {"BWF:TimeReference", "0"}}));
}

Bytes Cart(int32_t level, const Bytes& timers, std::string_view tagText) {
    return ByteWriter()
        .Text("0101")
        .Field("Song", 64)
        .Zeros(388 - 68)
        .Field(std::string(64, 'o'), 64)
        .Zeros(680 - 452)
        .Le32(uint32_t(level))
        .Add(timers)
        .Zeros(1024 - 684 - timers.size())
        .Field("http://x", 1024)
        .Text(tagText);
}

TEST(CartReader, StoresFieldsAndTimers) {
    const Bytes timers = ByteWriter()
                             .Text("INT1")
                             .Le32(10)
                             .Field("SG", 4)
                             .Le32(20)
                             .Text("NEG ")
                             .Le32(uint32_t(-1))
                             .Zeros(4)
                             .Le32(30)
                             .Text("ZERO")
                             .Le32(0);
    EXPECT_EQ(Read(ReadCart, Cart(32768, timers, std::string_view("tag\0rest", 8))),
              (Entries{{"CART:INT1", "10"},
                       {"CART:LevelReference", "32768"},
                       {"CART:OutCue", std::string(64, 'o')},
                       {"CART:SG", "20"},
                       {"CART:TagText", "tag"},
                       {"CART:Title", "Song"},
                       {"CART:URL", "http://x"}}));
    EXPECT_EQ(Read(ReadCart, Cart(-1, {}, "")).size(), 3u);
    EXPECT_EQ(Read(ReadCart, Bytes(2047)), refused);
}

TEST(InfoReader, StoresEveryItem) {
    const Bytes list = ByteWriter()
                           .Text("info")
                           .Chunk("INAM", ByteWriter().Text("caf\xE9"))
                           .Chunk("IART", ByteWriter().Field("caf\xC3\xA9", 9))
                           .Chunk("INAM", ByteWriter().Text("last"))
                           .Chunk(std::string_view("I\0XY", 4), ByteWriter().Text("cut"))
                           .Chunk(std::string_view("\0XYZ", 4), ByteWriter().Text("dropped"))
                           .Chunk("I\xFF\xFEX", ByteWriter().Text("odd"));
    EXPECT_EQ(Read(ReadInfo, list), (Entries{{"INFO:I", "cut"},
                                             {"INFO:IART", "caf\xC3\xA9"},
                                             {"INFO:INAM", "last"},
                                             {"INFO:I\xFF\xFEX", "odd"}}));
}

TEST(InfoReader, StopsAtAnItemThatOverrunsTheList) {
    const ByteWriter good = ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("name"));
    const Entries name = {{"INFO:INAM", "name"}};
    EXPECT_EQ(Read(ReadInfo, ByteWriter(good).Text("ICMT").Le32(5).Text("four")), name);
    EXPECT_EQ(Read(ReadInfo, ByteWriter(good).Text("ICMT").Le32(0xFFFFFFFF).Text("four")), name);
    EXPECT_EQ(Read(ReadInfo, ByteWriter(good).Text("ICMT").Le32(0)), name);
    EXPECT_EQ(Read(ReadInfo, ByteWriter(good).Text("ICMT").Le32(3).Text("odd")),
              (Entries{{"INFO:ICMT", "odd"}, {"INFO:INAM", "name"}}));
    EXPECT_EQ(Read(ReadInfo, ByteWriter().Text("INFO").Zeros(8)), Entries{});
    EXPECT_EQ(Read(ReadInfo, Bytes(384 * 1024)), refused);
    EXPECT_EQ(Read(ReadInfo, ByteWriter().Text("INFO").Zeros(384 * 1024)), Entries{});
    EXPECT_EQ(Read(ReadInfo, ByteWriter().Text("INF")), refused);
    EXPECT_EQ(Read(ReadInfo, ByteWriter().Text("adtl").Chunk("labl", Bytes(8))), refused);
}

TEST(AxmlReader, FindsTheIsrc) {
    EXPECT_EQ(Read(ReadAxml, ByteWriter().Text("<a>ISRC:GBAYE0000001</a>ISRC:no<")),
              (Entries{{"AXML:ISRC", "GBAYE0000001"}}));
    for (const char* document : {"", "<a>no code</a>", "<a>ISRC:", "<a>ISRC:GBAYE0000001"})
        EXPECT_EQ(Read(ReadAxml, ByteWriter().Text(document)), Entries{}) << document;
}

Bytes Acid(uint32_t flags, uint16_t note, uint32_t beats, float tempo) {
    return ByteWriter().Le32(flags).Le16(note).Zeros(6).Le32(beats).Le16(4).Le16(4).LeFloat(tempo);
}

TEST(AcidReader, StoresWhatItsFlagsVouchFor) {
    struct Case {
        Bytes chunk;
        Entries entries;
    };
    const Case cases[] = {
        {Acid(0x0A, 66, 8, 120), {{"ACID:BEATS", "8"}, {"ACID:BPM", "120.000000"}, {"ACID:KEY", "F#"}}},
        {Acid(0x0B, 66, 8, 120), refused},
        {Acid(0x1A, 0x0147, 8, 2), {{"ACID:KEY", "B"}}},
        {Acid(0x0A, 59, 1024, 960), {}},
        {Acid(0x02, 72, 1023, 120), {{"ACID:BEATS", "1023"}}},
        {Acid(0x08, 66, 0, std::numeric_limits<float>::quiet_NaN()), {}},
        {Bytes(26), refused},
        {Bytes(23), refused},
    };
    for (const auto& [chunk, entries] : cases)
        EXPECT_EQ(Read(ReadAcid, chunk), entries) << ::testing::PrintToString(chunk);
}

// A CAF dictionary: every string with its NUL.
ByteWriter CafInfo(uint32_t count, std::initializer_list<std::string_view> strings) {
    ByteWriter body;
    body.Be32(count);
    for (const auto string : strings)
        body.Field(string, string.size() + 1);
    return body;
}

TEST(CafInfoReader, StoresPairsUpToTheFirstThatIsBroken) {
    EXPECT_EQ(Read(ReadCafInfo, CafInfo(2, {"tempo", "120", "k", "\xC3\xA9\xE2\x82\xAC\xF7\x80\x80\x80"})),
              (Entries{{"CAFINFO:k", "\xC3\xA9\xE2\x82\xAC\xF7\x80\x80\x80"}, {"CAFINFO:tempo", "120"}}));
    const Bytes brokenSecondPairs[] = {
        CafInfo(2, {"tempo", "120", "key"}),
        CafInfo(2, {"tempo", "120", "key"}).Text("a value without an end"),
        CafInfo(2, {"tempo", "120", "k\xC1\x80", "v"}),
        CafInfo(2, {"tempo", "120", "key", "\xE2\x82"}),
        CafInfo(2, {"tempo", "120", "key", "\xF8\x80\x80\x80"}),
        CafInfo(2, {"tempo", "120", "\x80", "v"}),
    };
    for (const auto& body : brokenSecondPairs)
        EXPECT_EQ(Read(ReadCafInfo, body), (Entries{{"CAFINFO:tempo", "120"}, {"refused", ""}}))
            << ::testing::PrintToString(body);
}

TEST(CafInfoReader, RefusesCountsOutOfRange) {
    for (const uint32_t count : {0u, 16384u, 0xFFFFFFFFu})
        EXPECT_EQ(Read(ReadCafInfo, CafInfo(count, {"tempo", "120"})), refused) << count;
    EXPECT_EQ(Read(ReadCafInfo, Bytes(3)), refused);
}

TEST(CafInfoReader, RefusesEveryTruncation) {
    const auto whole = CafInfo(2, {"tempo", "120", "key", "\xC3\xA9"}).Done();
    for (size_t length = 0; length < whole.size(); ++length) {
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(Read(ReadCafInfo, part).back(), refused[0]) << length;
    }
}

}  // namespace
}  // namespace vantor
