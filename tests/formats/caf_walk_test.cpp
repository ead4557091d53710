#include <limits>

#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

TEST(CafWalk, RefusesWithTheMessageOfWhatIsWrong) {
    const auto desc = [](const CafDescription& d) { return CafAudioFile({}, d); };
    const auto cut = [](std::string_view id, uint64_t size, const Bytes& body) {
        return CafFile(ByteWriter().CafChunk("desc", DescBody()).Text(id).Be64(size).Add(body));
    };
    const auto many = [](const Bytes& body) { return ByteWriter().Be32(0).Be32(0xFFFFFFFF).Add(body); };
    const Bytes endlessRegion = ByteWriter().Be32(1).Be32(0).Be32(0xFFFFFFFF).Add(CafMark(1, 1));
    constexpr uint64_t minusTwo = ~uint64_t{1};
    ExpectRefusals({
        {"Unknown file header", ByteWriter().Text("caff").Be16(2).Be16(0).Zeros(20)},
        {"Unknown file header", CafFile({})},  // 8 bytes are too few to be recognised
        {"Error reading CAFF chunk header", CafFile(Bytes(5))},
        {"Error reading CAFF chunk header", cut("free", INT64_MAX, {})},
        {"Couldn't find format chunk in file", CafFile(ByteWriter().Text("free").Be64(~0ull))},
        {"Couldn't find data chunk in file", cut("free", minusTwo, {})},
        {"CAFF desc chunk is invalid", CafFile(ByteWriter().CafChunk("desc", Bytes(31)))},
        {"CAFF desc chunk is invalid", CafFile(ByteWriter().Text("desc").Be64(~0ull).Add(DescBody()))},
        {"Error reading CAFF desc chunk", CafFile(ByteWriter().Text("desc").Be64(32).Zeros(31))},
        {"CAFF has invalid sample rate", desc({.rate = 0})},
        {"CAFF has invalid sample rate", desc({.rate = -44100})},
        {"CAFF has invalid sample rate", desc({.rate = std::numeric_limits<double>::quiet_NaN()})},
        {"CAFF has invalid sample rate", desc({.rate = std::numeric_limits<double>::infinity()})},
        {"CAFF has unsupported compressed data type", desc({.format = "aac "})},
        {"CAFF channel count invalid", desc({.channels = 0})},
        {"CAFF channel count invalid", desc({.channels = 129})},
        {"CAFF channel count invalid", desc({.channels = 0xFFFFFFFF})},
        {"CAFF is floating point PCM, but not 32/64 bit", desc({.flags = 1, .bits = 16})},
        {"CAFF is PCM, but unsupported bit depth", desc({.bits = 12})},
        {"CAFF is PCM, but unsupported bit depth", desc({.bits = 64})},
        {"CAFF data block too short", cut("data", 4, Bytes(4))},
        {"CAFF data block too short", cut("data", ~0ull, Bytes(4))},
        {"CAFF data block too short", cut("data", minusTwo, Bytes(40))},
        {"Error reading CAFF channel layout chunk", cut("chan", 12, Bytes(11))},
        {"Error reading CAFF info chunk", cut("info", 40, Bytes(39))},
        {"Error reading CAFF mark chunk", cut("mark", 8, Bytes(7))},
        {"Error reading CAFF mark chunk", cut("mark", 1000, many(CafMark(1, 1)))},
        {"Error reading CAFF mark chunk", cut("mark", 48, many(Bytes(40)))},
        {"Error reading CAFF regn chunk", cut("regn", 1000, many(Bytes(11)))},
        {"Error reading CAFF regn chunk", cut("regn", 1000, many(endlessRegion))},
        {"Error reading CAFF strg chunk", cut("strg", 1000, ByteWriter().Be32(0xFFFFFFFF).Zeros(100))},
        {"Error reading CAFF strg chunk", cut("strg", 20, ByteWriter().Be32(1).Be32(1).Be64(0).Zeros(3))},
        {"Error reading CAFF strg chunk", cut("strg", 15, ByteWriter().Be32(1).Zeros(11))},
    });
}

