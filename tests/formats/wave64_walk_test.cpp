#include <gtest/gtest.h>

#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

const Bytes pcmFmt = FmtBody(1, 2, 44100, 16);
const Bytes tenFrames = ByteWriter().Fill(40, 1);

Bytes Wave64File(const Bytes& chunks) {
    return ByteWriter()
        .Text("riff")
        .Add({0x2E, 0x91, 0xCF, 0x11, 0xA5, 0xD6, 0x28, 0xDB, 0x04, 0xC1, 0x00, 0x00})
        .Le64(chunks.size() + 40)
        .Text("wave")
        .Add({0xF3, 0xAC, 0xD3, 0x11, 0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A})
        .Add(chunks);
}

Bytes Extensible(uint16_t subFormat, uint16_t extension) {
    return ByteWriter()
        .Add(FmtBody(0xFFFE, 6, 48000, 24))
        .Le16(extension)
        .Le16(20)
        .Le32(0x3F)
        .Le32(subFormat)
        .Add({0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71});
}

Bytes GuidOf(std::string_view id) {
    Bytes chunk = ByteWriter().Wave64Chunk(id, {});
    chunk.resize(16);
    return chunk;
}

TEST(Wave64Walk, RefusesWithTheMessageOfWhatIsWrong) {
    const auto fmt = [](const Bytes& body) {
        return Wave64File(ByteWriter().Wave64Chunk("fmt ", body).Wave64Chunk("data", tenFrames));
    };
    Bytes otherForm = fmt(pcmFmt);
    otherForm[30] ^= 1;
    const struct {
        const char* message;
        Bytes file;
    } refusals[] = {
        {"Unknown file header", otherForm},
        {"Error reading w64 chunk header", Wave64File({})},
        {"Invalid w64 chunk length (<24)", Wave64File(ByteWriter().Add(GuidOf("abcd")).Le64(10).Zeros(24))},
        {"Error reading w64 fact chunk", Wave64File(ByteWriter().Add(GuidOf("fact")).Le64(32).Zeros(7))},
        {"Error reading w64 fmt chunk", Wave64File(ByteWriter().Add(GuidOf("fmt ")).Le64(41).Add(pcmFmt))},
        {"w64 type is not supported", fmt(FmtBody(0x0050, 2, 44100, 16))},
        {"w64 ex-type is not supported", fmt(Extensible(7, 22))},
        {"w64 ex-type is not supported", fmt(Extensible(1, 21))},
        {"w64 fmt nch is not >= 1 channels", fmt(FmtBody(1, 0, 44100, 16, 4))},
        {"w64 fmt type is ulaw but not 8-bit", fmt(FmtBody(7, 1, 8000, 16))},
        {"w64 fmt type is floating point PCM but not 32/64 bit", fmt(FmtBody(3, 1, 8000, 24))},
        {"w64 fmt type is PCM but not 8/16/20/24/32 bit", fmt(FmtBody(1, 1, 8000, 0, 2))},
        {"w64 is MSADPCM, but invalid parameters", fmt(FmtBody(2, 1, 8000, 4, 6))},
        {"w64 is IMA ADPCM, but invalid parameters", fmt(FmtBody(0x11, 1, 8000, 5, 256))},
        {"w64 is cADPCM, but invalid parameters", fmt(FmtBody(0xAC0C, 1, 8000, 4, 256))},
    };
    for (const auto& refusal : refusals) {
        const auto parsed = ParseBytes(refusal.file);
        EXPECT_EQ(parsed->result, 1) << refusal.message;
        EXPECT_EQ(parsed->Message(), refusal.message);
        EXPECT_FALSE(parsed->format.isMpegInWave);
    }
}

