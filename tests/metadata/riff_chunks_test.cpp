// The chunks of fixed fields, read and built: "bext" (EBU Tech 3285), INFO lists, "cart" (AES46) and "acid";
// and the dictionary of CAF files.

#include <gtest/gtest.h>

#include <cmath>

#include "fileio/byte_order.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

using Builder = int (*)(ChunkImage&, const MetadataStore&);

// The body of the one chunk that the builder makes; empty when it makes none.
Bytes Built(Builder builder, const Entries& entries) {
    ChunkImage image = {0xEE};
    if (builder(image, StoreOf(entries)) == 0) return {};
    const auto bodyBytes = ReadLe32(&image[5]);
    EXPECT_EQ(image[0], 0xEE);
    EXPECT_EQ(image.size(), 1 + 8 + bodyBytes + bodyBytes % 2);
    return {image.begin() + 9, image.begin() + 9 + bodyBytes};
}

const std::string fullText(256, 'd');
Bytes BextBody() {
    ByteWriter body;
    body.Text(fullText).Field("caf\u00E9", 32).Field("ref", 32).Text("2024-01-0507:05:59");
    body.Le64(UINT64_MAX).Le16(2).Zeros(64);
    return body.Le16(307).Le16(1250).Le16(100).Le16(1).Le16(32767).Zeros(180);
}

Bytes InfoBody() {
    const Bytes artist = BytesOf("caf\u00E9\0"s), comment = BytesOf("two\r\nlines\0"s);
    return ByteWriter().Text("INFO").Chunk("IART", artist).Chunk("ICMT", comment).Chunk("IGNR", Bytes(1));
}

Bytes CartBody() {
    ByteWriter body;
    body.Text("0101");
    for (const char* text : {"i", "a", "e", "d", "b", "c", "f"})
        body.Field(text, 64);
    body.Text("2024-01-0100:00:002024-12-3123:59:59").Field("g", 64).Field("h", 64).Field("j", 64);
    body.Le32(32768).Text("INT1").Le32(1).Field("SEG", 4).Le32(2147483647).Zeros(48 + 276);
    return body.Field(fullText, 1024).Field("odd", 4);
}

// One scheme with a store that its chunk can hold in full, and that chunk.
struct Scheme {
    std::string name;
    Builder build;
    Entries entries;
    Bytes body;
};
const Scheme schemes[] = {
    {"BWF", BuildBextChunk,
     Listed("BWF:", "Description=" + fullText +
                        "|LoudnessRange=12.5|LoudnessValue=3.07|MaxMomentaryLoudness=0.01"
                        "|MaxShortTermLoudness=327.67|MaxTruePeakLevel=1|OriginationDate=2024-01-05"
                        "|OriginationTime=07:05:59|Originator=caf\u00E9|OriginatorReference=ref"
                        "|TimeReference=18446744073709551615"),
     BextBody()},
    {"INFO", BuildInfoChunk, Listed("INFO:", "IART=caf\u00E9|ICMT=two\r\nlines|IGNR="), InfoBody()},
    {"CART", BuildCartChunk,
     Listed("CART:",
            "Artist=a|Category=b|Classification=c|ClientID=d|CutID=e|EndDate=2024-12-31|EndTime=23:59:59"
            "|INT1=1|LevelReference=32768|OutCue=f|ProducerAppID=g|ProducerAppVersion=h|SEG=2147483647"
            "|StartDate=2024-01-01|StartTime=00:00:00|TagText=odd|Title=i|URL=" +
                fullText + "|UserDef=j"),
     CartBody()},
};

TEST(RiffChunks, HaveTheStandardLayoutBothWays) {
    for (const auto& [name, build, entries, body] : schemes) {
        EXPECT_EQ(Built(build, entries), body) << name;
        EXPECT_EQ(ReadEntries(name, body), entries);
        for (const auto& other : schemes)
            EXPECT_EQ(Built(build, other.entries).empty(), other.name != name);
    }
}

// What is read back of a value that was written alone.
std::string Kept(const std::string& key, const std::string& value) {
    for (const auto& [name, build, entries, body] : schemes)
        if (key.starts_with(name)) {
            const auto chunk = Built(build, {{key, value}});
            return chunk.empty() ? "" : std::string(StoreOf(ReadEntries(name, chunk)).Value(key));
        }
    return "no such scheme";
}

