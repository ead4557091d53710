#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

Bytes AudioFile(std::string_view form, const Bytes& comm, const Bytes& ssnd = SsndBody(240)) {
    return IffFile(form, ByteWriter().IffChunk("COMM", comm).IffChunk("SSND", ssnd));
}

TEST(IffWalk, RefusesWithTheMessageOfWhatIsWrong) {
    const auto comm = CommBody(2, 10, 16);
    const auto commAndData = ByteWriter().IffChunk("COMM", comm).IffChunk("SSND", SsndBody(40));
    const auto compressedVoice = ByteWriter().Zeros(15).U8(1).Zeros(4);
    ExpectRefusals({
        {"Unknown file header", IffFile("ILBM", {})},
        {"Error reading AIFF chunk header", IffFile("AIFF", ByteWriter().IffChunk("COMM", comm))},
        {"Error reading AIFF chunk header", AudioFile("AIFC", Bytes(16))},
        {"Error reading AIFF COMM chunk",
         IffFile("AIFF", ByteWriter().Text("COMM").Be32(20).Add(comm).U8(0))},
        {"AIFF is not 8/16/20/24/32/64 bit", AudioFile("AIFC", CommBody(2, 10, 12, "fl32"))},
        {"AIFF is not >= 1ch", AudioFile("AIFC", CommBody(0, 10, 16))},
        {"AIFC has invalid compressed data type", AudioFile("AIFC", CommBody(2, 10, 16, "ulaw"))},
        {"Error reading AIFF SSND header",
         IffFile("AIFF", ByteWriter().Add(commAndData).Text("SSND").Be32(8).Zeros(7))},
        {"Error reading 8SVX IFF VHDR chunk", IffFile("8SVX", ByteWriter().Text("VHDR").Be32(20).Zeros(19))},
        {"8SVX IFF unsupported compression", IffFile("8SVX", ByteWriter().IffChunk("VHDR", compressedVoice))},
    });
}

// By its name or by the declared bits.
TEST(IffWalk, TheCompressionTypeTellsTheCoding) {
    const struct {
        std::string_view form, type;
        uint16_t declaredBits;
        std::string audio;
    } cases[] = {
        {"AIFF", "", 16, "int16 big, 2 ch, 44100 Hz, 4 bytes, 10 frames at "},
        {"AIFF", "ulaw", 8, "int8 big, 2 ch, 44100 Hz, 2 bytes, 10 frames at "},
        {"AIFC", "", 24, "int24 big, 2 ch, 44100 Hz, 6 bytes, 10 frames at "},
        {"AIFC", "NONE", 20, "int20 big, 2 ch, 44100 Hz, 6 bytes, 10 frames at "},
        {"AIFC", "in24", 16, "int24 big, 2 ch, 44100 Hz, 6 bytes, 10 frames at "},
        {"AIFC", "fl32", 16, "float32 big, 2 ch, 44100 Hz, 8 bytes, 10 frames at "},
        {"AIFC", "FL64", 16, "float64 big, 2 ch, 44100 Hz, 16 bytes, 10 frames at "},
        {"AIFC", "sowt", 8, "int8 little, 2 ch, 44100 Hz, 2 bytes, 10 frames at "},
        {"AIFC", "42ni", 32, "int24 little, 2 ch, 44100 Hz, 6 bytes, 10 frames at "},
        {"AIFC", "46LF", 16, "float64 little, 2 ch, 44100 Hz, 16 bytes, 10 frames at "},
    };
    for (const auto& c : cases) {
        const Bytes comm = CommBody(2, 10, c.declaredBits, c.type);
        EXPECT_EQ(AudioText(ParsePlayable(AudioFile(c.form, comm))->format).substr(0, c.audio.size()),
                  c.audio);
    }
}

