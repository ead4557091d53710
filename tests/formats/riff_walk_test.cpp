#include <gtest/gtest.h>

#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

const Bytes pcmFmt = FmtBody(1, 2, 44100, 16);
const Bytes tenFrames = ByteWriter().Fill(40, 1);

ByteWriter PcmChunks() {
    return ByteWriter().Chunk("fmt ", pcmFmt).Chunk("data", tenFrames);
}

// WAVE_FORMAT_EXTENSIBLE: a sub-format code with the usual GUID tail.
Bytes Extensible(uint16_t subFormat, uint16_t bits, uint32_t mask, uint16_t extension = 22) {
    return ByteWriter()
        .Add(FmtBody(0xFFFE, 6, 48000, bits))
        .Le16(extension)
        .Le16(bits)
        .Le32(mask)
        .Le32(subFormat)
        .Add({0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71});
}

Bytes Ds64(uint64_t dataBytes, uint64_t samples, const Bytes& table = {}) {
    return ByteWriter()
        .Le64(0)
        .Le64(dataBytes)
        .Le64(samples)
        .Le32(static_cast<uint32_t>(table.size() / 12))
        .Add(table);
}

struct Refusal {
    const char* message;
    Bytes file;
};

TEST(RiffWalk, RefusesWithTheMessageOfWhatIsWrong) {
    const auto fmt = [](const Bytes& body) {
        return RiffFile(ByteWriter().Chunk("fmt ", body).Chunk("data", tenFrames));
    };
    const auto cutChunk = [](std::string_view id, uint32_t size, size_t present) {
        return RiffFile(ByteWriter().Chunk("fmt ", pcmFmt).Text(id).Le32(size).Zeros(present));
    };
    const Refusal refusals[] = {
        {"Unknown file header", ByteWriter().Text("RIFF").Le32(4).Text("WAV")},
        {"Unknown file header", RiffFile({}, "RIFX")},
        {"Error reading WAV chunk header", RiffFile({})},
        {"Error reading WAV chunk header", RiffFile(ByteWriter().Chunk("fmt ", pcmFmt))},
        {"Error reading WAV chunk header",
         RiffFile(ByteWriter().Chunk("fmt ", ByteWriter().Zeros(15)).Chunk("data", tenFrames))},
        {"Error reading WAV fmt chunk", RiffFile(ByteWriter().Text("fmt ").Le32(17).Add(pcmFmt))},
        {"Error reading WAV fact chunk", cutChunk("fact", 4, 3)},
        {"Error reading WAV acid chunk", cutChunk("acid", 100, 20)},
        {"RF64 requires ds64 chunk", RiffFile(PcmChunks(), "RF64")},
        {"RF64 requires ds64 chunk", RiffFile(PcmChunks(), "BW64")},
        {"RF64 ds64 chunk is too small",
         RiffFile(ByteWriter().Chunk("ds64", ByteWriter().Zeros(23)).Add(PcmChunks()), "RF64")},
        {"Error reading RF64 ds64 chunk", RiffFile(ByteWriter().Text("ds64").Le32(28).Zeros(27), "RF64")},
        {"Error reading RF64 ds64 chunk",
         RiffFile(ByteWriter().Text("ds64").Le32(0xFFFFFFFC).Zeros(24).Le32(0x15555551).Zeros(90), "RF64")},
        {"WAV type is not supported", fmt(FmtBody(0x0050, 2, 44100, 16))},
        {"WAV type is not supported", fmt(FmtBody(6, 2, 44100, 8))},
        {"WAV type is not supported", fmt(Extensible(1, 16, 0, 21))},
        {"WAV type is not supported", fmt(FmtBody(0xFFFE, 2, 44100, 16))},
        {"WAV ex-type is not supported", fmt(Extensible(7, 8, 0))},
        {"WAV is not >= 1ch", fmt(FmtBody(1, 0, 44100, 16, 4))},
        {"WAV fmt type is ulaw but not 8-bit", fmt(FmtBody(7, 1, 8000, 16))},
        {"WAV is floating point PCM, but not 32/64 bit", fmt(FmtBody(3, 1, 8000, 16))},
        {"WAV is PCM, but not 8/16/20/24/32 bit", fmt(FmtBody(1, 1, 8000, 12))},
        {"WAV is PCM, but not 8/16/20/24/32 bit", fmt(FmtBody(1, 1, 8000, 64))},
        {"WAV is MSADPCM, but invalid parameters", fmt(FmtBody(2, 1, 8000, 4, 6))},
        {"WAV is MSADPCM, but invalid parameters", fmt(FmtBody(2, 1, 8000, 3, 256))},
        {"WAV is IMA ADPCM, but invalid parameters", fmt(FmtBody(0x11, 1, 8000, 4, 6))},
        {"WAV is cADPCM, but invalid parameters", fmt(FmtBody(0xAC0C, 1, 8000, 4, 256))},
    };
    for (const auto& refusal : refusals) {
        const auto parsed = ParseBytes(refusal.file);
        EXPECT_EQ(parsed->result, 1) << refusal.message;
        EXPECT_EQ(parsed->Message(), refusal.message);
        EXPECT_EQ(parsed->format.channels, 0) << refusal.message;
        EXPECT_EQ(parsed->format.bitsPerSample, 0) << refusal.message;
    }
}

