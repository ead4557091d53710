#include <gtest/gtest.h>

#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

Bytes IffFile(std::string_view form, const Bytes& chunks) {
    return ByteWriter().Text("FORM").Be32(static_cast<uint32_t>(chunks.size() + 4)).Text(form).Add(chunks);
}

struct Rate {
    uint16_t exponent = 0x400E;
    uint32_t mantissa = 0xAC440000;
};

Bytes Comm(uint16_t channels, uint32_t frames, uint16_t bits, std::string_view type = {}, Rate rate = {}) {
    ByteWriter comm;
    comm.Be16(channels).Be32(frames).Be16(bits).Be16(rate.exponent).Be32(rate.mantissa).Be32(0).Text(type);
    return type.empty() ? comm : comm.U8(0).U8(0);
}

Bytes Ssnd(size_t audioBytes, uint32_t offset = 0) {
    return ByteWriter().Be32(offset).Be32(0).Zeros(audioBytes);
}

std::unique_ptr<ParsedFile> ParseComm(std::string_view form, const Bytes& comm) {
    return ParseBytes(IffFile(form, ByteWriter().IffChunk("COMM", comm).IffChunk("SSND", Ssnd(240))));
}

TEST(IffWalk, RefusesWithTheMessageOfWhatIsWrong) {
    const auto comm = Comm(2, 10, 16);
    const auto withComm = [](const Bytes& body) {
        return IffFile("AIFC", ByteWriter().IffChunk("COMM", body).IffChunk("SSND", Ssnd(40)));
    };
    const struct {
        const char* message;
        Bytes file;
    } refusals[] = {
        {"Unknown file header", IffFile("ILBM", {})},
        {"Error reading AIFF chunk header", IffFile("AIFF", ByteWriter().IffChunk("COMM", comm))},
        {"Error reading AIFF chunk header", withComm(ByteWriter().Zeros(16))},
        {"Error reading AIFF COMM chunk",
         IffFile("AIFF", ByteWriter().Text("COMM").Be32(20).Add(comm).U8(0))},
        {"AIFF is not 8/16/20/24/32/64 bit", withComm(Comm(2, 10, 12, "fl32"))},
        {"AIFF is not >= 1ch", withComm(Comm(0, 10, 16))},
        {"AIFC has invalid compressed data type", withComm(Comm(2, 10, 16, "ulaw"))},
        {"Error reading AIFF SSND header",
         IffFile(
             "AIFF",
             ByteWriter().IffChunk("COMM", comm).IffChunk("SSND", Ssnd(40)).Text("SSND").Be32(8).Zeros(7))},
        {"Error reading 8SVX IFF VHDR chunk", IffFile("8SVX", ByteWriter().Text("VHDR").Be32(20).Zeros(19))},
        {"8SVX IFF unsupported compression",
         IffFile("8SVX", ByteWriter().IffChunk("VHDR", ByteWriter().Zeros(15).U8(1).Zeros(4)))},
    };
    for (const auto& refusal : refusals) {
        const auto parsed = ParseBytes(refusal.file);
        EXPECT_EQ(parsed->result, 1) << refusal.message;
        EXPECT_EQ(parsed->Message(), refusal.message);
        EXPECT_EQ(parsed->format.channels, 0) << refusal.message;
    }
}

