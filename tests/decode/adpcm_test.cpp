#include "decode/adpcm.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <optional>

#include "tests/decode/decode_support.h"

namespace vantor::test {
namespace {

using Coefficients = std::array<int16_t, 14>;

struct AdpcmCoded {
    int32_t encoding, channels, blockAlign;
    uint64_t digest = 0;  // of the samples of NoiseBlocks
    std::optional<Coefficients> coefficients = {};
};

// Blocks of noise with headers that a decoder accepts; some steps lie beyond the table.
Bytes NoiseBlocks(const AdpcmCoded& c, int32_t blocks) {
    const auto blockBytes = static_cast<size_t>(c.blockAlign);
    Bytes stream = Noise(blockBytes * static_cast<size_t>(blocks), 7);
    for (size_t start = 0; start < stream.size(); start += blockBytes)
        for (size_t channel = 0; channel < static_cast<size_t>(c.channels); ++channel) {
            uint8_t* const imaHeader = &stream[start + 4 * channel];
            if (c.encoding == encodingMsAdpcm) {
                stream[start + channel] %= 7;
            } else {
                imaHeader[3] = imaHeader[2] % 16 == 0;
                imaHeader[2] %= 96;
            }
        }
    return stream;
}

uint64_t DigestOf(const Samples& samples) {
    uint64_t digest = 0xCBF29CE484222325;  // FNV-1a, a sample at a time
    for (const double sample : samples)
        digest = (digest ^ std::bit_cast<uint64_t>(sample)) * 0x100000001B3;
    return digest;
}

struct AdpcmFile : PlayedFile {
    AdpcmFile(const AdpcmCoded& c, const Bytes& stream)
        : PlayedFile({c.encoding, c.encoding == encodingCAdpcm ? 2 : 4, c.channels, c.blockAlign}, stream,
                     1 << 30) {
        format.msadpcmCoefficients = c.coefficients;
    }

