#include <gtest/gtest.h>

#include <random>

#include "fileio/byte_order.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

using Builder = int (*)(ChunkImage&, const MetadataStore&);

// The body of the one chunk that the builder makes; empty when it makes none.
Bytes Built(Builder builder, const Entries& entries) {
    ChunkImage image = {0xEE};
    if (builder(image, StoreOf(entries)) == 0) {
        EXPECT_EQ(image, ChunkImage{0xEE});
        return {};
    }
    const auto bodyBytes = ReadLe32(&image[5]);
    EXPECT_EQ(image[0], 0xEE);
    EXPECT_EQ(image.size(), 1 + 8 + bodyBytes + bodyBytes % 2);
    return {image.begin() + 9, image.begin() + 9 + bodyBytes};
}

std::string FieldAt(const Bytes& body, size_t offset, size_t width) {
    return TextOf(body).substr(offset, width);
}

int BuildNewAxmlChunk(ChunkImage& image, const MetadataStore& store) {
    return BuildAxmlChunk(image, store, {});
}

// Texts in fields of given widths.
Bytes Fields(std::initializer_list<std::pair<std::string_view, size_t>> fields) {
    ByteWriter writer;
    for (const auto& [text, width] : fields)
        writer.Field(text, width);
    return writer;
}

const std::string fullText(256, 'd');
const Entries bextEntries = Listed(
    "BWF:",
    "Description=" + fullText +
        "|LoudnessRange=12.5|LoudnessValue=3.07|MaxMomentaryLoudness=0.01|MaxShortTermLoudness=327.67"
        "|MaxTruePeakLevel=1|OriginationDate=2024-01-05|OriginationTime=07:05:59|Originator=caf\xC3\xA9"
        "|OriginatorReference=ref|TimeReference=18446744073709551615");
const Bytes bextTexts =
    Fields({{fullText, 256}, {"caf\xC3\xA9", 32}, {"ref", 32}, {"2024-01-05", 10}, {"07:05:59", 8}});
const Bytes bextLoudness = ByteWriter().Le16(307).Le16(1250).Le16(100).Le16(1).Le16(32767);
const Bytes bextBody =
    ByteWriter().Add(bextTexts).Le64(UINT64_MAX).Le16(2).Zeros(64).Add(bextLoudness).Zeros(180);

const Entries infoEntries = Listed("INFO:", "IART=caf\xC3\xA9|ICMT=two\r\nlines|IGNR=");
const Bytes infoBody = ByteWriter()
                           .Text("INFO")
                           .Chunk("IART", Fields({{"caf\xC3\xA9", 6}}))
                           .Chunk("ICMT", Fields({{"two\r\nlines", 11}}))
                           .Chunk("IGNR", Bytes(1));

const Entries cartEntries =
    Listed("CART:",
           "Artist=a|Category=b|Classification=c|ClientID=d|CutID=e|EndDate=2024-12-31|EndTime=23:59:59"
           "|INT1=1|LevelReference=32768|OutCue=f|ProducerAppID=g|ProducerAppVersion=h|SEG=2147483647"
           "|StartDate=2024-01-01|StartTime=00:00:00|TagText=odd|Title=i|URL=" +
               fullText + "|UserDef=j");
const Bytes cartTexts = Fields({{"0101", 4},
                                {"i", 64},
                                {"a", 64},
                                {"e", 64},
                                {"d", 64},
                                {"b", 64},
                                {"c", 64},
                                {"f", 64},
                                {"2024-01-01", 10},
                                {"00:00:00", 8},
                                {"2024-12-31", 10},
                                {"23:59:59", 8},
                                {"g", 64},
                                {"h", 64},
                                {"j", 64}});
const Bytes cartTimers = ByteWriter().Text("INT1").Le32(1).Field("SEG", 4).Le32(2147483647).Zeros(48);
const Bytes cartBody =
    ByteWriter().Add(cartTexts).Le32(32768).Add(cartTimers).Zeros(276).Field(fullText, 1024).Field("odd", 4);