TEST(IffWalk, EveryCompressionTypeHasItsEncoding) {
    const struct {
        std::string_view form, type;
        uint16_t declaredBits;
        bool bigEndian;
        int encoding, bits;
    } cases[] = {
        {"AIFF", "", 16, true, 1, 16},      {"AIFC", "", 24, true, 1, 24},
        {"AIFF", "ulaw", 8, true, 1, 8},    {"AIFC", "NONE", 20, true, 1, 20},
        {"AIFC", "twos", 16, true, 1, 16},  {"AIFC", "in32", 16, true, 1, 16},
        {"AIFC", "in24", 16, true, 1, 24},  {"AIFC", "fl32", 16, true, 3, 32},
        {"AIFC", "FL32", 32, true, 3, 32},  {"AIFC", "fl64", 64, true, 3, 64},
        {"AIFC", "FL64", 16, true, 3, 64},  {"AIFC", "sowt", 8, false, 1, 8},
        {"AIFC", "ENON", 16, false, 1, 16}, {"AIFC", "42ni", 32, false, 1, 24},
        {"AIFC", "23lf", 16, false, 3, 32}, {"AIFC", "23LF", 16, false, 3, 32},
        {"AIFC", "46lf", 16, false, 3, 64}, {"AIFC", "46LF", 16, false, 3, 64},
    };
    for (const auto& c : cases) {
        const auto parsed = ParseComm(c.form, Comm(2, 10, c.declaredBits, c.type));
        EXPECT_EQ(parsed->result, 0) << c.type << parsed->Message();
        EXPECT_EQ(parsed->format.bigEndian, c.bigEndian) << c.type;
        EXPECT_EQ(parsed->format.encoding, c.encoding) << c.type;
        EXPECT_EQ(parsed->format.bitsPerSample, c.bits) << c.type;
        EXPECT_EQ(parsed->format.blockAlign, 2 * ((c.bits + 7) / 8)) << c.type;
        EXPECT_EQ(parsed->format.lengthFrames, 10) << c.type;
    }
}

TEST(IffWalk, RatesAreWholeNumbers) {
    const struct {
        Rate rate;
        double hertz;
    } cases[] = {
        {{0x400E, 0xAC440000}, 44100},
        {{0xC00E, 0xAC440000}, 44100},       // negative
        {{0x400D, 0xAC450000}, 22051},       // 22050.5
        {{0x401E, 0xFFFFFFFF}, 4294967295},  // nothing shifted out
        {{0x4000, 0x80000000}, 2},
        {{0x3FFF, 0x80000000}, 0},  // 1 Hz: the low byte of its exponent is that of a huge rate {{0x0000,
                                    // 0x00000000}, 0},     {{0x401F, 0x80000000}, 0},  // 2^32
        {{0x7FFF, 0xC0000000}, 0},  // not a number
    };
    for (const auto& c : cases) {
        const auto parsed = ParseComm("AIFF", Comm(1, 10, 16, {}, c.rate));
        EXPECT_EQ(parsed->format.sampleRate, c.hertz) << c.rate.exponent;
    }
}

TEST(IffWalk, CountsTheFramesThatAreThere) {
    const auto parse = [](const Bytes& comm, const Bytes& ssnd) {
        const auto parsed =
            ParseBytes(IffFile("AIFF", ByteWriter().IffChunk("SSND", ssnd).IffChunk("COMM", comm)));
        EXPECT_EQ(parsed->result, 0) << parsed->Message();
        return std::pair(parsed->format.lengthFrames.load(), parsed->format.dataStart);
    };
    constexpr int64_t audio = 12 + 8 + 8;
    constexpr int64_t commChunk = 26;
    EXPECT_EQ(parse(Comm(2, 7, 16), Ssnd(40)), std::pair(int64_t{7}, audio));
    EXPECT_EQ(parse(Comm(2, 0xFFFFFFFF, 16), Ssnd(40)), std::pair((40 + commChunk) / 4, audio));
    EXPECT_EQ(parse(Comm(2, 100, 16), Ssnd(40, 4)), std::pair((36 + commChunk) / 4, audio + 4));
    EXPECT_EQ(parse(Comm(2, 7, 16), Ssnd(40, 0xFFFFFFF0)).first, 0);
    EXPECT_EQ(parse(Comm(65535, 7, 64), Ssnd(40)).first, 0);
}

TEST(IffWalk, A32BitPaddedSizeWrapsToNothing) {
    const auto parsed = ParseBytes(IffFile("AIFF", ByteWriter()
                                                       .Text("abcd")
                                                       .Be32(0xFFFFFFFF)
                                                       .IffChunk("COMM", Comm(2, 10, 16))
                                                       .IffChunk("SSND", Ssnd(40))));
    EXPECT_EQ(parsed->result, 0) << parsed->Message();
}