TEST(IffWalk, RatesAreWholeNumbers) {
    const std::pair<ExtendedRate, double> rates[] = {
        {{0xC00E, 0xAC440000}, 44100},       // negative
        {{0x400D, 0xAC450000}, 22051},       // 22050.5
        {{0x401E, 0xFFFFFFFF}, 4294967295},  // nothing shifted out
        {{0x3FFF, 0x80000000}, 0},           // 1 Hz: the low byte of its exponent is that of a huge rate
        {{0x401F, 0x80000000}, 0},           // 2^32
        {{0x7FFF, 0xC0000000}, 0},           // not a number
        {{0x0000, 0x00000000}, 0},
    };
    for (const auto& [rate, hertz] : rates)
        EXPECT_EQ(ParseBytes(AudioFile("AIFF", CommBody(1, 10, 16, {}, rate)))->format.sampleRate, hertz);
}

// The audio counts to the end of the file, chunks behind it included.
TEST(IffWalk, CountsTheFramesThatAreThere) {
    constexpr int64_t audio = 12 + 8 + 8;
    constexpr int64_t commChunk = 26;
    const struct {
        Bytes comm, ssnd;
        int64_t frames, dataStart;
    } cases[] = {
        {CommBody(2, 7, 16), SsndBody(40), 7, audio},
        {CommBody(2, 0xFFFFFFFF, 16), SsndBody(40), (40 + commChunk) / 4, audio},
        {CommBody(2, 100, 16), SsndBody(40, 4), (36 + commChunk) / 4, audio + 4},
        {CommBody(2, 7, 16), SsndBody(40, 0xFFFFFFF0), 0, audio + 0xFFFFFFF0},
        {CommBody(65535, 7, 64), SsndBody(40), 0, audio},
    };
    for (const auto& c : cases) {
        const auto parsed =
            ParsePlayable(IffFile("AIFF", ByteWriter().IffChunk("SSND", c.ssnd).IffChunk("COMM", c.comm)));
        EXPECT_EQ(parsed->format.lengthFrames, c.frames);
        EXPECT_EQ(parsed->format.dataStart, c.dataStart);
    }
    const auto voice = [&](uint32_t bodyBytes, size_t present) {
        ByteWriter chunks;
        chunks.IffChunk("VHDR", ByteWriter().Zeros(12).Be16(8363).Zeros(6));
        chunks.Text("BODY").Be32(bodyBytes).Zeros(present);
        return ParsePlayable(IffFile("8SVX", chunks))->format.lengthFrames.load();
    };
    EXPECT_EQ(voice(1000, 1000), 992);
    EXPECT_EQ(voice(1000, 600), 600);
    EXPECT_EQ(voice(7, 8), 8);
}

TEST(IffWalk, A32BitPaddedSizeWrapsToNothing) {
    ByteWriter chunks;
    chunks.Text("abcd").Be32(0xFFFFFFFF);
    chunks.IffChunk("COMM", CommBody(2, 10, 16)).IffChunk("SSND", SsndBody(40));
    EXPECT_EQ(ParsePlayable(IffFile("AIFF", chunks))->format.lengthFrames, 10);
}

TEST(IffWalk, ReadsAppleLoops) {
    const struct {
        uint32_t beats;
        uint16_t note, numerator;
        const char* loop;
    } cases[] = {
        {8, 50, 3, "loop 2, beats 8, key 2, meter 304"},
        {8, 60, 1, "loop 2, beats 8"},
        {8, 60, 17, "loop 2, beats 8"},
        {0, 50, 3, ""},  // one-shot
        {65536, 50, 3, ""},
    };
    for (const auto& c : cases) {
        ByteWriter basc;
        basc.Be32(1).Be32(c.beats).Be16(c.note).Be16(0).Be16(c.numerator).Be16(4).Zeros(68);
        ByteWriter chunks;
        chunks.IffChunk("basc", basc).IffChunk("COMM", CommBody(1, 10, 16)).IffChunk("SSND", SsndBody(20));
        const auto parsed = ParsePlayable(IffFile("AIFF", chunks));
        EXPECT_EQ(LoopText(parsed->format), c.loop);
    }
}

}  // namespace
}  // namespace vantor::test