// One scheme with a store that its chunk can hold in full, and that chunk.
struct Scheme {
    const char* kind;
    Builder build;
    Entries entries;
    Bytes body;
};
const Scheme schemes[] = {
    {"BWF", BuildBextChunk, bextEntries, bextBody},
    {"INFO", BuildInfoChunk, infoEntries, infoBody},
    {"CART", BuildCartChunk, cartEntries, cartBody},
};

TEST(ChunkBuilders, WriteTheLayoutThatTheReadersUnderstand) {
    for (const auto& [kind, build, entries, body] : schemes) {
        EXPECT_EQ(Built(build, entries), body) << kind;
        EXPECT_EQ(ReadEntries(kind, body), entries);
    }
}

// Only a key of the scheme makes a chunk, and only one that the chunk can hold.
TEST(ChunkBuilders, WriteNothingForOtherKeys) {
    const auto entries = Listed("", "AXML:ISRC=|CART:BAD1=x|CART:LONGER=9|CART:Title=|INFO:LONGER=x");
    for (const auto build : {BuildBextChunk, BuildInfoChunk, BuildCartChunk, BuildNewAxmlChunk})
        EXPECT_EQ(Built(build, entries), Bytes());
}

TEST(BextChunk, CutsTextsAtTheByte) {
    const auto body = Built(BuildBextChunk, {{"BWF:Description", std::string(255, 'd') + "\xC3\xA9tail"},
                                             {"BWF:Originator", std::string(40, 'o')},
                                             {"BWF:OriginatorReference", "ref"}});
    EXPECT_EQ(FieldAt(body, 254, 3), "d\xC3o");
    EXPECT_EQ(FieldAt(body, 286, 5), "ooref");
    EXPECT_EQ(ReadLe16(&body[346]), 1) << "no loudness";
    EXPECT_EQ(Built(BuildBextChunk, {{"BWFX", "x"}}).size(), 602u);
}

TEST(BextChunk, TakesValuesOfTheRightShape) {
    struct Shape {
        const char* key;
        size_t offset, width;
        Entries cases;  // value=field; a field that stays empty has zeros
    };
    const Shape shapes[] = {
        {"BWF:OriginationDate", 320, 10,
         Listed("", "2024/01/05=2024/01/05|2024-1-05=|2024-01-0x=|2024-01-05T=")},
        {"BWF:OriginationTime", 330, 8,
         Listed("",
                "07:05=07:05:00|12.34.56=12.34.56|07:05:0=07:05:00|07:05:xx=07:05:00|7:05:00=|07:5=|07:05:"
                "001=")},
        {"BWF:TimeReference", 338, 8, Listed("", "48000=\x80\xBB|-1=|48000.0=| 1=")},
    };
    for (const auto& [key, offset, width, cases] : shapes)
        for (const auto& [value, field] : cases)
            EXPECT_EQ(FieldAt(Built(BuildBextChunk, {{key, value}}), offset, width),
                      TextOf(Fields({{field, width}})))
                << value;
}

TEST(BextChunk, StoresLoudnessInHundredths) {
    const std::pair<const char*, int> cases[] = {
        {"-23", -2299}, {"-1.004", -99},    {"12.5", 1250},         {"0.005", 1},
        {"-0.005", 0},  {"-23.045", -2304}, {"1e300", 0},           {"1.7e308", 0},
        {"inf", 0},     {"nonsense", 0},    {"400", 40000 - 65536},
    };
    for (const auto& [value, raw] : cases) {
        const auto body = Built(BuildBextChunk, {{"BWF:MaxTruePeakLevel", value}});
        EXPECT_EQ(static_cast<int16_t>(ReadLe16(&body[416])), raw) << value;
    }
}

TEST(InfoChunk, TakesIdsOfFourCharactersAndLatin1) {
    EXPECT_EQ(Built(BuildInfoChunk, Listed("INFO:", "INAM=caf\xE9|LONGER=x|X=x")),
              ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Field("caf\xC3\xA9", 6)).Done());
}

