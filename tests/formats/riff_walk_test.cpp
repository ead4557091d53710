#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

// Refused formats are in the tests of Wave64.
TEST(RiffWalk, RefusesWithTheMessageOfWhatIsWrong) {
    const auto cut = [](std::string_view id, uint32_t size, size_t present) {
        return RiffFile(ByteWriter().Chunk("fmt ", pcmFmt).Text(id).Le32(size).Zeros(present));
    };
    const auto rf64 = [](const Bytes& chunks) { return RiffFile(chunks, "RF64"); };
    const Bytes fmtAndData = ByteWriter().Chunk("fmt ", pcmFmt).Chunk("data", tenFrames);
    const Bytes wrappingTable = ByteWriter().Zeros(24).Le32(0x15555551).Zeros(90);
    ExpectRefusals({
        {"Unknown file header", ByteWriter().Text("RIFF").Le32(4).Text("WAV")},
        {"Unknown file header", RiffFile({}, "RIFX")},
        {"Error reading WAV chunk header", RiffFile({})},
        {"Error reading WAV chunk header", RiffFile(ByteWriter().Chunk("fmt ", pcmFmt))},
        {"Error reading WAV chunk header", WaveFile(ByteWriter().Zeros(15))},
        {"Error reading WAV fmt chunk", RiffFile(ByteWriter().Text("fmt ").Le32(17).Add(pcmFmt))},
        {"Error reading WAV fact chunk", cut("fact", 4, 3)},
        {"Error reading WAV acid chunk", cut("acid", 100, 20)},
        {"RF64 requires ds64 chunk", rf64(fmtAndData)},
        {"RF64 requires ds64 chunk", RiffFile(fmtAndData, "BW64")},
        {"RF64 ds64 chunk is too small", rf64(ByteWriter().Chunk("ds64", Bytes(23)).Add(fmtAndData))},
        {"Error reading RF64 ds64 chunk", rf64(ByteWriter().Text("ds64").Le32(28).Zeros(27))},
        {"Error reading RF64 ds64 chunk",
         rf64(ByteWriter().Text("ds64").Le32(0xFFFFFFFC).Add(wrappingTable))},
    });
}