TEST(RiffWalk, MarksMpegWhileRefusingIt) {
    const auto parsed = ParseBytes(RiffFile(ByteWriter().Chunk("fmt ", FmtBody(0x0050, 2, 44100, 16))));
    EXPECT_EQ(parsed->result, 1);
    EXPECT_TRUE(parsed->format.isMpegInWave);
    EXPECT_EQ(parsed->format.fileKind, kindWave);
}

TEST(RiffWalk, FindsFormatAndAudioAmongOtherChunks) {
    const auto parsed = ParseBytes(RiffFile(ByteWriter()
                                                .Chunk("JUNK", ByteWriter().Zeros(3))
                                                .Chunk("abcd", ByteWriter().Zeros(5))
                                                .Add(PcmChunks())
                                                .Chunk("efgh", ByteWriter().Zeros(4))));
    ASSERT_EQ(parsed->result, 0) << parsed->Message();
    const auto& format = parsed->format;
    EXPECT_FALSE(format.errorMessage);
    EXPECT_EQ(format.fileKind, kindWave);
    EXPECT_EQ(format.encoding, encodingInteger);
    EXPECT_EQ(format.channels, 2);
    EXPECT_EQ(format.sampleRate, 44100);
    EXPECT_EQ(format.bitsPerSample, 16);
    EXPECT_EQ(format.blockAlign, 4);
    EXPECT_EQ(format.lengthFrames, 10);
    EXPECT_EQ(format.dataStart, 12 + 12 + 14 + 24 + 8);
    EXPECT_TRUE(format.metadata.Has("abcd"));
    EXPECT_TRUE(format.metadata.Has("efgh"));
    EXPECT_EQ(format.metadata.Count(), 2u);
}

TEST(RiffWalk, KeepsTheSpeakerMaskOfIntegersOnly) {
    const auto fmt = [](const Bytes& body) {
        return ParseBytes(RiffFile(ByteWriter().Chunk("fmt ", body).Chunk("data", tenFrames)));
    };
    const auto integers = fmt(Extensible(1, 24, 0x3F));
    EXPECT_EQ(integers->format.channelMask, 0x3Fu);
    EXPECT_EQ(integers->format.layoutTag, layoutFromMask);
    EXPECT_EQ(integers->format.validBits, 24);
    const auto floats = fmt(Extensible(3, 32, 0x3F));
    EXPECT_EQ(floats->format.encoding, encodingFloat);
    EXPECT_EQ(floats->format.channelMask, 0u);
    EXPECT_EQ(floats->format.layoutTag, 0u);
    EXPECT_EQ(fmt(Extensible(1, 24, 0))->format.layoutTag, 0u);
}

TEST(RiffWalk, WidensATooSmallBlockAlign) {
    const auto align = [](const Bytes& body) {
        return ParseBytes(RiffFile(ByteWriter().Chunk("fmt ", body).Chunk("data", tenFrames)))
            ->format.blockAlign;
    };
    EXPECT_EQ(align(FmtBody(1, 2, 44100, 24, 4)), 6);
    EXPECT_EQ(align(FmtBody(1, 2, 44100, 24, 8)), 8);
    EXPECT_EQ(align(FmtBody(1, 2, 44100, 20, 1)), 5);
    EXPECT_EQ(align(FmtBody(1, 65535, 44100, 32, 1)), 65535 * 4);
}