TEST(CartChunk, TakesWhatFitsItsFields) {
    auto entries = Listed("CART:", "BAD1=7x|BAD2=2147483648|LONGER=9|LevelReference=-5|URL=4");
    entries.emplace_back("CART:Title", std::string(63, 't') + "\xC3\xA9");
    for (char usage = 'a'; usage < 'm'; ++usage)
        entries.emplace_back(std::string("CART:") + usage, "1");
    ByteWriter expected;
    expected.Text("0101").Field(std::string(63, 't'), 680);
    for (char usage = 'a'; usage < 'i'; ++usage)
        expected.Field({&usage, 1}, 4).Le32(1);
    expected.Zeros(276).Field("4", 1024);
    EXPECT_EQ(Built(BuildCartChunk, entries), expected.Done());
}

TEST(AcidChunk, SetsTheFlagsOfWhatItHolds) {
    const auto built = [](const AcidValues& values) {
        ChunkImage image;
        EXPECT_EQ(BuildAcidChunk(image, values), 1);
        return image;
    };
    const auto chunk = [](uint32_t flags, uint16_t note, uint32_t beats, uint16_t meter, float tempo) {
        ByteWriter body;
        body.Le32(flags).Le16(note).Zeros(6).Le32(beats).Le16(meter).Le16(meter).LeFloat(tempo);
        return ByteWriter().Chunk("acid", body).Done();
    };
    EXPECT_EQ(built({9, 120.5f, 8, 0}), chunk(0x0A, 69, 8, 4, 120.5f));
    EXPECT_EQ(built({-1, 0, 8, 16}), chunk(0x10, 0, 16, 0, 0));
    EXPECT_EQ(built({-3, -1, -8, -16}), chunk(0, 0, 0, 0, 0));
}

TEST(AcidChunk, KnowsTheKeysByTheirNames) {
    const std::pair<const char*, int> cases[] = {
        {"c#", 1}, {"DB", 1}, {"Eb", 3}, {"Cb", 11}, {"E#", -1}, {"Am", -1}, {"C ", -1}, {"", -1},
    };
    for (const auto& [name, pitchClass] : cases)
        EXPECT_EQ(PitchClassOfKeyName(name), pitchClass) << name;
    for (uint8_t note = 0; note < 12; ++note) {
        const auto entries = ReadEntries("ACID", ByteWriter().Le32(2).U8(uint8_t(60 + note)).Zeros(19));
        EXPECT_EQ(PitchClassOfKeyName(entries.at(0).second), note) << entries[0].second;
    }
}

// Nothing but what the whole chunk holds comes from a part of it, and nothing past its end is read.
TEST(HostileChunks, TruncatedAnywhere) {
    for (const auto& [kind, build, entries, body] : schemes) {
        auto complete = StoreOf(entries);
        complete.Set("refused", "");
        for (size_t length = 0; length < body.size(); ++length)
            for (const auto& [key, value] : ReadEntries(kind, {&body[0], &body[length]}))
                ASSERT_TRUE(complete.Has(key) && complete.Value(key).starts_with(value))
                    << kind << " " << length << " " << key;
    }
}

// What was read from a broken chunk can be written, and from then on reads and writes the same. (Negative
// loudness moves with every edit.)
TEST(HostileChunks, MutatedAnyhow) {
    std::mt19937 random(7);
    for (const auto& [kind, build, entries, body] : schemes)
        for (int round = 0; round < 3000; ++round) {
            auto bytes = body;
            bytes.resize(body.size() - random() % 4);
            for (auto changes = random() % 6 + 1; changes > 0; --changes)
                bytes[random() % bytes.size()] = static_cast<uint8_t>(random() % 3 == 0 ? 0xFF : random());
            const auto written = Built(build, ReadEntries(kind, bytes));
            if (written.empty() || build == BuildBextChunk) continue;
            ASSERT_EQ(Built(build, ReadEntries(kind, written)), written);
        }
}

}  // namespace
}  // namespace vantor::test