TEST(IffWalk, ReadsAppleLoops) {
    const auto basc = [](uint32_t beats, uint16_t note, uint16_t numerator, uint16_t denominator) {
        return ParseBytes(IffFile(
            "AIFF", ByteWriter()
                        .IffChunk("basc", ByteWriter()
                                              .Be32(1)
                                              .Be32(beats)
                                              .Be16(note)
                                              .Be16(0)
                                              .Be16(numerator)
                                              .Be16(denominator)
                                              .Zeros(68))
                        .IffChunk("trns", ByteWriter().Zeros(100).Be32(0).Be32(1000).Zeros(16).Zeros(23))
                        .IffChunk("COMM", Comm(1, 10, 16))
                        .IffChunk("SSND", Ssnd(20))));
    };
    const auto loop = basc(8, 50, 3, 4);
    EXPECT_EQ(loop->format.loopKind, 2);
    EXPECT_EQ(loop->format.beatCount, 8);
    EXPECT_EQ(loop->format.musicalKey, 2);
    EXPECT_EQ(loop->format.meter, 3 * 256 + 4);
    EXPECT_EQ(loop->format.slicePoints, (std::vector<int64_t>{0, 1000}));
    const auto oneShot = basc(0, 50, 3, 4);
    EXPECT_EQ(oneShot->format.loopKind, 0);
    EXPECT_EQ(oneShot->format.meter, 0);
    EXPECT_EQ(basc(65536, 50, 3, 4)->format.beatCount, 0);
    EXPECT_EQ(basc(8, 60, 1, 4)->format.musicalKey, -1);
    EXPECT_EQ(basc(8, 60, 17, 4)->format.meter, 0);
}

TEST(IffWalk, StoresTextsOfOddSizesUpToTheirEnd) {
    const auto parsed =
        ParseBytes(IffFile("AIFF", ByteWriter()
                                       .IffChunk("NAME", ByteWriter().Text("one"))
                                       .IffChunk("AUTH", ByteWriter().Text("me").U8(0).Text("x"))
                                       .IffChunk("(c) ", ByteWriter().Text("2024"))
                                       .IffChunk("ANNO", ByteWriter().Text("first"))
                                       .IffChunk("ANNO", ByteWriter().Text("last"))
                                       .IffChunk("abcd", ByteWriter().Zeros(4))
                                       .IffChunk("COMM", Comm(1, 10, 16))
                                       .IffChunk("SSND", Ssnd(20))
                                       .Text("NAME")
                                       .Be32(9)
                                       .Text("cut off")));
    EXPECT_EQ(parsed->Value("IFF:NAME"), "one");
    EXPECT_EQ(parsed->Value("IFF:AUTH"), "me");
    EXPECT_EQ(parsed->Value("IFF:COPY"), "2024");
    EXPECT_EQ(parsed->Value("IFF:ANNO"), "last");
    EXPECT_EQ(parsed->format.metadata.Count(), 4u);
}

TEST(IffWalk, ReadsVoices) {
    const Bytes vhdr = ByteWriter().Zeros(12).Be16(8363).U8(1).U8(0).Zeros(4);
    const auto voice = [&](uint32_t bodyBytes, size_t present) {
        return ParseBytes(IffFile("8SVX", ByteWriter()
                                              .IffChunk("COMM", Comm(2, 10, 16))  // no chunk of this form
                                              .IffChunk("NAME", ByteWriter().Text("odd"))
                                              .IffChunk("VHDR", vhdr)
                                              .Text("BODY")
                                              .Be32(bodyBytes)
                                              .Zeros(present)));
    };
    const auto parsed = voice(1000, 1000);
    ASSERT_EQ(parsed->result, 0) << parsed->Message();
    EXPECT_EQ(parsed->format.sampleRate, 8363);
    EXPECT_EQ(parsed->format.channels, 1);
    EXPECT_EQ(parsed->format.bitsPerSample, 8);
    EXPECT_TRUE(parsed->format.bigEndian);
    EXPECT_EQ(parsed->format.lengthFrames, 992);
    EXPECT_EQ(parsed->format.metadata.Count(), 0u);
    EXPECT_EQ(voice(1000, 600)->format.lengthFrames, 600);
    EXPECT_EQ(voice(7, 8)->format.lengthFrames, 8);
}

}  // namespace
}  // namespace vantor::test