TEST(RiffWalk, TakesSevenCoefficientPairsAndNoOtherNumber) {
    const auto coefficients = [](uint16_t count) {
        ByteWriter body;
        body.Add(FmtBody(2, 1, 8000, 4, 256)).Le16(32).Le16(500).Le16(count);
        for (int i = 0; i < 14; ++i)
            body.Le16(static_cast<uint16_t>(-i));
        return ParseBytes(RiffFile(ByteWriter().Chunk("fmt ", body).Chunk("data", tenFrames)))
            ->format.msadpcmCoefficients;
    };
    ASSERT_TRUE(coefficients(7));
    EXPECT_EQ((*coefficients(7))[13], -13);
    EXPECT_FALSE(coefficients(6));
}

TEST(RiffWalk, ALaterFormatReplacesTheEarlier) {
    const auto parsed = ParseBytes(RiffFile(
        ByteWriter().Chunk("fmt ", pcmFmt).Chunk("data", tenFrames).Chunk("fmt ", FmtBody(3, 1, 8000, 32))));
    EXPECT_EQ(parsed->result, 0);
    EXPECT_EQ(parsed->format.encoding, encodingFloat);
    EXPECT_EQ(parsed->format.lengthFrames, 10);  // 40 bytes of 4 each
}

struct AcidCase {
    uint32_t flags;
    uint16_t meter;
    size_t bytes;
    int loopKind, hasRootNote, beats, beatsAlt;
    float tempo;
};

TEST(RiffWalk, ReadsAcidLoops) {
    const AcidCase cases[] = {
        {0x01 | 0x02 | 0x08, 4, 24, 0, 0, 0, 0, 0},  // one-shot
        {0x02 | 0x08, 4, 24, 1, 1, 8, 0, 120},
        {0x10 | 0x08, 4, 24, 1, 0, 0, 8, 120},
        {0x08, 3, 24, 1, 0, 8, 0, 0},
        {0x08, 4, 23, 1, 0, 8, 0, 0},
    };
    for (const auto& c : cases) {
        Bytes body =
            ByteWriter().Le32(c.flags).Le16(0xFF40).Le16(0).Le32(0).Le32(8).Le16(4).Le16(c.meter).LeFloat(
                120);
        body.resize(c.bytes);
        const auto parsed = ParseBytes(RiffFile(ByteWriter().Chunk("acid", body).Add(PcmChunks())));
        const auto& format = parsed->format;
        EXPECT_EQ(format.loopKind, c.loopKind) << c.flags;
        EXPECT_EQ(format.hasRootNote, c.hasRootNote) << c.flags;
        EXPECT_EQ(format.rootNoteOffset, c.hasRootNote ? 4 : 0) << c.flags;
        EXPECT_EQ(format.beatCount, c.beats) << c.flags;
        EXPECT_EQ(format.beatCountAlt, c.beatsAlt) << c.flags;
        EXPECT_EQ(format.tempo, c.tempo) << c.flags << ' ' << c.bytes;
    }
}

TEST(RiffWalk, SlicePointsKeepTenMillisecondsApart) {
    ByteWriter strc;
    strc.Zeros(28);
    for (const int64_t frame : {int64_t{500}, int64_t{900}, int64_t{941}, int64_t{-1}, INT64_MAX})
        strc.Zeros(8).Le64(static_cast<uint64_t>(frame)).Zeros(16);
    strc.Zeros(31);  // no whole entry
    const auto parsed =
        ParseBytes(RiffFile(ByteWriter().Chunk("fmt ", pcmFmt).Chunk("strc", strc).Chunk("data", tenFrames)));
    EXPECT_EQ(parsed->format.slicePoints, (std::vector<int64_t>{0, 500, 941, INT64_MAX}));
}

TEST(RiffWalk, AdmTrackCountsMustAgree) {
    const auto tracks = [](uint16_t count, uint16_t uids) {
        return ParseBytes(
                   RiffFile(ByteWriter().Chunk("chna", ByteWriter().Le16(count).Le16(uids)).Add(PcmChunks())))
            ->Value("ADM:numTracks");
    };
    EXPECT_EQ(tracks(2, 3), "2");
    EXPECT_EQ(tracks(3, 2), "");
    EXPECT_EQ(tracks(0, 2), "");
}

TEST(RiffWalk, TakesOutsizedChunksFromDs64) {
    const Bytes table = ByteWriter().Text("abcd").Le64(6).Text("abcd").Le64(60);
    const auto parsed = ParseBytes(RiffFile(ByteWriter()
                                                .Chunk("ds64", Ds64(40, 7, table))
                                                .Text("abcd")
                                                .Le32(0xFFFFFFFF)
                                                .Zeros(6)
                                                .Chunk("fmt ", FmtBody(0x11, 1, 8000, 4, 20))
                                                .Chunk("fact", ByteWriter().Le32(0xFFFFFFFF))
                                                .Text("data")
                                                .Le32(0xFFFFFFFF)
                                                .Zeros(40)
                                                .Chunk("tail", ByteWriter().Zeros(4)),
                                            "BW64"));
    ASSERT_EQ(parsed->result, 0) << parsed->Message();
    EXPECT_EQ(parsed->format.fileKind, kindBw64);
    EXPECT_EQ(parsed->format.lengthFrames, 7);
    EXPECT_TRUE(parsed->format.metadata.Has("tail"));
    EXPECT_FALSE(parsed->format.metadata.Has("ds64"));
}

