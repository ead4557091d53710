#include <gtest/gtest.h>

#include <random>

#include "fileio/byte_order.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/store_entries.h"
#include "tests/support/byte_writer.h"
#include "xml/xml_parser.h"

namespace vantor {
namespace {

using test::Bytes;
using test::ByteWriter;
using test::Entries;
using test::EntriesOf;
using test::StoreOf;

using Builder = int (*)(ChunkImage&, const MetadataStore&);
using Reader = bool (*)(std::span<const uint8_t>, MetadataStore&);

// The body of the one chunk that the builder makes; empty when it makes none.
Bytes Built(Builder builder, const Entries& entries, std::string_view id) {
    ChunkImage image = {0xEE};
    const auto built = builder(image, StoreOf(entries));
    EXPECT_EQ(image[0], 0xEE);
    if (built == 0) {
        EXPECT_EQ(image.size(), 1u);
        return {};
    }
    const auto bodyBytes = ReadLe32(&image[5]);
    EXPECT_EQ(FourCharacters(&image[1]), id);
    EXPECT_EQ(image.size(), 1 + 8 + bodyBytes + bodyBytes % 2);
    return {image.begin() + 9, image.begin() + 9 + bodyBytes};
}

int BuildNewAxmlChunk(ChunkImage& image, const MetadataStore& store) {
    return BuildAxmlChunk(image, store, {});
}

Bytes Bext(const Entries& entries) {
    return Built(BuildBextChunk, entries, "bext");
}
std::string TextAt(const Bytes& body, size_t offset, size_t width) {
    return {reinterpret_cast<const char*>(&body[offset]), width};
}

TEST(BextChunk, IsBuiltForAnyKeyOfItsScheme) {
    const auto body = Bext({{"BWF:Description", "x"}});
    const Bytes expected = ByteWriter().Field("x", 346).Le16(1).Zeros(602 - 348);
    EXPECT_EQ(body, expected);
    EXPECT_EQ(Bext({{"BWFX", "x"}}).size(), 602u);
    EXPECT_TRUE(Bext({{"INFO:INAM", "x"}}).empty());
    EXPECT_TRUE(Bext({}).empty());
}

TEST(BextChunk, CutsTextsAtTheByte) {
    const auto body = Bext({{"BWF:Description", std::string(255, 'd') + "\xC3\xA9tail"},
                            {"BWF:Originator", std::string(40, 'o')},
                            {"BWF:OriginatorReference", "ref"}});
    EXPECT_EQ(TextAt(body, 0, 257), std::string(255, 'd') + "\xC3" + "o");
    EXPECT_EQ(TextAt(body, 286, 6), "ooref" + std::string(1, '\0'));
}

TEST(BextChunk, TakesDatesAndTimesOfTheRightShape) {
    const std::pair<const char*, std::string> dates[] = {
        {"2024-01-05", "2024-01-05"},           {"2024/01/05", "2024/01/05"},
        {"2024-1-05", std::string(10, '\0')},   {"2024-01-0x", std::string(10, '\0')},
        {"2024-01-05T", std::string(10, '\0')},
    };
    for (const auto& [value, field] : dates)
        EXPECT_EQ(TextAt(Bext({{"BWF:OriginationDate", value}}), 320, 10), field) << value;
    const std::pair<const char*, std::string> times[] = {
        {"07:05", "07:05:00"},
        {"12.34.56", "12.34.56"},
        {"07:05:0", "07:05:00"},
        {"07:05:xx", "07:05:00"},
        {"7:05:00", std::string(8, '\0')},
        {"07:5", std::string(8, '\0')},
        {"07:05:001", std::string(8, '\0')},
    };
    for (const auto& [value, field] : times)
        EXPECT_EQ(TextAt(Bext({{"BWF:OriginationTime", value}}), 330, 8), field) << value;
}

TEST(BextChunk, TakesPlainTimeReferences) {
    const std::pair<const char*, uint64_t> cases[] = {
        {"48000", 48000}, {"18446744073709551615", UINT64_MAX}, {"-1", 0}, {"48000.0", 0}, {" 1", 0}, {"", 0},
    };
    for (const auto& [value, frames] : cases)
        EXPECT_EQ(ReadLe64(&Bext({{"BWF:TimeReference", value}})[338]), frames) << value;
}

TEST(BextChunk, StoresLoudnessInHundredths) {
    const std::pair<const char*, int> cases[] = {
        {"-23", -2299}, {"-1.004", -99},    {"12.5", 1250},         {"0.005", 1},
        {"-0.005", 0},  {"-23.045", -2304}, {"1e300", 0},           {"1.7e308", 0},
        {"inf", 0},     {"nonsense", 0},    {"400", 40000 - 65536},
    };
    for (const auto& [value, raw] : cases) {
        const auto body = Bext({{"BWF:MaxTruePeakLevel", value}});
        EXPECT_EQ(ReadLe16(&body[346]), 2);
        EXPECT_EQ(static_cast<int16_t>(ReadLe16(&body[416])), raw) << value;
        EXPECT_EQ(TextAt(body, 412, 4) + TextAt(body, 418, 4), std::string(8, '\0'));
    }
}

TEST(InfoChunk, WritesItemsWithTerminatorAndPad) {
    const Bytes expected = ByteWriter()
                               .Text("INFO")
                               .Chunk("IART", ByteWriter().Field("caf\xC3\xA9", 6))
                               .Chunk("ICMT", ByteWriter().Field("two\r\nlines", 11))
                               .Chunk("INAM", ByteWriter().Field("", 1));
    EXPECT_EQ(Built(BuildInfoChunk,
                    {{"INFO:IART", "caf\xE9"},
                     {"INFO:INAM", ""},
                     {"INFO:ICMT", "two\r\nlines"},
                     {"INFO:LONGER", "x"},
                     {"INFO:X", "x"}},
                    "LIST"),
              expected);
    EXPECT_TRUE(Built(BuildInfoChunk, {{"INFO:LONGER", "x"}, {"BWF:Description", "x"}}, "LIST").empty());
}

TEST(CartChunk, WritesFieldsTimersAndTagText) {
    const auto body = Built(BuildCartChunk,
                            {{"CART:Title", std::string(63, 't') + "\xC3\xA9"},
                             {"CART:LevelReference", "-5"},
                             {"CART:SEC1", "77"},
                             {"CART:S", "78"},
                             {"CART:BAD1", "7x"},
                             {"CART:BAD2", "2147483648"},
                             {"CART:LONGER", "9"},
                             {"CART:URL", "4"},
                             {"CART:TagText", "odd"}},
                            "cart");
    ASSERT_EQ(body.size(), 2052u) << "even";
    EXPECT_EQ(TextAt(body, 0, 68), "0101" + std::string(63, 't') + '\0');
    EXPECT_EQ(ReadLe32(&body[680]), 0u);
    EXPECT_EQ(Bytes(body.begin() + 684, body.begin() + 708),
              ByteWriter().Field("S", 4).Le32(78).Text("SEC1").Le32(77).Zeros(8).Done());
    EXPECT_TRUE(Built(BuildCartChunk, {{"CART:Title", ""}, {"CART:LONGER", "9"}, {"CART:BAD1", "x"}}, "cart")
                    .empty());
    EXPECT_TRUE(Built(BuildCartChunk, {{"INFO:INAM", "x"}}, "cart").empty());
}

TEST(CartChunk, HoldsEightTimersAtMost) {
    Entries entries = {{"CART:Title", "t"}};
    for (char usage = 'a'; usage < 'm'; ++usage)
        entries.emplace_back(std::string("CART:") + usage, "1");
    const auto body = Built(BuildCartChunk, entries, "cart");
    EXPECT_EQ(TextAt(body, 684 + 7 * 8, 1), "h");
    EXPECT_EQ(TextAt(body, 748, 276), std::string(276, '\0'));
}

TEST(AxmlChunk, IsADocumentThatAnXmlReaderUnderstands) {
    const auto body = Built(BuildNewAxmlChunk, {{"AXML:ISRC", "A<&>\x01\xE9"}}, "axml");
    XmlMemoryParser parser(body.data(), body.size());
    ASSERT_EQ(parser.Parse(), nullptr);
    const auto& identifier = *parser.Root()->firstChild->firstChild;
    EXPECT_EQ(identifier.Attribute("formatLabel")->value, "ISRC");
    EXPECT_EQ(identifier.firstChild->Value(), "ISRC:A<&> \xC3\xA9");
    EXPECT_TRUE(Built(BuildNewAxmlChunk, {{"AXML:ISRC", ""}}, "axml").empty());
}

TEST(AcidChunk, SetsTheFlagsOfWhatItHolds) {
    const auto built = [](const AcidValues& values) {
        ChunkImage image;
        EXPECT_EQ(BuildAcidChunk(image, values), 1);
        return image;
    };
    const auto chunk = [](uint32_t flags, uint16_t note, uint32_t beats, uint16_t meter,
                          float tempo) -> Bytes {
        return ByteWriter().Chunk(
            "acid",
            ByteWriter().Le32(flags).Le16(note).Zeros(6).Le32(beats).Le16(meter).Le16(meter).LeFloat(tempo));
    };
    EXPECT_EQ(built({9, 120.5f, 8, 0}), chunk(0x0A, 69, 8, 4, 120.5f));
    EXPECT_EQ(built({-1, 0, 8, 16}), chunk(0x10, 0, 16, 0, 0));
    EXPECT_EQ(built({-3, -1, -8, -16}), chunk(0, 0, 0, 0, 0));
}

TEST(AcidChunk, KnowsTheKeysByTheirNames) {
    const std::pair<const char*, int> cases[] = {
        {"C", 0},   {"c#", 1},  {"DB", 1},  {"Eb", 3},  {"d#", 3},  {"Gb", 6},
        {"g", 7},   {"Ab", 8},  {"A#", 10}, {"B", 11},  {"Cb", 11}, {"E#", -1},
        {"Fb", -1}, {"B#", -1}, {"Am", -1}, {"C ", -1}, {"", -1},   {"H", -1},
    };
    for (const auto& [name, pitchClass] : cases)
        EXPECT_EQ(PitchClassOfKeyName(name), pitchClass) << name;
}

// One scheme with a store that its chunk can hold in full.
struct Scheme {
    const char* id;
    Builder build;
    Reader read;
    Entries entries;
};
const Scheme schemes[] = {
    {"bext",
     BuildBextChunk,
     ReadBext,
     {{"BWF:Description", std::string(256, 'd')},
      {"BWF:LoudnessRange", "12.5"},
      {"BWF:LoudnessValue", "3.07"},
      {"BWF:MaxMomentaryLoudness", "0.01"},
      {"BWF:MaxShortTermLoudness", "327.67"},
      {"BWF:MaxTruePeakLevel", "1"},
      {"BWF:OriginationDate", "2024-01-05"},
      {"BWF:OriginationTime", "07:05:59"},
      {"BWF:Originator", "caf\xC3\xA9"},
      {"BWF:OriginatorReference", "ref"},
      {"BWF:TimeReference", "18446744073709551615"}}},
    {"LIST",
     BuildInfoChunk,
     ReadInfo,
     {{"INFO:IART", "caf\xC3\xA9"},
      {"INFO:ICMT", "two\r\nlines"},
      {"INFO:IGNR", ""},
      {"INFO:INAM", "odd"},
      {"INFO:TRCK", "1"}}},
    {"cart",
     BuildCartChunk,
     ReadCart,
     {{"CART:Artist", "a"},
      {"CART:Category", "b"},
      {"CART:Classification", "c"},
      {"CART:ClientID", "d"},
      {"CART:CutID", "e"},
      {"CART:EndDate", "2024-12-31"},
      {"CART:EndTime", "23:59:59"},
      {"CART:INT1", "1"},
      {"CART:LevelReference", "32768"},
      {"CART:OutCue", std::string(64, 'f')},
      {"CART:ProducerAppID", "g"},
      {"CART:ProducerAppVersion", "h"},
      {"CART:SEG", "2147483647"},
      {"CART:StartDate", "2024-01-01"},
      {"CART:StartTime", "00:00:00"},
      {"CART:TagText", "caf\xC3\xA9\r\n<tag/>"},
      {"CART:Title", "i"},
      {"CART:URL", "http://x"},
      {"CART:UserDef", "j"}}},
    {"axml", BuildNewAxmlChunk, ReadAxml, {{"AXML:ISRC", "USS1Z9900001"}}},
};

Entries ReadBack(const Scheme& scheme, const Entries& entries) {
    MetadataStore store;
    EXPECT_TRUE(scheme.read(Built(scheme.build, entries, scheme.id), store));
    return EntriesOf(store);
}

TEST(RoundTrip, EverySchemeReadsWhatItWrote) {
    for (const auto& scheme : schemes)
        EXPECT_EQ(ReadBack(scheme, scheme.entries), scheme.entries) << scheme.id;
}

TEST(RoundTrip, OneEditReachesAFixedPoint) {
    const auto isrc = ReadBack(schemes[3], {{"AXML:ISRC", "A&B<&amp;"}});
    EXPECT_EQ(isrc, (Entries{{"AXML:ISRC", "A&amp;B&lt;&amp;"}}));
    EXPECT_EQ(ReadBack(schemes[3], isrc), isrc);
    const auto loudness = ReadBack(schemes[0], {{"BWF:LoudnessValue", "-23"}});
    EXPECT_EQ(loudness, (Entries{{"BWF:LoudnessValue", "-22.99"}, {"BWF:TimeReference", "0"}}));
}

// Nothing but what the whole chunk holds comes from a part of it, and nothing past its end is read.
TEST(HostileChunks, TruncatedAnywhere) {
    for (const auto& scheme : schemes) {
        const auto whole = Built(scheme.build, scheme.entries, scheme.id);
        for (size_t length = 0; length < whole.size(); ++length) {
            const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            MetadataStore store;
            scheme.read(part, store);
            for (const auto& [key, value] : EntriesOf(store)) {
                const auto complete = StoreOf(scheme.entries);
                ASSERT_TRUE(complete.Value(key).starts_with(value))
                    << scheme.id << " " << length << " " << key;
            }
        }
    }
}

// What was read from a broken chunk can be written, and from then on reads and writes the same. (Negative
// loudness moves with every edit.)
TEST(HostileChunks, MutatedAnyhow) {
    std::mt19937 random(7);
    for (const auto& scheme : schemes) {
        const auto whole = Built(scheme.build, scheme.entries, scheme.id);
        for (int round = 0; round < 3000; ++round) {
            auto bytes = whole;
            bytes.resize(whole.size() - random() % 4);
            for (auto changes = random() % 6 + 1; changes > 0; --changes)
                bytes[random() % bytes.size()] = static_cast<uint8_t>(random() % 3 == 0 ? 0xFF : random());
            MetadataStore store;
            scheme.read(bytes, store);
            const auto written = Built(scheme.build, EntriesOf(store), scheme.id);
            if (written.empty() || scheme.build == BuildBextChunk) continue;
            ASSERT_EQ(Built(scheme.build, ReadBack(scheme, EntriesOf(store)), scheme.id), written);
        }
    }
}

}  // namespace
}  // namespace vantor
