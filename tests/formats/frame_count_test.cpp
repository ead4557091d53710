// What sizes in headers come to: bytes of audio, and the frames of files in every container.
#include "formats/frame_count.h"

#include <gtest/gtest.h>

#include <limits>

#include "formats/riff_data_size.h"
#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

constexpr int64_t fourGiB = int64_t{1} << 32, most = std::numeric_limits<int64_t>::max();

TEST(RiffDataSize, TakesTheFieldTheTableOrTheRestOfTheFile) {
    const auto table = [](uint64_t dataSize) { return Ds64{0, dataSize, 0, {}}; };
    const Ds64 seven = table(7), zero = table(0), negative = table(~uint64_t{0});
    const struct {
        uint32_t sizeField;
        const Ds64* ds64;
        bool formatAccepted;
        int64_t fileSize, bytes;
    } cases[] = {
        {100, nullptr, true, 1000, 100},
        {sizeInDs64, nullptr, true, 1000, 0xFFFFFFFF},
        {0, nullptr, true, 1000, 956},
        {0, nullptr, true, 40, 0},
        {0, nullptr, false, 1000, 0},
        // The field of a plain file has wrapped.
        {100, nullptr, true, 43 + fourGiB, 100},
        {100, nullptr, true, 44 + fourGiB, 100 + fourGiB},
        {100, nullptr, true, 1000 + 2 * fourGiB, 100 + 2 * fourGiB},
        {100, &seven, true, 44 + fourGiB, 100},
        {sizeInDs64, &seven, true, 1000, 7},
        {sizeInDs64, &zero, true, 1000, 0xFFFFFFFF},
        {sizeInDs64, &negative, true, 1000, most},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RiffDataBytes(c.sizeField, c.ds64, c.formatAccepted, 44, c.fileSize), c.bytes)
            << &c - cases;
    EXPECT_EQ(PlayedRiffBytes(100, 44, 1000), 100);
    EXPECT_EQ(PlayedRiffBytes(100, 44, 100), 56);
    EXPECT_EQ(PlayedRiffBytes(100, 44, 144 + fourGiB), 100 + fourGiB);
    EXPECT_EQ(PlayedRiffBytes(100, 44, 1000 + fourGiB), 100 + fourGiB);
}

TEST(RiffDataSize, OfAnotherChunkStandsInTheTableWhereItIsAllOnes) {
    const Ds64 ds64{
        0, 0, 0, {{{'a', 'b', 'c', 'd'}, 6}, {{'a', 'b', 'c', 'd'}, 60}, {{'z', 'z', 'z', 'z'}, 5}}};
    EXPECT_EQ(SizeFromTable(ds64, "abcd", sizeInDs64), 6u);
    EXPECT_EQ(SizeFromTable(ds64, "abcd", 7), 7u);
    for (const char* unknown : {"0000", "mmmm", "~~~~"})
        EXPECT_EQ(SizeFromTable(ds64, unknown, sizeInDs64), sizeInDs64) << unknown;
}

TEST(FrameCount, OfBlockCodedBytes) {
    const struct {
        int32_t encoding, bits, channels, blockAlign;
        int64_t bytes, frames;
    } cases[] = {
        {encodingImaAdpcm, 4, 1, 8, 8, 9},
        {encodingImaAdpcm, 4, 1, 8, 9, 3},
        {encodingImaAdpcm, 4, 2, 16, 32, 17},
        {encodingImaAdpcm, 4, 1, 8, 1, 0},
        {encodingImaAdpcm, 4, 1, 8, 0, 0},
        {encodingInteger, 16, 1, 2, 8, 0},
        {encodingImaAdpcm, 4, 1, 8, -8, 0},
        {encodingImaAdpcm, 4, 1, 0, 8, 0},
        {encodingImaAdpcm, 4, 0, 8, 8, 0},
        {encodingImaAdpcm, 4, 1, 1, 4, 0},
        {encodingMsAdpcm, 4, 2, 16, 32, 6},
        {encodingMsAdpcm, 4, 1, 7, 7, 2},
        {encodingCAdpcm, 2, 1, 8, 16, 33},
        {encodingImaAdpcm, 2, 1, 8, 8, 9},
        {encodingCAdpcm, 0, 1, 8, 16, 17},
        {encodingCAdpcm, 1, 1, 8, 16, 65},
        {encodingImaAdpcm, 4, 2, 16, most / 16 / 8, most / 16 / 8 / 2 + 1},
        {encodingImaAdpcm, 4, 2, 16, most / 16 / 8 + 1, 0},
    };
    for (const auto& c : cases) {
        AudioFormat format;
        format.encoding = c.encoding;
        format.bitsPerSample = c.bits;
        format.channels = c.channels;
        format.blockAlign = c.blockAlign;
        EXPECT_EQ(AdpcmFrames(format, c.bytes), c.frames) << &c - cases;
    }
}

