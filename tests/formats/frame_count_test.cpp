// What sizes in headers come to: bytes of audio, and frames of block-coded ones.
#include "formats/frame_count.h"

#include <gtest/gtest.h>

#include <limits>

#include "formats/riff_data_size.h"

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

}  // namespace
}  // namespace vantor::test