TEST(Wave64Walk, StepsOverPaddedAndUnknownChunks) {
    const Bytes foreign(16, 0x42);
    const auto parsed = ParseBytes(Wave64File(ByteWriter()
                                                  .Wave64Chunk("abcd", ByteWriter().Zeros(6))  // padded by 2
                                                  .Add(foreign)
                                                  .Le64(24 + 8)
                                                  .Zeros(8)
                                                  .Wave64Chunk("fmt ", pcmFmt)
                                                  .Wave64Chunk("data", ByteWriter().Zeros(41))
                                                  .Wave64Chunk("tail", ByteWriter().Zeros(4))));
    ASSERT_EQ(parsed->result, 0) << parsed->Message();
    EXPECT_EQ(parsed->format.fileKind, kindWave64);
    EXPECT_EQ(parsed->format.lengthFrames, 10);
    EXPECT_EQ(parsed->format.dataStart, 40 + 32 + 32 + 40 + 24);
    EXPECT_TRUE(parsed->format.metadata.Has("abcd"));
    EXPECT_TRUE(parsed->format.metadata.Has("tail"));
    EXPECT_EQ(parsed->format.metadata.Count(), 2u);
}

TEST(Wave64Walk, NeverKeepsTheSpeakerMask) {
    const auto parsed = ParseBytes(
        Wave64File(ByteWriter().Wave64Chunk("fmt ", Extensible(1, 22)).Wave64Chunk("data", tenFrames)));
    ASSERT_EQ(parsed->result, 0) << parsed->Message();
    EXPECT_EQ(parsed->format.validBits, 20);
    EXPECT_EQ(parsed->format.channelMask, 0u);
    EXPECT_EQ(parsed->format.layoutTag, 0u);
}

TEST(Wave64Walk, CountsFramesFromTheDataAlone) {
    const auto frames = [](const Bytes& fmt, const Bytes& data) {
        const auto parsed = ParseBytes(Wave64File(
            ByteWriter().Wave64Chunk("fact", ByteWriter().Le64(5)).Wave64Chunk("fmt ", fmt).Add(data)));
        EXPECT_EQ(parsed->result, 0) << parsed->Message();
        return parsed->format.lengthFrames.load();
    };
    const auto endless = ByteWriter().Add(GuidOf("data")).Le64(~0ull).Zeros(42);
    EXPECT_EQ(frames(pcmFmt, endless), 10);
    EXPECT_EQ(
        frames(FmtBody(0x11, 2, 44100, 4, 1024), ByteWriter().Wave64Chunk("data", ByteWriter().Zeros(10240))),
        10161);
}

TEST(Wave64Walk, ReadsItsOwnKindOfCues) {
    ByteWriter cues;
    cues.Le32(0xFFFFFFFF);  // entries
    cues.Le32(5).Le32(0).Le64(22050).Le64(~0ull).Le32(7).Le32(0);
    cues.Le16('A').Le16(0xE9).Le16(0xD83D).U8('x');  // the name's odd byte is no character
    cues.Le32(6).Le32(0).Le64(44100).Le64(44100).Le32(6).Le32(0).Le16('B').Le16(0).Le16('C');
    cues.Le32(6).Le32(0).Le64(88200).Le64(~0ull).Le32(9).Le32(0).Text("too short");
    cues.Le32(7).Le32(0).Le64(88200).Le64(~0ull).Le32(10).Le32(0).Text("no name");
    const auto parsed = ParseBytes(Wave64File(
        ByteWriter().Wave64Chunk("fmt ", pcmFmt).Wave64Chunk("cue ", cues).Wave64Chunk("data", tenFrames)));
    const auto& markers = parsed->format.markers;
    ASSERT_EQ(markers.size(), 4u);
    EXPECT_EQ(markers[0].id, 5);
    EXPECT_EQ(markers[0].start, 0.5);
    EXPECT_FALSE(markers[0].isRegion);
    EXPECT_EQ(markers[0].name, "A\xC3\xA9\xEF\xBF\xBD");
    EXPECT_TRUE(markers[1].isRegion);
    EXPECT_EQ(markers[1].start, 1.0);
    EXPECT_EQ(markers[1].end, 2.0);
    EXPECT_EQ(markers[1].name, "B");
    EXPECT_EQ(markers[2].id, 6);  // not merged with the other 6
    EXPECT_FALSE(markers[3].name);
}

}  // namespace
}  // namespace vantor::test
