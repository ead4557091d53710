#include <gtest/gtest.h>

#include <limits>

#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

struct Desc {
    double rate = 48000;
    std::string_view format = "lpcm";
    uint32_t flags = 0;
    uint32_t packetBytes = 4;
    uint32_t packetFrames = 1;
    uint32_t channels = 2;
    uint32_t bits = 16;
};

Bytes DescBody(const Desc& d) {
    return ByteWriter()
        .BeDouble(d.rate)
        .Text(d.format)
        .Be32(d.flags)
        .Be32(d.packetBytes)
        .Be32(d.packetFrames)
        .Be32(d.channels)
        .Be32(d.bits);
}

Bytes CafFile(const Bytes& chunks) {
    return ByteWriter().Text("caff").Be16(1).Be16(0).Add(chunks);
}

ByteWriter WithAudio(const Bytes& between, const Desc& desc = {}) {
    return ByteWriter()
        .CafChunk("desc", DescBody(desc))
        .Add(between)
        .CafChunk("data", ByteWriter().Zeros(44));
}

std::unique_ptr<ParsedFile> ParseCaf(const Bytes& between, const Desc& desc = {}) {
    return ParseBytes(CafFile(WithAudio(between, desc)));
}

Bytes CafMark(int64_t frame, uint32_t id) {
    return ByteWriter().Be32(0).Be64(static_cast<uint64_t>(frame)).Be32(id).Zeros(12);
}

TEST(CafWalk, RefusesWithTheMessageOfWhatIsWrong) {
    const auto chunks = [](const Bytes& bytes) { return CafFile(bytes); };
    const auto desc = [](const Desc& d) { return CafFile(WithAudio({}, d)); };
    const auto after = [](const Bytes& bytes) {
        return CafFile(ByteWriter().CafChunk("desc", DescBody({})).Add(bytes));
    };
    const auto cut = [&](std::string_view id, uint64_t size, const Bytes& body) {
        return after(ByteWriter().Text(id).Be64(size).Add(body));
    };
    const auto eight = ByteWriter().Be32(0).Be32(0xFFFFFFFF);
    const struct {
        const char* message;
        Bytes file;
    } refusals[] = {
        {"Unknown file header", ByteWriter().Text("caff").Be16(2).Be16(0).Zeros(20)},
        {"Unknown file header", chunks({})},  // 8 bytes are too few to be recognised
        {"Error reading CAFF chunk header", chunks(ByteWriter().Zeros(5))},
        {"Couldn't find format chunk in file", chunks(ByteWriter().Text("free").Be64(~0ull))},
        {"Couldn't find data chunk in file", cut("free", ~uint64_t{1}, {})},  // -2
        {"Error reading CAFF chunk header", cut("free", INT64_MAX, {})},
        {"CAFF desc chunk is invalid", chunks(ByteWriter().CafChunk("desc", ByteWriter().Zeros(31)))},
        {"CAFF desc chunk is invalid", chunks(ByteWriter().Text("desc").Be64(~0ull).Add(DescBody({})))},
        {"Error reading CAFF desc chunk", chunks(ByteWriter().Text("desc").Be64(32).Zeros(31))},
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
        {"CAFF data block too short", after(ByteWriter().CafChunk("data", ByteWriter().Zeros(4)))},
        {"CAFF data block too short", cut("data", ~0ull, ByteWriter().Zeros(4))},
        {"CAFF data block too short", cut("data", ~uint64_t{1}, ByteWriter().Zeros(40))},
        {"Error reading CAFF channel layout chunk", cut("chan", 12, ByteWriter().Zeros(11))},
        {"Error reading CAFF info chunk", cut("info", 40, ByteWriter().Zeros(39))},
        {"Error reading CAFF mark chunk", cut("mark", 8, ByteWriter().Zeros(7))},
        {"Error reading CAFF mark chunk", cut("mark", 1000, ByteWriter().Add(eight).Add(CafMark(1, 1)))},
        {"Error reading CAFF mark chunk",
         after(ByteWriter().CafChunk("mark", ByteWriter().Add(eight).Zeros(40)))},
        {"Error reading CAFF regn chunk", cut("regn", 1000, ByteWriter().Add(eight).Zeros(11))},
        {"Error reading CAFF regn chunk",
         cut("regn", 1000, ByteWriter().Add(eight).Be32(1).Be32(0).Be32(0xFFFFFFFF).Add(CafMark(1, 1)))},
        {"Error reading CAFF strg chunk", cut("strg", 1000, ByteWriter().Be32(0xFFFFFFFF).Zeros(100))},
        {"Error reading CAFF strg chunk", cut("strg", 20, ByteWriter().Be32(1).Be32(1).Be64(0).Zeros(3))},
        {"Error reading CAFF strg chunk",
         after(ByteWriter().CafChunk("strg", ByteWriter().Be32(1).Zeros(11)))},
    };
    for (const auto& refusal : refusals) {
        const auto parsed = ParseBytes(refusal.file);
        EXPECT_EQ(parsed->result, 1) << refusal.message;
        EXPECT_EQ(parsed->Message(), refusal.message) << &refusal - refusals;
    }
}

