// The walks through the chunks of every container: what is refused, what is taken, and what loops say.
#include <algorithm>
#include <limits>

#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

struct Expectation {
    std::string text;
    Bytes file;
};

Bytes CafWith(std::string_view id, uint64_t size, const Bytes& body = {}) {
    return CafFile(ByteWriter().CafChunk("desc", DescBody()).Text(id).Be64(size).Add(body));
}

// Files that are cut off are among the samples.
TEST(ContainerWalk, RefusesWithTheMessageOfWhatIsWrong) {
    Bytes otherForm = Wave64AudioFile(pcmFmt);
    otherForm[30] ^= 1;
    const Bytes fmtAndData = ByteWriter().Chunk("fmt ", pcmFmt).Chunk("data", tenFrames);
    const Bytes wrappingTable = ByteWriter().Zeros(24).Le32(0x15555551).Zeros(90);
    const auto comm = CommBody(2, 10, 16);
    const Bytes endlessMarks = ByteWriter().Be32(0).Be32(0xFFFFFFFF).Add(CafMark(1, 1));
    const Bytes endlessRegion = ByteWriter().Be32(0).Be32(1).Be32(1).Be32(0).Be32(0xFFFFFFFF).Zeros(28);
    constexpr uint64_t minusTwo = ~uint64_t{1};
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const Expectation refusals[] = {
        {"Unknown file header", RiffFile({}, "RIFX")},
        {"Error reading WAV chunk header", WaveFile(Bytes(15))},
        // A later format that is refused takes the playable one's place.
        {"WAV is not >= 1ch",
         RiffFile(ByteWriter().Add(fmtAndData).Chunk("fmt ", FmtBody(1, 0, 8000, 16, 2)))},
        {"WAV is PCM, but not 8/16/20/24/32 bit",
         RiffFile(ByteWriter().Add(fmtAndData).Chunk("fmt ", FmtBody(1, 2, 8000, 4)))},
        {"WAV type is not supported",
         RiffFile(ByteWriter().Chunk("data", tenFrames).Chunk("fmt ", FmtBody(6, 2, 8000, 8)))},
        {"RF64 requires ds64 chunk", Rf64File(fmtAndData)},
        {"RF64 requires ds64 chunk", RiffFile(fmtAndData, "BW64")},
        {"RF64 ds64 chunk is too small", Rf64File(ByteWriter().Chunk("ds64", Bytes(23)).Add(fmtAndData))},
        {"Error reading RF64 ds64 chunk",
         Rf64File(ByteWriter().Text("ds64").Le32(0xFFFFFFFC).Add(wrappingTable))},

        {"Unknown file header", otherForm},
        {"Invalid w64 chunk length (<24)", Wave64File(ByteWriter().Add(GuidOf("abcd")).Le64(23).Zeros(24))},

        {"Unknown file header", IffFile("ILBM", {})},
        {"Error reading AIFF chunk header", AiffFile("AIFC", Bytes(16))},
        {"AIFF is not 8/16/20/24/32/64 bit", AiffFile("AIFC", CommBody(2, 10, 12, "fl32"))},
        {"AIFF is not >= 1ch", AiffFile("AIFC", CommBody(0, 10, 16))},
        {"AIFC has invalid compressed data type", AiffFile("AIFC", CommBody(2, 10, 16, "ulaw"))},
        {"Error reading AIFF SSND header",
         ByteWriter().Add(AiffFile("AIFF", comm)).Text("SSND").Be32(8).Zeros(7)},
        {"8SVX IFF unsupported compression",
         IffFile("8SVX", ByteWriter().IffChunk("VHDR", ByteWriter().Zeros(15).U8(1).Zeros(4)))},

        {"Unknown file header", ByteWriter().Text("caff").Be16(2).Be16(0).Zeros(20)},
        {"Couldn't find format chunk in file", CafFile(ByteWriter().Text("free").Be64(~0ull))},
        {"Couldn't find data chunk in file", CafWith("free", minusTwo)},
        {"Error reading CAFF chunk header", CafWith("free", INT64_MAX)},
        {"CAFF desc chunk is invalid", CafFile(ByteWriter().CafChunk("desc", Bytes(31)))},
        {"CAFF desc chunk is invalid", CafFile(ByteWriter().Text("desc").Be64(~0ull).Add(DescBody()))},
        {"CAFF has invalid sample rate", CafAudioFile({.rate = 0})},
        {"CAFF has invalid sample rate", CafAudioFile({.rate = nan})},
        {"CAFF has invalid sample rate", CafAudioFile({.rate = std::numeric_limits<double>::infinity()})},
        {"CAFF has unsupported compressed data type", CafAudioFile({.format = "aac "})},
        {"CAFF channel count invalid", CafAudioFile({.channels = 0})},
        {"CAFF channel count invalid", CafAudioFile({.channels = 129})},
        {"CAFF is floating point PCM, but not 32/64 bit", CafAudioFile({.flags = 1, .bits = 16})},
        {"CAFF is PCM, but unsupported bit depth", CafAudioFile({.bits = 12})},
        {"CAFF data block too short", CafWith("data", 4, Bytes(4))},
        {"CAFF data block too short", CafWith("data", ~0ull, Bytes(4))},
        {"CAFF data block too short", CafWith("data", minusTwo, Bytes(40))},
        {"Error reading CAFF mark chunk", CafWith("mark", 1000, endlessMarks)},
        {"Error reading CAFF mark chunk", CafWith("mark", 20, ByteWriter().Add(endlessMarks).Zeros(99))},
        {"Error reading CAFF regn chunk", CafWith("regn", 1000, endlessRegion)},
        {"Error reading CAFF regn chunk", CafWith("regn", 16, ByteWriter().Be32(0).Be32(1).Zeros(8))},
        {"Error reading CAFF strg chunk", CafWith("strg", 1000, ByteWriter().Be32(0xFFFFFFFF).Zeros(100))},
    };
    for (const auto& [message, file] : refusals)
        EXPECT_EQ(FoundIn(file).audio, message);
}

