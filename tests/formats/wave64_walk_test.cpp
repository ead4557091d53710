#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

Bytes AudioFile(const Bytes& fmt, const Bytes& data = ByteWriter().Wave64Chunk("data", tenFrames)) {
    return Wave64File(ByteWriter().Wave64Chunk("fmt ", fmt).Add(data));
}

// The first half of a chunk's header.
Bytes GuidOf(std::string_view id) {
    const ByteWriter chunk = ByteWriter().Wave64Chunk(id, {});
    return {chunk.Done().begin(), chunk.Done().begin() + 16};
}

TEST(Wave64Walk, RefusesWithTheMessageOfWhatIsWrong) {
    Bytes otherForm = AudioFile(pcmFmt);
    otherForm[30] ^= 1;
    ExpectRefusals({
        {"Unknown file header", otherForm},
        {"Error reading w64 chunk header", Wave64File({})},
        {"Invalid w64 chunk length (<24)", Wave64File(ByteWriter().Add(GuidOf("abcd")).Le64(10).Zeros(24))},
        {"Error reading w64 fact chunk", Wave64File(ByteWriter().Add(GuidOf("fact")).Le64(32).Zeros(7))},
        {"Error reading w64 fmt chunk", Wave64File(ByteWriter().Add(GuidOf("fmt ")).Le64(41).Add(pcmFmt))},
    });
}

// The `fmt ` chunk is that of RIFF, the messages are not.
TEST(Wave64Walk, RefusesWhatRiffRefuses) {
    const struct {
        const char *inRiff, *inWave64;
        Bytes fmt;
    } refusals[] = {
        {"WAV type is not supported", "w64 type is not supported", FmtBody(0x0050, 2, 44100, 16)},
        {"WAV type is not supported", "w64 type is not supported", FmtBody(6, 2, 44100, 8)},
        {"WAV type is not supported", "w64 ex-type is not supported", ExtensibleFmt(1, 16, 0, 21)},
        {"WAV type is not supported", "w64 ex-type is not supported", FmtBody(0xFFFE, 2, 44100, 16)},
        {"WAV ex-type is not supported", "w64 ex-type is not supported", ExtensibleFmt(7, 8)},
        {"WAV is not >= 1ch", "w64 fmt nch is not >= 1 channels", FmtBody(1, 0, 44100, 16, 4)},
        {"WAV fmt type is ulaw but not 8-bit", "w64 fmt type is ulaw but not 8-bit", FmtBody(7, 1, 8000, 16)},
        {"WAV is floating point PCM, but not 32/64 bit",
         "w64 fmt type is floating point PCM but not 32/64 bit", FmtBody(3, 1, 8000, 24)},
        {"WAV is PCM, but not 8/16/20/24/32 bit", "w64 fmt type is PCM but not 8/16/20/24/32 bit",
         FmtBody(1, 1, 8000, 12)},
        {"WAV is PCM, but not 8/16/20/24/32 bit", "w64 fmt type is PCM but not 8/16/20/24/32 bit",
         FmtBody(1, 1, 8000, 64)},
        {"WAV is MSADPCM, but invalid parameters", "w64 is MSADPCM, but invalid parameters",
         FmtBody(2, 1, 8000, 4, 6)},
        {"WAV is IMA ADPCM, but invalid parameters", "w64 is IMA ADPCM, but invalid parameters",
         FmtBody(0x11, 1, 8000, 5, 256)},
        {"WAV is cADPCM, but invalid parameters", "w64 is cADPCM, but invalid parameters",
         FmtBody(0xAC0C, 1, 8000, 4, 256)},
    };
    for (const auto& c : refusals)
        ExpectRefusals({{c.inRiff, WaveFile(c.fmt)}, {c.inWave64, AudioFile(c.fmt)}});
    const Bytes mpeg = FmtBody(0x0050, 2, 44100, 16);
    EXPECT_TRUE(ParseBytes(WaveFile(mpeg))->format.isMpegInWave);
    EXPECT_FALSE(ParseBytes(AudioFile(mpeg))->format.isMpegInWave);
}

// The speaker mask is never kept; a chunk without an end runs to that of the file.
TEST(Wave64Walk, TakesItsFormat) {
    const auto endless = ByteWriter().Add(GuidOf("data")).Le64(~0ull).Zeros(42);
    EXPECT_EQ(AudioText(ParsePlayable(AudioFile(ExtensibleFmt(1, 24, 0x3F)))->format),
              "int24 little, 6 ch, 48000 Hz, 18 bytes, 2 frames at 128, valid 24");
    EXPECT_EQ(AudioText(ParsePlayable(AudioFile(pcmFmt, endless))->format),
              "int16 little, 2 ch, 44100 Hz, 4 bytes, 10 frames at 104");
}

TEST(Wave64Walk, ReadsItsOwnKindOfCues) {
    ByteWriter cues;
    cues.Le32(0xFFFFFFFF);  // entries
    cues.Le32(5).Le32(0).Le64(22050).Le64(~0ull).Le32(7).Le32(0);
    cues.Le16('A').Le16(0xE9).Le16(0xD83D).U8('x');  // the name's odd byte is no character
    cues.Le32(6).Le32(0).Le64(44100).Le64(44100).Le32(6).Le32(0).Le16('B').Le16(0).Le16('C');
    cues.Le32(6).Le32(0).Le64(88200).Le64(~0ull).Le32(9).Le32(0).Text(
        "too short");  // not merged with the other
    cues.Le32(7).Le32(0).Le64(88200).Le64(~0ull).Le32(10).Le32(0).Text("no name");
    const Bytes cuesAndData = ByteWriter().Wave64Chunk("cue ", cues).Wave64Chunk("data", tenFrames);
    EXPECT_EQ(
        MarkersText(ParsePlayable(AudioFile(pcmFmt, cuesAndData))->format.markers),
        "5@0.5 A\xC3\xA9\xEF\xBF\xBD; 6@1-2 B; 6@2 \xE6\xBD\xB4\xE2\x81\xAF\xE6\xA1\xB3\xE7\x89\xAF; 7@2");
}

}  // namespace
}  // namespace vantor::test