TEST(CafWalk, TakesItsDescription) {
    const struct {
        Desc desc;
        bool bigEndian;
        int encoding, bits, blockAlign;
    } cases[] = {
        {{}, true, 1, 16, 4},
        {{.flags = 2}, false, 1, 16, 4},
        {{.flags = 1, .packetBytes = 8, .bits = 32}, true, 3, 32, 8},
        {{.flags = 3, .packetBytes = 16, .bits = 64}, false, 3, 64, 16},
        {{.packetBytes = 6, .bits = 24}, true, 1, 24, 6},
        {{.packetBytes = 8, .bits = 24}, true, 1, 32, 8},
        {{.packetBytes = 6, .bits = 20}, true, 1, 20, 6},
        {{.packetBytes = 5, .bits = 20}, true, 1, 20, 5},
        {{.packetBytes = 0, .packetFrames = 0, .bits = 8}, true, 1, 8, 2},
        {{.packetBytes = 40, .packetFrames = 4}, true, 1, 16, 10},
        {{.packetBytes = 0x80000000, .packetFrames = 0xFFFFFFFF}, true, 1, 16, 4},
    };
    for (const auto& c : cases) {
        const auto parsed = ParseCaf({}, c.desc);
        EXPECT_EQ(parsed->result, 0) << parsed->Message();
        EXPECT_EQ(parsed->format.fileKind, kindCaf);
        EXPECT_EQ(parsed->format.sampleRate, 48000);
        EXPECT_EQ(parsed->format.bigEndian, c.bigEndian) << c.desc.flags;
        EXPECT_EQ(parsed->format.encoding, c.encoding) << c.desc.flags;
        EXPECT_EQ(parsed->format.bitsPerSample, c.bits) << c.desc.bits;
        EXPECT_EQ(parsed->format.blockAlign, c.blockAlign) << c.desc.packetBytes;
        EXPECT_EQ(parsed->format.lengthFrames, 40 / c.blockAlign) << c.desc.bits;
    }
}

TEST(CafWalk, ReadsTheChunksBesideTheAudio) {
    const auto parsed = ParseCaf(ByteWriter()
                                     .CafChunk("chan", ByteWriter().Be32(layoutFromMask).Be32(3).Be32(0))
                                     .CafChunk("free", ByteWriter().Zeros(7))
                                     .CafChunk("pakt", ByteWriter().Be64(1).Be64(9).Be32(2).Be32(3))
                                     .CafChunk("abcd", {})
                                     .CafChunk("strg", ByteWriter().Zeros(3)));
    ASSERT_EQ(parsed->result, 0) << parsed->Message();
    EXPECT_EQ(parsed->format.layoutTag, layoutFromMask);
    EXPECT_EQ(parsed->format.channelMask, 3u);
    EXPECT_EQ(parsed->format.validFrames, 9);
    EXPECT_EQ(parsed->format.primingFrames, 2);
    EXPECT_EQ(parsed->format.remainderFrames, 3);
    EXPECT_TRUE(parsed->format.metadata.Has("abcd"));
    EXPECT_EQ(parsed->format.metadata.Count(), 1u);
}