TEST(CafWalk, TakesItsDescription) {
    const struct {
        CafDescription desc;
        const char* audio;
    } cases[] = {
        {{}, "int16 big, 2 ch, 48000 Hz, 4 bytes, 10 frames"},
        {{.flags = 2}, "int16 little, 2 ch, 48000 Hz, 4 bytes, 10 frames"},
        {{.flags = 1, .packetBytes = 8, .bits = 32}, "float32 big, 2 ch, 48000 Hz, 8 bytes, 5 frames"},
        {{.flags = 3, .packetBytes = 16, .bits = 64}, "float64 little, 2 ch, 48000 Hz, 16 bytes, 2 frames"},
        {{.packetBytes = 6, .bits = 24}, "int24 big, 2 ch, 48000 Hz, 6 bytes, 6 frames"},
        {{.packetBytes = 8, .bits = 24}, "int32 big, 2 ch, 48000 Hz, 8 bytes, 5 frames"},
        {{.packetBytes = 6, .bits = 20}, "int20 big, 2 ch, 48000 Hz, 6 bytes, 6 frames"},
        {{.packetBytes = 5, .bits = 20}, "int20 big, 2 ch, 48000 Hz, 5 bytes, 8 frames"},
        {{.packetBytes = 0, .packetFrames = 0, .bits = 8}, "int8 big, 2 ch, 48000 Hz, 2 bytes, 20 frames"},
        {{.packetBytes = 40, .packetFrames = 4}, "int16 big, 2 ch, 48000 Hz, 10 bytes, 4 frames"},
        {{.packetBytes = 0x80000000, .packetFrames = 0xFFFFFFFF},
         "int16 big, 2 ch, 48000 Hz, 4 bytes, 10 frames"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(AudioText(ParsePlayable(CafAudioFile({}, c.desc))->format),
                  c.audio + std::string(" at 68"));
}

TEST(CafWalk, AudioToTheEndIsTheLastChunk) {
    ByteWriter chunks;
    chunks.CafChunk("data", Bytes(40)).CafChunk("desc", DescBody()).CafChunk("strg", Bytes(3));
    chunks.Text("data").Be64(~0ull).Zeros(4).CafChunk("abcd", Bytes(18));
    EXPECT_EQ(RecordText(ParsePlayable(CafFile(chunks))->format),
              "kind 4, int16 big, 2 ch, 48000 Hz, 4 bytes, 7 frames at 135\n");
}

TEST(CafWalk, GoesOnAfterABadDictionary) {
    for (const uint32_t count : {0u, 1u, 2u}) {
        const auto info = ByteWriter().Be32(count).Text("tempo").U8(0).Text("120").U8(0).Text("title").U8(0);
        const auto parsed = ParsePlayable(CafAudioFile(ByteWriter().CafChunk("info", info)));
        EXPECT_EQ(parsed->format.metadata.Value("CAFINFO:tempo"), count == 0 ? "" : "120");
    }
}

TEST(CafWalk, NamesAndNumbersItsMarkers) {
    ByteWriter strings;
    strings.Be32(5);
    strings.Be32(7).Be64(0).Be32(7).Be64(2);  // of two the first
    strings.Be32(8).Be64(6);                  // an empty string
    strings.Be32(9).Be64(1000);               // beyond the text
    strings.Be32(3).Be64(7);
    strings.Text("Verse").Zeros(2).Fill(600, 'x');
    ByteWriter marks;
    marks.Be32(0).Be32(8);
    for (const uint32_t id : {7u, 0u, 8u, 9u, 3u, 0x80000007u})
        marks.Add(CafMark(24000, id));
    marks.Add(CafMark(0, 12)).Add(CafMark(-1, 7));
    ByteWriter regions;
    regions.Be32(0).Be32(3);
    regions.Be32(7).Be32(0).Be32(3).Add(CafMark(96000, 1)).Add(CafMark(48000, 2)).Add(CafMark(72000, 3));
    regions.Be32(7).Be32(0).Be32(2).Add(CafMark(5, 1)).Add(CafMark(5, 2));
    regions.Be32(0).Be32(0).Be32(2).Add(CafMark(5, 1)).Add(CafMark(6, 2));
    const auto parsed = ParsePlayable(CafAudioFile(
        ByteWriter().CafChunk("mark", marks).CafChunk("regn", regions).CafChunk("strg", strings)));
    // Numbered before the one at 0 without a name, the 6th, and the one before the start are removed.
    EXPECT_EQ(MarkersText(parsed->format.markers),
              "1@0.5 Verse; 2@0.5; 3@0.5; 4@0.5 " + std::string(511, 'x') + "; 5@0.5; 8@1-2 Verse");
}

TEST(CafWalk, MarkersNeedARate) {
    const auto marks = ByteWriter().CafChunk("mark", ByteWriter().Be32(0).Be32(1).Add(CafMark(24000, 7)));
    const Bytes early =
        CafFile(ByteWriter().Add(marks).CafChunk("desc", DescBody()).CafChunk("data", Bytes(44)));
    EXPECT_TRUE(ParsePlayable(early)->format.markers.empty());
    EXPECT_TRUE(ParsePlayable(CafAudioFile(marks, {.rate = 1}))->format.markers.empty());
    EXPECT_EQ(ParsePlayable(CafAudioFile(marks, {.rate = 1.5}))->format.markers.size(), 1u);
}

}  // namespace
}  // namespace vantor::test