TEST(RiffChunks, KeepWhatFitsTheirFields) {
    const std::string d(255, 'd'), o(32, 'o'), t(63, 't');
    const std::pair<const char*, Entries> cases[] = {
        // given=kept
        {"BWF:Description", {{d + "\u00E9tail", d + "\xC3"}}},
        {"BWF:Originator", {{o + "o", o}}},
        {"BWF:OriginationDate",
         Listed("",
                "2024/01/05=2024/01/05|2024-1-05=|2024-01-0x=|2024-01-05T=|x024-01-05=|2x24-01-05="
                "|20x4-01-05=|202x-01-05=|2024-x1-05=|2024-0x-05=|2024-01-x5=|2090/01/05=2090/01/05"
                "|202:-01-05=|202/-01-05=")},
        {"BWF:OriginationTime",
         Listed("",
                "07:05=07:05:00|12.34.56=12.34.56|07:05:0=07:05:00|07:05:xx=07:05:00|7:05:00=|07:5="
                "|07:05:001=|x7:05=|0x:05=|07:x5=|07:0x=|07:05:x1=07:05:00|07:05:1x=07:05:00")},
        {"BWF:TimeReference", Listed("", "48000=48000|-1=0|48000.0=0| 1=0")},
        // In hundredths; negative ones come a hundredth nearer to zero.
        {"BWF:MaxTruePeakLevel",
         Listed("",
                "-23=-22.99|-1.004=-0.99|12.5=12.5|0.005=0.01|-0.005=|-23.045=-23.04|1e300=|inf="
                "|nonsense=|400=-255.36")},
        {"INFO:INAM", {{"caf\xE9", "caf\u00E9"}}},
        {"INFO:LONGER", {{"x", ""}}},
        {"INFO:X", {{"x", ""}}},
        {"CART:BAD1", Listed("", "7x=|2147483648=|0=|-1=|1=1|=")},
        {"CART:LONGER", {{"9", ""}}},
        {"CART:", {{"9", ""}}},
        {"CART:URL", {{"9", "9"}}},
        {"CART:LevelReference", Listed("", "-5=|5=5")},
        {"CART:Title", {{t + "\u00E9", t}, {"", ""}}},
    };
    for (const auto& [key, values] : cases)
        for (const auto& [given, kept] : values)
            EXPECT_EQ(Kept(key, given), kept) << key << " " << given;
}

TEST(RiffChunks, ACartHoldsEightTimers) {
    Entries entries;
    for (char usage = 'a'; usage < 'm'; ++usage)
        entries.emplace_back(std::string("CART:") + usage, "1");
    const auto read = ReadEntries("CART", Built(BuildCartChunk, entries));
    EXPECT_EQ(read, Entries(entries.begin(), entries.begin() + 8));
    // Only what stands for one takes a place.
    const auto url = Listed("", "CART:URL=5|CART:ZERO=0|INFO:ABCD=5|CART:LONGER=5|CART:=5");
    EXPECT_EQ(TextOf(Built(BuildCartChunk, url)).substr(684, 64), std::string(64, '\0'));
    EXPECT_EQ(Built(BuildCartChunk, Listed("", "CART:ZERO=0|CART:URL=")), Bytes{});
}

struct Case {
    const char* kind;
    Bytes chunk;
    Entries entries;
};

ByteWriter Bext(uint16_t version) {
    return ByteWriter().Zeros(346).Le16(version).Zeros(64).Le16(uint16_t(-2300)).Le16(1250).Zeros(186);
}

ByteWriter NegativeCart() {
    ByteWriter chunk;
    chunk.Zeros(680).Le32(uint32_t(-1)).Text("NEG ").Le32(uint32_t(-1)).Zeros(4).Le32(30);
    chunk.Text("ZERO").Le32(0).Field("SG", 4).Le32(20).Zeros(748 - 716);
    // Behind eight timers there are none.
    return chunk.Text("MORE").Le32(1).Zeros(2048 - 756).Field("tag", 4).Text("x");
}

ByteWriter Info(std::string_view type = "info") {
    return ByteWriter().Text(type).Chunk("INAM", BytesOf("name"));
}

ByteWriter Acid(uint32_t flags, uint16_t note, uint32_t beats, float tempo) {
    return ByteWriter().Le32(flags).Le16(note).Zeros(6).Le32(beats).Le16(4).Le16(4).LeFloat(tempo);
}