TEST(CafWalk, AudioToTheEndIsTheLastChunk) {
    const auto parsed = ParseBytes(CafFile(ByteWriter()
                                               .Text("data")
                                               .Be64(40)
                                               .Zeros(40)  // a later one counts
                                               .CafChunk("desc", DescBody({}))
                                               .Text("data")
                                               .Be64(~0ull)
                                               .Zeros(4)
                                               .CafChunk("abcd", ByteWriter().Zeros(18))));
    ASSERT_EQ(parsed->result, 0) << parsed->Message();
    EXPECT_EQ(parsed->format.lengthFrames, (12 + 18) / 4);
    EXPECT_FALSE(parsed->format.metadata.Has("abcd"));
}

TEST(CafWalk, ReadsTheDictionaryAndGoesOnAfterABadOne) {
    const auto info = [](uint32_t count) {
        return ParseCaf(ByteWriter().CafChunk(
            "info", ByteWriter().Be32(count).Text("tempo").U8(0).Text("120").U8(0).Text("title").U8(0)));
    };
    EXPECT_EQ(info(1)->Value("CAFINFO:tempo"), "120");
    EXPECT_EQ(info(2)->result, 0);
    EXPECT_EQ(info(2)->Value("CAFINFO:tempo"), "120");
    EXPECT_EQ(info(0)->format.metadata.Count(), 0u);
}

TEST(CafWalk, NamesAndNumbersItsMarkers) {
    const auto text = std::string("Verse") + '\0' + '\0' + std::string(600, 'x');
    ByteWriter strings;
    strings.Be32(5);
    strings.Be32(7).Be64(0).Be32(7).Be64(2);  // of two the first
    strings.Be32(8).Be64(6);                  // an empty string
    strings.Be32(9).Be64(1000);               // beyond the text
    strings.Be32(3).Be64(7);
    strings.Text(text);
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
    const auto parsed =
        ParseCaf(ByteWriter().CafChunk("mark", marks).CafChunk("regn", regions).CafChunk("strg", strings));
    ASSERT_EQ(parsed->result, 0) << parsed->Message();
    const auto& markers = parsed->format.markers;
    // Numbered before the one at 0 without a name, the 6th, and the one before the start are removed.
    ASSERT_EQ(markers.size(), 6u);
    EXPECT_EQ(markers[0].name, "Verse");
    EXPECT_EQ(markers[0].start, 0.5);
    EXPECT_FALSE(markers[1].name);
    EXPECT_FALSE(markers[2].name);
    EXPECT_EQ(markers[3].name, std::string(511, 'x'));
    EXPECT_FALSE(markers[4].name);
    EXPECT_EQ(markers[4].id, 5);
    EXPECT_EQ(markers[5].id, 8);
    EXPECT_TRUE(markers[5].isRegion);
    EXPECT_EQ(markers[5].start, 1.0);
    EXPECT_EQ(markers[5].end, 2.0);
    EXPECT_EQ(markers[5].name, "Verse");
}

TEST(CafWalk, MarkersNeedARate) {
    const auto marks = ByteWriter().CafChunk("mark", ByteWriter().Be32(0).Be32(1).Add(CafMark(24000, 7)));
    EXPECT_TRUE(ParseBytes(CafFile(ByteWriter().Add(marks).Add(WithAudio({}))))->format.markers.empty());
    EXPECT_TRUE(ParseCaf(marks, {.rate = 1})->format.markers.empty());
    EXPECT_EQ(ParseCaf(marks, {.rate = 1.5})->format.markers.size(), 1u);
}

}  // namespace
}  // namespace vantor::test