// The `fmt ` chunk is the same in RIFF and in Wave64, the messages are not.
TEST(ContainerWalk, RefusesFormats) {
    Bytes shortExtensible = ExtensibleFmt(1, 16), otherTail = shortExtensible;
    shortExtensible.pop_back();
    otherTail.back() ^= 1;
    const struct {
        const char *inRiff, *inWave64;
        Bytes fmt;
    } refusals[] = {
        {"WAV type is not supported", "w64 type is not supported", FmtBody(0x0050, 2, 44100, 16)},
        {"WAV type is not supported", "w64 type is not supported", FmtBody(6, 2, 44100, 8)},
        {"WAV type is not supported", "w64 ex-type is not supported", ExtensibleFmt(1, 16, 0, 21)},
        {"WAV ex-type is not supported", "w64 ex-type is not supported", ExtensibleFmt(7, 8)},
        {"WAV type is not supported", "w64 ex-type is not supported", shortExtensible},
        {"WAV ex-type is not supported", "w64 ex-type is not supported", otherTail},
        {"WAV is MSADPCM, but invalid parameters", "w64 is MSADPCM, but invalid parameters",
         FmtBody(2, 1, 8000, 5, 256)},
        {"WAV is IMA ADPCM, but invalid parameters", "w64 is IMA ADPCM, but invalid parameters",
         FmtBody(0x11, 1, 8000, 4, 6)},
        {"WAV is cADPCM, but invalid parameters", "w64 is cADPCM, but invalid parameters",
         FmtBody(0xAC0C, 1, 8000, 2, 6)},
        {"WAV is not >= 1ch", "w64 fmt nch is not >= 1 channels", FmtBody(1, 0, 44100, 16, 4)},
        {"WAV fmt type is ulaw but not 8-bit", "w64 fmt type is ulaw but not 8-bit", FmtBody(7, 1, 8000, 16)},
        {"WAV is floating point PCM, but not 32/64 bit",
         "w64 fmt type is floating point PCM but not 32/64 bit", FmtBody(3, 1, 8000, 24)},
        {"WAV is PCM, but not 8/16/20/24/32 bit", "w64 fmt type is PCM but not 8/16/20/24/32 bit",
         FmtBody(1, 1, 8000, 12)},
        {"WAV is MSADPCM, but invalid parameters", "w64 is MSADPCM, but invalid parameters",
         FmtBody(2, 1, 8000, 4, 6)},
        {"WAV is IMA ADPCM, but invalid parameters", "w64 is IMA ADPCM, but invalid parameters",
         FmtBody(0x11, 1, 8000, 5, 256)},
        {"WAV is cADPCM, but invalid parameters", "w64 is cADPCM, but invalid parameters",
         FmtBody(0xAC0C, 1, 8000, 4, 256)},
    };
    for (const auto& c : refusals) {
        EXPECT_EQ(FoundIn(WaveFile(c.fmt)).audio, c.inRiff);
        EXPECT_EQ(FoundIn(Wave64AudioFile(c.fmt)).audio, c.inWave64);
    }
    const TempFolder folder;
    const Bytes mpeg = FmtBody(0x0050, 2, 44100, 16), other = FmtBody(6, 2, 44100, 8);
    for (const auto& [file, isMpeg] :
         {std::pair{WaveFile(mpeg), true}, {WaveFile(other), false}, {Wave64AudioFile(mpeg), false}}) {
        AudioFormat format;
        EXPECT_FALSE(Parse(format, folder.Write("file", file)));
        EXPECT_EQ(format.isMpegInWave, isMpeg);
    }
}