TEST(FrameCount, OfTheAudioThatIsThere) {
    const auto fmt = ByteWriter().Chunk("fmt ", pcmFmt);
    const auto fact = [](uint32_t frames) { return ByteWriter().Chunk("fact", ByteWriter().Le32(frames)); };
    const auto data = [&](uint32_t size) {
        return RiffFile(ByteWriter().Add(fmt).Text("data").Le32(size).Zeros(42));
    };
    const auto coded = [](const Bytes& body, size_t bytes, const Bytes& between = {}) {
        return RiffFile(ByteWriter().Chunk("fmt ", body).Add(between).Chunk("data", Bytes(bytes)));
    };
    const auto rf64 = [](uint64_t ds64Size, uint32_t size, const Bytes& chunk) {
        const Bytes ds64 = Ds64Body(ds64Size, 7);
        return Rf64File(ByteWriter().Chunk("ds64", ds64).Add(chunk).Text("data").Le32(size).Zeros(42));
    };
    const Bytes crowdedDs64 = ByteWriter().Zeros(24).Le32(3).Zeros(35);
    const Bytes ima = FmtBody(0x11, 2, 44100, 4, 1024);
    const auto imaIn64 = ByteWriter().Chunk("fmt ", FmtBody(0x11, 1, 8000, 4, 20)).Add(fact(0xFFFFFFFF));
    // The audio counts to the end of the file, `COMM` behind it included.
    const auto aiff = [](const Bytes& comm, const Bytes& ssnd) {
        return IffFile("AIFF", ByteWriter().IffChunk("SSND", ssnd).IffChunk("COMM", comm));
    };
    const auto voice = [](uint32_t bodyBytes, size_t present) {
        const Bytes header = ByteWriter().Zeros(12).Be16(8363).Zeros(6);
        return IffFile("8SVX",
                       ByteWriter().IffChunk("VHDR", header).Text("BODY").Be32(bodyBytes).Zeros(present));
    };
    auto paddedBy32Bits = ByteWriter().Text("abcd").Be32(0xFFFFFFFF);
    auto openEnd = ByteWriter().CafChunk("data", Bytes(40)).CafChunk("desc", DescBody());
    const struct {
        const char* what;
        Bytes file;
        int64_t frames;
    } cases[] = {
        {"data cut off", data(4000), 10},
        {"never finished", data(0), 10},
        {"empty before its format", RiffFile(ByteWriter().Text("data").Le32(0).Add(fmt)), 0},
        {"two data: the later", coded(pcmFmt, 8, ByteWriter().Chunk("data", tenFrames)), 2},
        {"two formats: the later",
         RiffFile(ByteWriter().Add(fmt).Chunk("data", Bytes(80)).Chunk("fmt ", FmtBody(3, 1, 8000, 32))), 20},
        {"a second format that is refused, of no bits",
         RiffFile(
             ByteWriter().Add(fmt).Chunk("data", Bytes(80)).Chunk("fmt ", FmtBody(0x11, 1, 8000, 0, 64))),
         0},
        {"a second format that is refused, of no block",
         RiffFile(ByteWriter()
                      .Add(fmt)
                      .Chunk("data", Bytes(80))
                      .Chunk("fmt ", ByteWriter().Le16(6).Le16(2).Le32(8000).Le32(0).Le16(0).Le16(8))),
         0},
        {"a second description that is refused",
         CafFile(ByteWriter()
                     .CafChunk("desc", DescBody())
                     .CafChunk("data", Bytes(44))
                     .CafChunk("desc", DescBody({.rate = 8000, .bits = 0x7FFFFFFF}))),
         10},
        {"an error after the audio", ByteWriter().Add(WaveFile()).Text("fact").Le32(4).U8(0), 10},
        {"ds64 size", rf64(40, 0xFFFFFFFF, fmt), 10},
        {"a shorter ds64",
         Rf64File(ByteWriter()
                      .Chunk("ds64", ByteWriter().Le64(0).Le64(40).Le64(0))
                      .Add(fmt)
                      .Text("data")
                      .Le32(0xFFFFFFFF)
                      .Zeros(60)),
         10},
        {"ds64 size 0", rf64(0, 0xFFFFFFFF, fmt), 10},
        {"ds64 size negative", rf64(~0ull, 0xFFFFFFFF, fmt), 10},
        {"own size beside ds64", rf64(0, 8, fmt), 2},
        {"a table without room",
         Rf64File(ByteWriter().Chunk("ds64", crowdedDs64).Add(fmt).Chunk("data", tenFrames)), 10},
        {"fact in ds64", rf64(40, 0xFFFFFFFF, imaIn64), 7},
        {"a small fact beside ds64",
         rf64(40, 0xFFFFFFFF, ByteWriter().Chunk("fmt ", FmtBody(0x11, 1, 8000, 4, 20)).Add(fact(3))), 3},
        {"IMA ADPCM", coded(ima, 10240), 10161},
        {"fact of all ones", coded(ima, 10240, fact(0xFFFFFFFF)), 10161},
        {"smaller fact", coded(ima, 10240, fact(10000)), 10000},
        {"fact of PCM is not used", WaveFile(pcmFmt, fact(1)), 10},
        {"MS ADPCM", coded(FmtBody(2, 1, 8000, 4, 256), 300), (300 - 14) * 2 + 2},
        {"cADPCM", coded(FmtBody(0xAC0C, 1, 8000, 2, 256), 300), (300 - 8) * 4 + 1},
        {"Wave64 without an end",
         Wave64File(ByteWriter().Wave64Chunk("fmt ", pcmFmt).Add(GuidOf("data")).Le64(~0ull).Zeros(42)), 10},
        {"Wave64 with an empty chunk", Wave64AudioFile(pcmFmt, ByteWriter().Wave64Chunk("abcd", {})), 10},
        {"AIFF", aiff(CommBody(2, 7, 16), SsndBody(40)), 7},
        {"AIFF cut off", aiff(CommBody(2, 0xFFFFFFFF, 16), SsndBody(40)), (40 + 26) / 4},
        {"AIFF with an offset", aiff(CommBody(2, 100, 16), SsndBody(40, 4)), (36 + 26) / 4},
        {"AIFF with an offset beyond it", aiff(CommBody(2, 7, 16), SsndBody(40, 0xFFFFFFF0)), 0},
        {"AIFF of frames larger than it", aiff(CommBody(65535, 7, 64), SsndBody(40)), 0},
        {"a padded size of 32 bits wraps to nothing",
         IffFile("AIFF", paddedBy32Bits.IffChunk("COMM", CommBody(2, 10, 16)).IffChunk("SSND", SsndBody(40))),
         10},
        {"8SVX", voice(1000, 1000), 992},
        {"8SVX smaller than its header", voice(7, 8), 8},
        {"CAF with an empty chunk", CafAudioFile({}, ByteWriter().CafChunk("free", {})), 10},
        {"CAF to the end, and nothing behind it",
         CafFile(openEnd.Text("data").Be64(~0ull).Zeros(4).CafChunk("abcd", Bytes(18))), 7},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ParsePlayable(c.file)->lengthFrames, c.frames) << c.what;
}

}  // namespace
}  // namespace vantor::test