struct LengthCase {
    const char* what;
    Bytes file;
    int64_t frames;
};

TEST(RiffWalk, CountsTheFramesThatAreThere) {
    const auto fmt = ByteWriter().Chunk("fmt ", pcmFmt);
    const auto ima = [](const Bytes& fact) {
        return RiffFile(ByteWriter()
                            .Chunk("fmt ", FmtBody(0x11, 2, 44100, 4, 1024))
                            .Add(fact)
                            .Chunk("data", ByteWriter().Zeros(10240)));
    };
    const auto fact = [](uint32_t frames) { return ByteWriter().Chunk("fact", ByteWriter().Le32(frames)); };
    const auto rf64 = [&](uint64_t ds64Size, uint32_t size) {
        return RiffFile(
            ByteWriter().Chunk("ds64", Ds64(ds64Size, 0)).Add(fmt).Text("data").Le32(size).Zeros(42), "RF64");
    };
    const LengthCase cases[] = {
        {"data cut off", RiffFile(ByteWriter().Add(fmt).Text("data").Le32(4000).Zeros(42)), 10},
        {"data of all ones", RiffFile(ByteWriter().Add(fmt).Text("data").Le32(0xFFFFFFFF).Zeros(42)), 10},
        {"never finished", RiffFile(ByteWriter().Add(fmt).Text("data").Le32(0).Zeros(42)), 10},
        {"empty before its format", RiffFile(ByteWriter().Text("data").Le32(0).Add(fmt)), 0},
        {"two data: the later", RiffFile(ByteWriter().Add(PcmChunks()).Chunk("data", ByteWriter().Zeros(8))),
         2},
        {"ds64 size", rf64(40, 0xFFFFFFFF), 10},
        {"ds64 size 0", rf64(0, 0xFFFFFFFF), 10},
        {"ds64 size negative", rf64(~0ull, 0xFFFFFFFF), 10},
        {"own size beside ds64", rf64(0, 8), 2},
        {"IMA ADPCM", ima({}), 10161},
        {"smaller fact", ima(fact(10000)), 10000},
        {"larger fact", ima(fact(20000)), 10161},
        {"fact of PCM is not used", RiffFile(ByteWriter().Add(fact(1)).Add(PcmChunks())), 10},
        {"MS ADPCM",
         RiffFile(
             ByteWriter().Chunk("fmt ", FmtBody(2, 1, 8000, 4, 256)).Chunk("data", ByteWriter().Zeros(300))),
         (300 - 14) * 2 + 2},
        {"cADPCM",
         RiffFile(ByteWriter()
                      .Chunk("fmt ", FmtBody(0xAC0C, 1, 8000, 2, 256))
                      .Chunk("data", ByteWriter().Zeros(300))),
         (300 - 8) * 4 + 1},
        {"blocks smaller than their headers",
         RiffFile(ByteWriter().Chunk("fmt ", FmtBody(0x11, 65535, 8000, 4, 7)).Chunk("data", tenFrames)), 0},
        {"20 bits take 3 bytes",
         RiffFile(ByteWriter().Chunk("fmt ", FmtBody(1, 2, 8000, 20)).Chunk("data", ByteWriter().Zeros(60))),
         10},
    };
    for (const auto& c : cases) {
        const auto parsed = ParseBytes(c.file);
        EXPECT_EQ(parsed->result, 0) << c.what << ": " << parsed->Message();
        EXPECT_EQ(parsed->format.lengthFrames, c.frames) << c.what;
        EXPECT_FALSE(parsed->format.lengthCutWhileGrowing) << c.what;
    }
}

TEST(RiffWalk, AnErrorAfterTheAudioIsForgiven) {
    const auto parsed = ParseBytes(RiffFile(PcmChunks().Text("fact").Le32(4).U8(0)));
    EXPECT_EQ(parsed->result, 0);
    EXPECT_EQ(parsed->Message(), "");
}

}  // namespace
}  // namespace vantor::test