TEST(ContainerWalk, TakesFormats) {
    const auto msFmt = [](uint16_t pairs) {
        const auto fmt = ByteWriter().Add(FmtBody(2, 1, 8000, 4, 256)).Le16(32).Le16(500).Le16(pairs);
        return ByteWriter().Add(fmt).Zeros(26).Le16(0xFFF3);
    };
    Bytes cutMsFmt = msFmt(7), pcmWithMore = msFmt(7), ambisonic = ExtensibleFmt(3, 32, 0x3F);
    cutMsFmt.pop_back();
    std::ranges::copy(FmtBody(1, 1, 8000, 16), pcmWithMore.begin());
    std::ranges::copy(Bytes{0x21, 0x07, 0xD3, 0x11, 0x86, 0x44, 0xC8, 0xC1, 0xCA, 0, 0, 0},
                      ambisonic.end() - 12);
    const auto commOf = [](std::string_view type, size_t bytes) {
        Bytes comm = CommBody(2, 10, 16, type);
        comm.resize(bytes);
        return comm;
    };
    const auto rated = [](const ExtendedRate& rate) {
        return AiffFile("AIFF", CommBody(1, 10, 16, {}, rate));
    };
    const Expectation formats[] = {
        // The speaker mask is kept for integers in RIFF only.
        {"int24 little, 6 ch, 48000 Hz, 18 bytes, 2 frames at 68, valid 24, layout 10000, mask 3f",
         WaveFile(ExtensibleFmt(1, 24, 0x3F))},
        {"int24 little, 6 ch, 48000 Hz, 18 bytes, 2 frames at 68, valid 24", WaveFile(ExtensibleFmt(1, 24))},
        {"int24 little, 6 ch, 48000 Hz, 18 bytes, 2 frames at 128, valid 24",
         Wave64AudioFile(ExtensibleFmt(1, 24, 0x3F))},
        {"ima4 little, 1 ch, 8000 Hz, 7 bytes, 33 frames at 44", WaveFile(FmtBody(0x11, 1, 8000, 4, 7))},
        {"ulaw8 little, 1 ch, 8000 Hz, 1 bytes, 40 frames at 44", WaveFile(FmtBody(7, 1, 8000, 8))},
        // A block alignment that is too small is widened.
        {"int24 little, 2 ch, 44100 Hz, 6 bytes, 6 frames at 44", WaveFile(FmtBody(1, 2, 44100, 24, 4))},
        {"int20 little, 2 ch, 44100 Hz, 5 bytes, 6 frames at 44", WaveFile(FmtBody(1, 2, 44100, 20, 1))},
        {"int32 little, 65535 ch, 8000 Hz, 262140 bytes, 0 frames at 44",
         WaveFile(FmtBody(1, 65535, 8000, 32, 1))},

        // Seven pairs of coefficients are taken, and no other number.
        {"ms4 little, 1 ch, 8000 Hz, 256 bytes, 68 frames at 78, last coefficient -13", WaveFile(msFmt(7))},
        {"ms4 little, 1 ch, 8000 Hz, 256 bytes, 68 frames at 78", WaveFile(msFmt(6))},

        {"ms4 little, 1 ch, 8000 Hz, 256 bytes, 68 frames at 78", WaveFile(cutMsFmt)},
        {"int16 little, 1 ch, 8000 Hz, 2 bytes, 20 frames at 78", WaveFile(pcmWithMore)},
        {"ms4 little, 1 ch, 8000 Hz, 256 bytes, 68 frames at 102",  // of two formats the later
         RiffFile(ByteWriter()
                      .Chunk("fmt ", msFmt(7))
                      .Chunk("fmt ", FmtBody(2, 1, 8000, 4, 256))
                      .Chunk("data", tenFrames))},

        {"int8 little, 1 ch, 8000 Hz, 1 bytes, 40 frames at 44", WaveFile(FmtBody(1, 1, 8000, 8))},
        {"int32 little, 1 ch, 8000 Hz, 4 bytes, 10 frames at 44", WaveFile(FmtBody(1, 1, 8000, 32))},
        {"float32 little, 1 ch, 8000 Hz, 4 bytes, 10 frames at 44", WaveFile(FmtBody(3, 1, 8000, 32))},
        {"float64 little, 1 ch, 8000 Hz, 8 bytes, 5 frames at 44", WaveFile(FmtBody(3, 1, 8000, 64))},
        {"float32 little, 6 ch, 48000 Hz, 24 bytes, 1 frames at 68, valid 32",
         WaveFile(ExtensibleFmt(3, 32, 0x3F))},
        {"float32 little, 6 ch, 48000 Hz, 24 bytes, 1 frames at 68, valid 32", WaveFile(ambisonic)},

        // Rates are whole numbers.
        {"int16 big, 1 ch, 8001 Hz, 2 bytes, 10 frames at 54", rated({0x400B, 0xFA040000})},   // 8000.5
        {"int16 big, 1 ch, 44100 Hz, 2 bytes, 10 frames at 54", rated({0xC00E, 0xAC440000})},  // negative
        {"int16 big, 1 ch, 22051 Hz, 2 bytes, 10 frames at 54", rated({0x400D, 0xAC450000})},  // 22050.5
        {"int16 big, 1 ch, 4294967295 Hz, 2 bytes, 10 frames at 54", rated({0x401E, 0xFFFFFFFF})},
        {"int16 big, 1 ch, 0 Hz, 2 bytes, 10 frames at 54", rated({0x3FFF, 0x80000000})},
        {"int16 big, 1 ch, 0 Hz, 2 bytes, 10 frames at 54", rated({0x7FFF, 0xC0000000})},  // not a number
        {"int16 big, 2 ch, 44100 Hz, 4 bytes, 10 frames at 54", AiffFile("AIFF", CommBody(2, 10, 16))},
        {"int24 big, 2 ch, 44100 Hz, 6 bytes, 10 frames at 60",
         AiffFile("AIFC", CommBody(2, 10, 16, "in24"))},
        {"float32 big, 2 ch, 44100 Hz, 8 bytes, 10 frames at 60",
         AiffFile("AIFC", CommBody(2, 10, 16, "fl32"))},
        // A type needs the whole of its four characters, and a form that has one.
        {"int16 big, 2 ch, 44100 Hz, 4 bytes, 10 frames at 60",
         AiffFile("AIFF", CommBody(2, 10, 16, "sowt"))},
        {"int16 little, 2 ch, 44100 Hz, 4 bytes, 10 frames at 58", AiffFile("AIFC", commOf("sowt", 22))},
        {"int16 big, 2 ch, 44100 Hz, 4 bytes, 10 frames at 58", AiffFile("AIFC", commOf("sowt", 21))},
        {"int16 little, 2 ch, 44100 Hz, 4 bytes, 10 frames at 76", AiffFile("AIFC", commOf("sowt", 40))},
        {"int24 little, 2 ch, 44100 Hz, 6 bytes, 10 frames at 60",
         AiffFile("AIFC", CommBody(2, 10, 32, "42ni"))},
        {"float64 little, 2 ch, 44100 Hz, 16 bytes, 10 frames at 60",
         AiffFile("AIFC", CommBody(2, 10, 16, "46LF"))},

        {"int16 big, 2 ch, 48000 Hz, 4 bytes, 10 frames at 68", CafAudioFile({})},
        {"float64 little, 2 ch, 48000 Hz, 16 bytes, 2 frames at 68",
         CafAudioFile({.flags = 3, .packetBytes = 16, .bits = 64})},
        {"int32 big, 2 ch, 48000 Hz, 8 bytes, 5 frames at 68", CafAudioFile({.packetBytes = 8, .bits = 24})},
        {"int20 big, 2 ch, 48000 Hz, 5 bytes, 8 frames at 68", CafAudioFile({.packetBytes = 5, .bits = 20})},
        {"int24 big, 2 ch, 48000 Hz, 6 bytes, 6 frames at 68", CafAudioFile({.packetBytes = 6, .bits = 24})},
        {"int16 big, 2 ch, 48000 Hz, 8 bytes, 5 frames at 68", CafAudioFile({.packetBytes = 8})},
        {"int16 big, 1 ch, 48000 Hz, 2 bytes, 20 frames at 68",
         CafAudioFile({.packetBytes = 2, .channels = 1})},
        {"int16 big, 128 ch, 48000 Hz, 256 bytes, 0 frames at 68",
         CafAudioFile({.packetBytes = 256, .channels = 128})},
        {"int16 big, 2 ch, 48000 Hz, 4 bytes, 10 frames at 68", CafAudioFile({.packetFrames = 0})},
        {"int8 big, 2 ch, 48000 Hz, 2 bytes, 20 frames at 68",
         CafAudioFile({.packetBytes = 0, .packetFrames = 0, .bits = 8})},
        {"int16 big, 2 ch, 48000 Hz, 4 bytes, 10 frames at 68", CafAudioFile({.packetBytes = 3})},
        {"int16 big, 2 ch, 48000 Hz, 10 bytes, 4 frames at 68",
         CafAudioFile({.packetBytes = 40, .packetFrames = 4})},
        {"int16 big, 2 ch, 48000 Hz, 4 bytes, 10 frames at 68",
         CafAudioFile({.packetBytes = 0x80000000, .packetFrames = 0xFFFFFFFF})},
    };
    for (const auto& [audio, file] : formats)
        EXPECT_EQ(FoundIn(file).audio, audio);
}

