// What the readers make of chunks that the builders would not write.

#include <gtest/gtest.h>

#include <limits>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

struct Case {
    Bytes chunk;
    Entries entries;
};

void Check(std::string_view kind, const std::vector<Case>& cases) {
    for (const auto& [chunk, entries] : cases)
        EXPECT_EQ(ReadEntries(kind, chunk), entries) << kind << " " << &entries - &cases[0].entries;
}

TEST(ChunkReaders, RefuseUnknownKindsAndAbsentChunks) {
    for (const char* kind : {"", "bwf", "BWF ", "LIST"})
        EXPECT_EQ(ReadEntries(kind, Bytes(602)), refused) << kind;
    EXPECT_EQ(ReadEntries("AXML", {}), refused);
}

TEST(BextReader, StoresLoudnessFromVersionTwoOn) {
    const Bytes fields = ByteWriter().Le16(uint16_t(-2300)).Le16(1250).Le16(0).Le16(uint16_t(-5)).Zeros(182);
    const auto chunk = [&](uint16_t version) {
        return ByteWriter().Zeros(346).Le16(version).Zeros(64).Add(fields);
    };
    Check("BWF", {{chunk(1), {{"BWF:TimeReference", "0"}}},
                  {chunk(2),
                   {{"BWF:LoudnessRange", "12.5"},
                    {"BWF:LoudnessValue", "-23"},
                    {"BWF:MaxMomentaryLoudness", "-0.05"},
                    {"BWF:TimeReference", "0"}}},
                  {Bytes(601), refused}});
}

TEST(CartReader, LeavesNegativeNumbersAndNamelessTimersOut) {
    ByteWriter chunk;
    chunk.Zeros(680).Le32(uint32_t(-1)).Text("NEG ").Le32(uint32_t(-1)).Zeros(4).Le32(30);
    chunk.Text("ZERO").Le32(0).Field("SG", 4).Le32(20).Zeros(2048 - 716).Field("tag", 4).Text("x");
    Check("CART", {{chunk, {{"CART:SG", "20"}, {"CART:TagText", "tag"}}}, {Bytes(2047), refused}});
}

TEST(InfoReader, StoresItemsUpToOneThatOverrunsTheList) {
    const ByteWriter good = ByteWriter().Text("info").Chunk("INAM", BytesOf("name"));
    const Entries name = {{"INFO:INAM", "name"}};
    Check("INFO", {{ByteWriter(good)
                        .Chunk("IART", BytesOf("caf\xE9"))
                        .Chunk("INAM", BytesOf("last"))
                        .Chunk(std::string_view("I\0XY", 4), BytesOf("cut"))
                        .Chunk(std::string_view("\0XYZ", 4), BytesOf("dropped"))
                        .Chunk("I\xFF\xFEX", BytesOf("odd")),
                    {{"INFO:I", "cut"},
                     {"INFO:IART", "caf\xC3\xA9"},
                     {"INFO:INAM", "last"},
                     {"INFO:I\xFF\xFEX", "odd"}}},
                   {ByteWriter(good).Text("ICMT").Le32(5).Text("four"), name},
                   {ByteWriter(good).Text("ICMT").Le32(0xFFFFFFFF).Text("four"), name},
                   {ByteWriter(good).Text("ICMT").Le32(0), name},
                   {ByteWriter(good).Text("ICMT").Le32(3).Text("odd"), {{"INFO:ICMT", "odd"}, name[0]}},
                   {ByteWriter().Text("INFO").Zeros(8), {}},
                   {ByteWriter().Text("INFO").Zeros(384 * 1024), {}},
                   {ByteWriter().Text("INF"), refused},
                   {ByteWriter().Text("adtl").Chunk("labl", Bytes(8)), refused}});
}

TEST(AxmlReader, FindsTheFirstCodeThatEnds) {
    Check("AXML", {{BytesOf("<a>ISRC:GBAYE0000001</a>ISRC:no<"), {{"AXML:ISRC", "GBAYE0000001"}}},
                   {BytesOf("<a>no code</a>"), {}},
                   {BytesOf("<a>ISRC:GBAYE0000001"), {}}});
}

TEST(AcidReader, StoresWhatItsFlagsVouchFor) {
    const auto chunk = [](uint32_t flags, uint16_t note, uint32_t beats, float tempo) {
        return ByteWriter().Le32(flags).Le16(note).Zeros(6).Le32(beats).Le16(4).Le16(4).LeFloat(tempo);
    };
    Check("ACID",
          {{chunk(0x0A, 66, 8, 120), {{"ACID:BEATS", "8"}, {"ACID:BPM", "120.000000"}, {"ACID:KEY", "F#"}}},
           {chunk(0x0B, 66, 8, 120), refused},
           {chunk(0x1A, 0x0147, 8, 2), {{"ACID:KEY", "B"}}},
           {chunk(0x0A, 59, 1024, 960), {}},
           {chunk(0x02, 72, 1023, 120), {{"ACID:BEATS", "1023"}}},
           {chunk(0x08, 66, 0, std::numeric_limits<float>::quiet_NaN()), {}},
           {Bytes(25), refused},
           {Bytes(23), refused}});
}

Entries ReadCaf(const Bytes& body) {
    MetadataStore store;
    if (!ReadCafInfo(body, store)) store.Set("refused", "");
    return EntriesOf(store);
}

// A CAF dictionary of so many pairs: every string with its NUL.
ByteWriter CafInfo(uint32_t count, std::initializer_list<std::string_view> strings) {
    ByteWriter body;
    body.Be32(count);
    for (const auto string : strings)
        body.Field(string, string.size() + 1);
    return body;
}

TEST(CafInfoReader, StoresPairsUpToTheFirstThatIsBroken) {
    EXPECT_EQ(ReadCaf(CafInfo(2, {"tempo", "120", "k", "\xC3\xA9\xE2\x82\xAC\xF7\x80\x80\x80"})),
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
        EXPECT_EQ(ReadCaf(body), (Entries{{"CAFINFO:tempo", "120"}, refused[0]})) << TextOf(body);
    for (const uint32_t count : {0u, 16384u, 0xFFFFFFFFu})
        EXPECT_EQ(ReadCaf(CafInfo(count, {"tempo", "120"})), refused) << count;
    const Bytes whole = CafInfo(2, {"tempo", "120", "key", "\xC3\xA9"});
    for (size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(ReadCaf({&whole[0], &whole[length]}).back(), refused[0]) << length;
}

}  // namespace
}  // namespace vantor::test