// The speaker mask is kept for integers only; a block alignment that is too small is widened.
TEST(RiffWalk, TakesItsFormat) {
    const struct {
        Bytes fmt;
        const char* audio;
    } cases[] = {
        {ExtensibleFmt(1, 24, 0x3F),
         "int24 little, 6 ch, 48000 Hz, 18 bytes, 2 frames at 68, valid 24, layout 10000, mask 3f"},
        {ExtensibleFmt(1, 24), "int24 little, 6 ch, 48000 Hz, 18 bytes, 2 frames at 68, valid 24"},
        {ExtensibleFmt(3, 32, 0x3F), "float32 little, 6 ch, 48000 Hz, 24 bytes, 1 frames at 68, valid 32"},
        {FmtBody(7, 1, 8000, 8), "ulaw8 little, 1 ch, 8000 Hz, 1 bytes, 40 frames at 44"},
        {FmtBody(1, 2, 44100, 24, 4), "int24 little, 2 ch, 44100 Hz, 6 bytes, 6 frames at 44"},
        {FmtBody(1, 2, 44100, 24, 8), "int24 little, 2 ch, 44100 Hz, 8 bytes, 6 frames at 44"},
        {FmtBody(1, 2, 44100, 20, 1), "int20 little, 2 ch, 44100 Hz, 5 bytes, 6 frames at 44"},
        {FmtBody(1, 65535, 8000, 32, 1), "int32 little, 65535 ch, 8000 Hz, 262140 bytes, 0 frames at 44"},
        {FmtBody(0x11, 65535, 8000, 4, 7), "ima4 little, 65535 ch, 8000 Hz, 7 bytes, 0 frames at 44"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(AudioText(ParsePlayable(WaveFile(c.fmt))->format), c.audio);
}

TEST(RiffWalk, TakesSevenCoefficientPairsAndNoOtherNumber) {
    for (const bool seven : {false, true}) {
        ByteWriter fmt;
        fmt.Add(FmtBody(2, 1, 8000, 4, 256)).Le16(32).Le16(500).Le16(seven ? 7 : 6).Zeros(26).Le16(0xFFF3);
        const auto coefficients = ParsePlayable(WaveFile(fmt))->format.msadpcmCoefficients;
        ASSERT_EQ(coefficients.has_value(), seven);
        EXPECT_EQ(seven ? (*coefficients)[13] : -13, -13);
    }
}

TEST(RiffWalk, ReadsAcidLoops) {
    const struct {
        uint32_t flags;
        uint16_t meter;
        size_t bytes;
        const char* loop;
    } cases[] = {
        {0x01 | 0x02 | 0x08, 4, 24, ""},  // one-shot
        {0x02 | 0x08, 4, 24, "loop 1, beats 8, tempo 120, root 4"},
        {0x10 | 0x08, 4, 24, "loop 1, other beats 8, tempo 120"},
        {0x08, 3, 24, "loop 1, beats 8"},
        {0x08, 4, 23, "loop 1, beats 8"},
    };
    for (const auto& c : cases) {
        ByteWriter acid;
        acid.Le32(c.flags).Le16(0xFF40).Le16(0).Le32(0).Le32(8).Le16(4).Le16(c.meter).LeFloat(120);
        const Bytes body(acid.Done().begin(), acid.Done().begin() + static_cast<ptrdiff_t>(c.bytes));
        EXPECT_EQ(LoopText(ParsePlayable(WaveFile(pcmFmt, ByteWriter().Chunk("acid", body)))->format),
                  c.loop);
    }
}

TEST(RiffWalk, SlicePointsKeepTenMillisecondsApart) {
    ByteWriter strc;
    strc.Zeros(28);
    for (const int64_t frame : {int64_t{500}, int64_t{900}, int64_t{941}, int64_t{-1}, INT64_MAX})
        strc.Zeros(8).Le64(static_cast<uint64_t>(frame)).Zeros(16);
    strc.Zeros(31);  // no whole entry
    EXPECT_EQ(ParsePlayable(WaveFile(pcmFmt, ByteWriter().Chunk("strc", strc)))->format.slicePoints,
              (std::vector<int64_t>{0, 500, 941, INT64_MAX}));
}

TEST(RiffWalk, CountsTheFramesThatAreThere) {
    const auto fmt = ByteWriter().Chunk("fmt ", pcmFmt);
    const auto fact = [](uint32_t frames) { return ByteWriter().Chunk("fact", ByteWriter().Le32(frames)); };
    const auto data = [&](uint32_t size) {
        return RiffFile(ByteWriter().Add(fmt).Text("data").Le32(size).Zeros(42));
    };
    const auto coded = [](const Bytes& body, size_t bytes, const Bytes& between = {}) {
        return RiffFile(ByteWriter().Chunk("fmt ", body).Add(between).Chunk("data", Bytes(bytes)));
    };
    const auto rf64 = [&](uint64_t ds64Size, uint32_t size, const Bytes& chunk) {
        const Bytes ds64 = Ds64Body(ds64Size, 7);
        return RiffFile(ByteWriter().Chunk("ds64", ds64).Add(chunk).Text("data").Le32(size).Zeros(42),
                        "RF64");
    };
    const Bytes crowdedDs64 = ByteWriter().Zeros(24).Le32(3).Zeros(35),
                fmtAndData = ByteWriter().Add(fmt).Chunk("data", tenFrames);
    const Bytes ima = FmtBody(0x11, 2, 44100, 4, 1024);
    const auto imaIn64 = ByteWriter().Chunk("fmt ", FmtBody(0x11, 1, 8000, 4, 20)).Add(fact(0xFFFFFFFF));
    const struct {
        const char* what;
        Bytes file;
        int64_t frames;
    } cases[] = {
        {"data cut off", data(4000), 10},
        {"data of all ones", data(0xFFFFFFFF), 10},
        {"never finished", data(0), 10},
        {"empty before its format", RiffFile(ByteWriter().Text("data").Le32(0).Add(fmt)), 0},
        {"two data: the later", coded(pcmFmt, 8, ByteWriter().Chunk("data", tenFrames)), 2},
        {"two formats: the later",
         RiffFile(ByteWriter().Add(fmt).Chunk("data", Bytes(80)).Chunk("fmt ", FmtBody(3, 1, 8000, 32))), 20},
        {"an error after the audio",
         RiffFile(ByteWriter().Add(fmt).Chunk("data", tenFrames).Text("fact").Le32(4).U8(0)), 10},
        {"ds64 size", rf64(40, 0xFFFFFFFF, fmt), 10},
        {"ds64 size 0", rf64(0, 0xFFFFFFFF, fmt), 10},
        {"ds64 size negative", rf64(~0ull, 0xFFFFFFFF, fmt), 10},
        {"own size beside ds64", rf64(0, 8, fmt), 2},
        {"a table without room", RiffFile(ByteWriter().Chunk("ds64", crowdedDs64).Add(fmtAndData), "RF64"),
         10},
        {"fact in ds64", rf64(40, 0xFFFFFFFF, imaIn64), 7},
        {"IMA ADPCM", coded(ima, 10240), 10161},
        {"smaller fact", coded(ima, 10240, fact(10000)), 10000},
        {"larger fact", coded(ima, 10240, fact(20000)), 10161},
        {"fact of PCM is not used", WaveFile(pcmFmt, fact(1)), 10},
        {"MS ADPCM", coded(FmtBody(2, 1, 8000, 4, 256), 300), (300 - 14) * 2 + 2},
        {"cADPCM", coded(FmtBody(0xAC0C, 1, 8000, 2, 256), 300), (300 - 8) * 4 + 1},
    };
    for (const auto& c : cases) {
        const auto parsed = ParsePlayable(c.file);
        EXPECT_EQ(parsed->format.lengthFrames, c.frames) << c.what;
        EXPECT_FALSE(parsed->format.lengthCutWhileGrowing) << c.what;
    }
}

}  // namespace
}  // namespace vantor::test