TEST(RiffChunks, OfOtherWritersAreReadAsFarAsTheyAreSound) {
    const auto name = Listed("INFO:", "INAM=name");
    const Case cases[] = {
        {"bwf", Bext(1), refused},
        {"BWF", Bext(1), Listed("BWF:", "TimeReference=0")},
        {"BWF", Bext(2), Listed("BWF:", "LoudnessRange=12.5|LoudnessValue=-23|TimeReference=0")},
        {"BWF", Bytes(601), refused},
        {"CART", NegativeCart(), Listed("CART:", "SG=20|TagText=tag")},
        {"CART", Bytes(2047), refused},
        {"INFO",
         Info()
             .Chunk("IART", BytesOf("caf\xE9"))
             .Chunk("INAM", BytesOf("last"))
             .Chunk("I\0XY"s, BytesOf("cut"))
             .Chunk("\0XYZ"s, BytesOf("dropped"))
             .Chunk("I\xFF\xFEX", BytesOf("odd")),
         Listed("INFO:", "I=cut|IART=caf\u00E9|INAM=last|I\xFF\xFEX=odd")},
        {"INFO", Info().Text("ICMT").Le32(5).Text("four"), name},
        {"INFO", Info().Text("ICMT").Le32(0), name},
        {"INFO", Info().Text("ICMT").Le32(3).Text("odd"), Listed("INFO:", "ICMT=odd|INAM=name")},
        {"INFO", Info().Chunk("INAM", {}).Chunk("INAM", Bytes(2)), name},  // empty: it takes nothing away
        {"INFO", Info("adtl"), refused},
        {"INFO", ByteWriter().Text("INFO"), {}},
        {"INFO", ByteWriter().Text("INFOINAM").Le32(1).Text("n"), Listed("", "INFO:INAM=n")},
        {"ACID", Acid(0x0A, 66, 8, 120), Listed("ACID:", "BEATS=8|BPM=120.000000|KEY=F#")},
        {"ACID", Acid(0x0B, 66, 8, 120), refused},
        {"ACID", Acid(0x1A, 0x0147, 8, 2), Listed("ACID:", "KEY=B")},
        {"ACID", Acid(0x02, 72, 1023, 120), Listed("ACID:", "BEATS=1023")},
        {"ACID", Acid(0x08, 66, 0, NAN), {}},
        {"ACID", Acid(0x0A, 59, 1024, 960), {}},
        {"ACID", Acid(0x0A, 60, 1, 959.5f), Listed("ACID:", "BEATS=1|BPM=959.500000|KEY=C")},
        {"ACID", Acid(0x08, 60, 0, 2.5f), Listed("ACID:", "BPM=2.500000")},
        {"ACID", Bytes(25), refused},
        {"ACID", Bytes(23), refused},
    };
    for (const auto& [kind, chunk, entries] : cases)
        EXPECT_EQ(ReadEntries(kind, chunk), entries) << kind << " " << chunk.size();
    const Bytes info = InfoBody();
    MetadataStore store;
    EXPECT_FALSE(ReadInfo(std::span(info).first(3), store));
}

Bytes BuiltAcid(const AcidValues& values) {
    ChunkImage image;
    EXPECT_EQ(BuildAcidChunk(image, values), 1);
    EXPECT_EQ(FourCharacters(image.data()), "acid");
    return {image.begin() + 8, image.end()};
}

TEST(AcidChunk, SetsTheFlagsOfWhatItHolds) {
    EXPECT_EQ(BuiltAcid({9, 120.5f, 8, 0}), Acid(0x0A, 69, 8, 120.5f).Done());
    EXPECT_EQ(BuiltAcid({-1, 0, 8, 16}), ByteWriter().Le32(0x10).Zeros(8).Le32(16).Zeros(8).Done());
    EXPECT_EQ(BuiltAcid({-3, -1, -8, -16}), Bytes(24));
    for (int note = 0; note < 12; ++note)
        EXPECT_EQ(PitchClassOfKeyName(ReadEntries("ACID", BuiltAcid({.key = note})).at(0).second), note);
    for (const auto& [name, note] : Listed("", "c#=1|DB=1|Eb=3|Cb=11|E#=-1|Am=-1|C =-1|=-1"))
        EXPECT_EQ(PitchClassOfKeyName(name), std::stoi(note)) << name;
}

Entries ReadCaf(const Bytes& body) {
    MetadataStore store;
    if (!ReadCafInfo(body, store)) store.Set("refused", "");
    return EntriesOf(store);
}

TEST(CafInfo, IsReadUpToTheFirstBrokenPair) {
    const Bytes first = ByteWriter().Be32(2).Text("tempo\000120\0"s);
    const auto with = [&](const std::string& second) {
        return ReadCaf(ByteWriter().Add(first).Text(second));
    };
    EXPECT_EQ(with("k\0\u0080\u07FF\u0800\uFFFF\U00010000\xF7\x80\x80\x80\0"s),
              Listed("CAFINFO:", "k=\u0080\u07FF\u0800\uFFFF\U00010000\xF7\x80\x80\x80|tempo=120"));
    for (const std::string& broken : {"key\0"s, "key\0no end"s, "k\xC1\x80\0v\0"s, "key\0\xE2\x82\0"s,
                                      "key\0\xF8\x80\x80\x80\0"s, "\x80\0v\0"s})
        EXPECT_EQ(with(broken), Listed("", "CAFINFO:tempo=120|refused=")) << broken;
    for (const uint32_t count : {0u, 16384u, 0xFFFFFFFFu})
        EXPECT_EQ(ReadCaf(ByteWriter().Be32(count).Text("tempo\000120\0"s)), refused) << count;
    EXPECT_EQ(ReadCaf({}), refused);
    for (const uint32_t count : {1u, 16383u}) {
        ByteWriter most;
        most.Be32(count);
        for (uint32_t i = 0; i < count; ++i)
            most.Text("tempo\000120\0"s);
        EXPECT_EQ(ReadCaf(most), Listed("", "CAFINFO:tempo=120")) << count;
    }
}

}  // namespace
}  // namespace vantor::test