// Slices lie ten milliseconds apart.
TEST(ContainerWalk, ReadsLoops) {
    ByteWriter strc;
    strc.Zeros(28);
    for (const int64_t frame : {int64_t{500}, int64_t{900}, int64_t{941}, int64_t{-1}, INT64_MAX})
        strc.Zeros(8).Le64(static_cast<uint64_t>(frame)).Zeros(16);
    strc.Zeros(31);  // no whole entry
    const Bytes oneSlice = ByteWriter().Zeros(28 + 8).Le64(441).Zeros(16);
    const auto acid = [](uint32_t flags, uint16_t beats, size_t bytes = 24, uint16_t beat = 4) {
        Bytes body =
            ByteWriter().Le32(flags).Le16(0xFF40).Zeros(6).Le32(8).Le16(beat).Le16(beats).LeFloat(120);
        body.resize(bytes);
        return WaveFile(pcmFmt, ByteWriter().Chunk("acid", body));
    };
    const auto basc = [](uint32_t beats, uint16_t note, uint16_t numerator, uint16_t denominator = 4) {
        ByteWriter body;
        body.Be32(1).Be32(beats).Be16(note).Be16(0).Be16(numerator).Be16(denominator).Zeros(68);
        return AiffFile("AIFF", CommBody(1, 10, 16), ByteWriter().IffChunk("basc", body));
    };
    const Expectation loops[] = {
        {"", acid(0x01 | 0x02 | 0x08, 4)},  // one-shot
        {"loop 1, beats 8, tempo 120, root 4", acid(0x02 | 0x08, 4)},
        {"loop 1, other beats 8, tempo 120", acid(0x10 | 0x08, 4)},
        {"loop 1, beats 8", acid(0x08, 4, 23)},
        {"loop 1, beats 8", acid(0x08, 3)},
        {"loop 1, beats 8", acid(0x08, 4, 24, 8)},
        {"loop 2, beats 8, key 2, meter 304", basc(8, 50, 3)},
        {"loop 2, beats 8", basc(8, 60, 1)},
        {"loop 2, beats 8", basc(8, 47, 17)},
        {"", basc(0, 50, 3)},  // one-shot
        {"loop 2, beats 1, key 0, meter 202", basc(1, 48, 2, 2)},
        {"loop 2, beats 65535, key 11, meter 1010", basc(65535, 59, 16, 16)},
        {"loop 2, beats 8", basc(8, 60, 3, 17)},
        {"", basc(65536, 50, 3)},
        {"slices 0", WaveFile(pcmFmt, ByteWriter().Chunk("strc", ByteWriter().Zeros(60)))},
        {"slices 441", WaveFile(pcmFmt, ByteWriter().Chunk("strc", oneSlice))},
        {"slices 0 500 941 9223372036854775807", WaveFile(pcmFmt, ByteWriter().Chunk("strc", strc))},
    };
    for (const auto& [loop, file] : loops)
        EXPECT_EQ(FoundIn(file).loop, loop);
}

}  // namespace
}  // namespace vantor::test