    Samples JumpTo(int64_t frame, int32_t frames, int32_t channels) {
        absoluteSeconds = notContinuation;
        Samples samples = ReadAt(frame, frames, channels);
        absoluteSeconds = 0;
        return samples;
    }
};

constexpr Coefficients oddCoefficients = {1,   -1,     32767, -32768, -32768, -32768, 511,
                                          511, -32768, 32767, 255,    0,      -7,     300};

// The digests are those of a second decoder, written from the layout of the codings, one code after another.
TEST(Adpcm, EveryBlockSizeAndEveryStartGivesTheSameSamples) {
    const AdpcmCoded codings[] = {
        {encodingImaAdpcm, 1, 1024, 0x4456FC4477A9A0D7},
        {encodingImaAdpcm, 2, 2048, 0x02780352C89C55ED},
        {encodingImaAdpcm, 3, 300, 0x716A72AD3EF7723D},
        {encodingImaAdpcm, 1, 7, 0xAE2FED2C18CB9747},     // a last group of three bytes
        {encodingImaAdpcm, 2, 8, 0x2540250B52A7BFC5},     // a header alone
        {encodingImaAdpcm, 2, 1030, 0xF03DF6C5F0A45DCD},  // a last round that one channel lacks bytes for
        {encodingCAdpcm, 1, 256, 0x7A71A6074B1D225D},
        {encodingCAdpcm, 2, 129, 0xA7E8C28AF9818B7D},
        {encodingCAdpcm, 4, 64, 0xAB32A5A6450DBCA5},
        {encodingMsAdpcm, 1, 512, 0xF269EF4C46827715},
        {encodingMsAdpcm, 2, 1024, 0x48CE14747AFA9D85},
        {encodingMsAdpcm, 5, 333, 0x4A4714C2EEFFAFA5},
        {encodingMsAdpcm, 1, 7, 0xD503EFD0CD25082D},
        {encodingMsAdpcm, 2, 1025, 0x06F8DD347AFA9D85},
        {encodingMsAdpcm, 2, 256, 0xC91D9AA375B0B0E5, oddCoefficients},
    };
    for (const auto& coding : codings) {
        const int32_t channels = coding.channels;
        AdpcmFile file(coding, NoiseBlocks(coding, std::max(3, 20000 / coding.blockAlign)));
        const Samples all = file.ReadAll(100000, channels);
        EXPECT_EQ(DigestOf(all), coding.digest) << &coding - codings;
        for (const int32_t block : {7, 512})
            EXPECT_EQ(file.ReadAll(block, channels), all) << &coding - codings << " by " << block;
        for (int64_t i = 0; i < 200; ++i) {
            const int64_t start = i * 7919 % (std::ssize(all) / channels);
            ASSERT_EQ(file.JumpTo(start, 300, channels), FramesOf(all, start, 300, channels))
                << &coding - codings << " from " << start;
        }
    }
}

TEST(Adpcm, RoundsAsItsCodingSays) {
    const AdpcmCoded ima{encodingImaAdpcm, 1, 8}, ms{encodingMsAdpcm, 1, 8, 0, oddCoefficients};
    // Step 7, code 7: 7 x 7 / 4 + 0 is 12, where a sum of shifted steps gives 11.
    EXPECT_EQ(AdpcmFile(ima, ByteWriter().Le32(0).Le32(0xF7)).JumpTo(0, 3, 1),
              Samples({0, 12 / 32768.0, -18 / 32768.0}));
    // A step beyond the table is the last.
    EXPECT_EQ(AdpcmFile(ima, ByteWriter().Le16(0).Le16(0xFFFF).Le32(0)).JumpTo(0, 2, 1),
              Samples({0, 4095 / 32768.0}));
    // A prediction of -1/256 is 0, not -1.
    EXPECT_EQ(AdpcmFile(ms, ByteWriter().U8(0).Le16(16).Le16(0xFFFF).Le16(5).U8(0x01)).JumpTo(0, 4, 1),
              Samples({5 / 32768.0, -1 / 32768.0, 0, 16 / 32768.0}));
}

TEST(Adpcm, AnUnknownPredictorSilencesItsBlockAlone) {
    const AdpcmCoded coding{encodingMsAdpcm, 2, 256};  // 244 frames a block
    Bytes stream = NoiseBlocks(coding, 9);
    Samples expected = AdpcmFile(coding, stream).ReadAll(100, 2);
    std::fill_n(expected.begin() + 5 * 2 * 244, 2 * 244, 0.0);
    stream[5 * 256 + 1] = 7;
    for (const int32_t block : {100, 100000})  // one by one, and among blocks that are decoded side by side
        EXPECT_EQ(AdpcmFile(coding, stream).ReadAll(block, 2), expected) << block;
}

// Cut off by the end of the file, or by that of the blocks when other chunks follow.
TEST(Adpcm, APartialBlockIsNotDecoded) {
    const AdpcmCoded coding{encodingImaAdpcm, 2, 64};  // 57 frames a block
    const Bytes stream = NoiseBlocks(coding, 3);
    AdpcmFile cut(coding, {stream.begin(), stream.end() - 1}), followed(coding, stream);
    followed.format.blockCodedBytes = 3 * 64 - 1;
    for (AdpcmFile* file : {&cut, &followed}) {
        EXPECT_EQ(file->ReadAll(1000, 2).size(), 2u * 2 * 57);
        EXPECT_TRUE(file->JumpTo(120, 10, 2).empty());
    }
    followed.format.blockCodedBytes = 3 * 64;
    EXPECT_EQ(followed.JumpTo(120, 10, 2).size(), 20u);
    followed.format.lengthFrames = 125;  // a smaller count of frames ends the stream too
    EXPECT_EQ(followed.JumpTo(120, 10, 2).size(), 10u);
}

// A record that is parsed anew may change its coding under the same context.
TEST(Adpcm, AContextFollowsItsFormat) {
    const AdpcmCoded wide{encodingImaAdpcm, 1, 64}, narrow{encodingImaAdpcm, 1, 32};
    const Bytes stream = NoiseBlocks(wide, 5);
    AdpcmFile file(wide, stream);
    (void)file.ReadAt(0, 100, 1);
    file.format.blockAlign = narrow.blockAlign;
    EXPECT_EQ(file.ReadAt(100, 50, 1), AdpcmFile(narrow, stream).JumpTo(100, 50, 1));
    Describe(file.format, {encodingUlaw, 8, 1}, 320);
    EXPECT_EQ(file.ReadAt(0, 1000, 1).size(), 320u);
    EXPECT_EQ(file.context->decoder, nullptr);
}

}  // namespace
}  // namespace vantor::test
