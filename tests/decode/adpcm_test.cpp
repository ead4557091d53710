#include "decode/adpcm.h"

#include <gtest/gtest.h>

#include "tests/decode/decode_support.h"
#include "tests/decode/reference_adpcm.h"

namespace vantor::test {
namespace {

int32_t BitsOf(int32_t encoding) {
    return encoding == encodingCAdpcm ? 2 : 4;
}

// Blocks of noise with headers that a decoder accepts; some steps lie beyond the table.
Bytes Stream(const ReferenceCoding& coding, int32_t blocks, uint32_t seed = 7) {
    const auto blockBytes = static_cast<size_t>(coding.blockAlign);
    const auto channels = static_cast<size_t>(coding.channels);
    Bytes stream = Noise(blockBytes * static_cast<size_t>(blocks), seed);
    for (size_t start = 0; start < stream.size(); start += blockBytes)
        for (size_t channel = 0; channel < channels; ++channel) {
            if (coding.encoding == encodingMsAdpcm)
                stream[start + channel] %= 7;
            else
                stream[start + 4 * channel + 3] = stream[start + 4 * channel + 2] % 16 == 0;
            if (coding.encoding != encodingMsAdpcm) stream[start + 4 * channel + 2] %= 96;
        }
    return stream;
}

struct AdpcmFile : PlayedFile {
    AdpcmFile(const ReferenceCoding& coding, const Bytes& stream)
        : PlayedFile({coding.encoding, BitsOf(coding.encoding), coding.channels, coding.blockAlign}, stream,
                     1 << 30) {
        // The standard ones serve when the file has none.
        if (coding.coefficients != ReferenceCoding{}.coefficients)
            format.msadpcmCoefficients = coding.coefficients;
    }

    // As after a jump.
    Samples JumpTo(int64_t frame, int32_t frames, int32_t channels) {
        absoluteSeconds = notContinuation;
        Samples samples = ReadAt(frame, frames, channels);
        absoluteSeconds = 0;
        return samples;
    }
};

constexpr std::array<int16_t, 14> oddCoefficients = {1,   -1,     32767, -32768, -32768, -32768, 511,
                                                     511, -32768, 32767, 255,    0,      -7,     300};

const ReferenceCoding codings[] = {
    {encodingImaAdpcm, 1, 1024},
    {encodingImaAdpcm, 2, 2048},
    {encodingImaAdpcm, 3, 300},
    {encodingImaAdpcm, 1, 7},     // a last group of three bytes
    {encodingImaAdpcm, 2, 8},     // a header alone
    {encodingImaAdpcm, 2, 1030},  // a last round that one channel lacks bytes for
    {encodingImaAdpcm, 5, 127},
    {encodingCAdpcm, 1, 256},
    {encodingCAdpcm, 2, 129},
    {encodingCAdpcm, 4, 64},
    {encodingMsAdpcm, 1, 512},
    {encodingMsAdpcm, 2, 1024},
    {encodingMsAdpcm, 3, 700},
    {encodingMsAdpcm, 5, 333},
    {encodingMsAdpcm, 1, 7},
    {encodingMsAdpcm, 2, 1025},
    {encodingMsAdpcm, 2, 256, oddCoefficients},
};

std::string NameOf(const ReferenceCoding& coding) {
    return "encoding " + std::to_string(coding.encoding) + ", " + std::to_string(coding.channels) +
           " channels, block of " + std::to_string(coding.blockAlign);
}

TEST(Adpcm, EveryBlockSizeGivesTheReferenceSamples) {
    for (const ReferenceCoding& coding : codings) {
        const Bytes stream = Stream(coding, 20000 / coding.blockAlign);
        const Samples expected = ReferenceDecode(coding, stream);
        AdpcmFile file(coding, stream);
        for (const int32_t block : {7, 512, 100000})
            EXPECT_EQ(file.ReadAll(block, coding.channels), expected) << NameOf(coding) << ", by " << block;
    }
}

TEST(Adpcm, EveryStartGivesTheSamplesOfASequentialRead) {
    for (const ReferenceCoding& coding : codings) {
        const Bytes stream = Stream(coding, std::max(3, 6000 / coding.blockAlign));
        const Samples all = ReferenceDecode(coding, stream);
        const auto channels = static_cast<size_t>(coding.channels);
        const size_t frames = all.size() / channels;
        AdpcmFile file(coding, stream);
        for (size_t i = 0; i < 200; ++i) {
            const size_t start = i * 7919 % frames;
            const size_t count = std::min<size_t>(frames - start, 300);
            const auto from = all.begin() + static_cast<ptrdiff_t>(start * channels);
            ASSERT_EQ(file.JumpTo(static_cast<int64_t>(start), 300, coding.channels),
                      Samples(from, from + static_cast<ptrdiff_t>(count * channels)))
                << NameOf(coding) << ", from " << start;
        }
    }
}

TEST(Adpcm, SamplesPerBlock) {
    const struct {
        ReferenceCoding coding;
        int32_t frames;
    } cases[] = {
        {{encodingImaAdpcm, 2, 2048}, 2041},
        {{encodingCAdpcm, 1, 256}, 1009},
        {{encodingMsAdpcm, 2, 1024}, 1012},
        // Blocks that cannot hold their own header.
        {{encodingImaAdpcm, 2, 7}, 0},
        {{encodingMsAdpcm, 2, 13}, 0},
        {{encodingMsAdpcm, 65535, 65535}, 0},
        {{encodingCAdpcm, 1, 3}, 0},
        {{encodingImaAdpcm, 0, 8}, 0},
        {{encodingMsAdpcm, 1, -7}, 0},
        {{encodingImaAdpcm, 1, 0x7FFFFFFF}, 0},
    };
    for (const auto& c : cases) {
        AudioFormat format;
        format.encoding = c.coding.encoding;
        format.channels = c.coding.channels;
        format.blockAlign = c.coding.blockAlign;
        EXPECT_EQ(CodingOf(format).framesPerBlock, c.frames) << NameOf(c.coding);
        if (c.frames == 0 && c.coding.channels > 0) {
            EXPECT_TRUE(AdpcmFile(c.coding, Noise(100)).JumpTo(0, 10, 2).empty());
        }
    }
}

TEST(Adpcm, KnownBlocks) {
    const ReferenceCoding ima{encodingImaAdpcm, 1, 8}, ms{encodingMsAdpcm, 1, 8, oddCoefficients};
    const struct {
        ReferenceCoding coding;
        Bytes block;
        std::vector<int> samples;  // the first ones
    } cases[] = {
        // Step 7, code 7: 7 x 7 / 4 + 0 is 12, where a sum of shifted steps gives 11.
        {ima, ByteWriter().Le32(0).Le32(0xF7), {0, 12, 12 - 30}},
        // A step beyond the table is the last.
        {ima, ByteWriter().Le16(0).Le16(88).Le32(0), {0, 4095}},
        {ima, ByteWriter().Le16(0).Le16(89).Le32(0), {0, 4095}},
        {ima, ByteWriter().Le16(0).Le16(0xFFFF).Le32(0), {0, 4095}},
        // A prediction of -1/256 is 0, not -1.
        {ms, ByteWriter().U8(0).Le16(16).Le16(0xFFFF).Le16(5).U8(0x01), {5, -1, 0, 16}},
    };
    for (const auto& c : cases) {
        Samples expected;
        for (const int sample : c.samples)
            expected.push_back(sample / 32768.0);
        const auto count = static_cast<int32_t>(c.samples.size());
        EXPECT_EQ(AdpcmFile(c.coding, c.block).JumpTo(0, count, 1), expected);
    }
}

TEST(Adpcm, AnUnknownPredictorSilencesItsBlockAlone) {
    const ReferenceCoding coding{encodingMsAdpcm, 2, 256};
    Bytes stream = Stream(coding, 3);
    stream[256 + 1] = 7;
    const Samples expected = ReferenceDecode(coding, stream);
    AdpcmFile file(coding, stream);
    EXPECT_EQ(file.ReadAll(100, 2), expected);
    EXPECT_EQ(file.JumpTo(300, 1, 2), Samples({0, 0}));
    EXPECT_EQ(file.JumpTo(488, 244, 2), Samples(expected.begin() + 2 * 488, expected.end()));
}

// Cut off by the end of the file, or by that of the blocks when other chunks follow.
TEST(Adpcm, APartialBlockIsNotDecoded) {
    const ReferenceCoding coding{encodingImaAdpcm, 2, 64};
    const Bytes stream = Stream(coding, 3);
    AdpcmFile cut(coding, {stream.begin(), stream.end() - 1}), followed(coding, stream);
    followed.format.blockCodedBytes = 3 * 64 - 1;
    for (AdpcmFile* file : {&cut, &followed}) {
        EXPECT_EQ(file->ReadAll(1000, 2).size(), 2u * 2 * 57);
        EXPECT_TRUE(file->JumpTo(120, 10, 2).empty());
        EXPECT_EQ(file->JumpTo(113, 10, 2).size(), 2u);
    }
    followed.format.blockCodedBytes = 3 * 64;
    EXPECT_EQ(followed.JumpTo(120, 10, 2).size(), 20u);
    followed.format.lengthFrames = 125;  // a smaller count of frames ends the stream too
    EXPECT_EQ(followed.JumpTo(120, 10, 2).size(), 10u);
    EXPECT_EQ(followed.ReadAll(1000, 2).size(), 250u);
}

TEST(Adpcm, EightFramesOffReadsOnNineSeeks) {
    const ReferenceCoding coding{encodingMsAdpcm, 1, 512};
    const Bytes stream = Stream(coding, 4);
    const Samples all = ReferenceDecode(coding, stream);
    for (const int64_t offset : {-9, -8, 0, 8, 9}) {
        AdpcmFile file(coding, stream);
        (void)file.ReadAt(500, 700, 1);
        const int64_t from = std::abs(offset) <= 8 ? 1200 : 1200 + offset;
        const auto expected = all.begin() + from;
        EXPECT_EQ(file.ReadAt(1200 + offset, 50, 1), Samples(expected, expected + 50)) << offset;
    }
}

// A record that is parsed anew may change its coding under the same context.
TEST(Adpcm, AContextFollowsItsFormat) {
    const ReferenceCoding coding{encodingImaAdpcm, 1, 64};
    const Bytes stream = Stream(coding, 5);
    AdpcmFile file(coding, stream);
    (void)file.ReadAt(0, 100, 1);
    file.format.blockAlign = 32;
    const Samples narrow = ReferenceDecode({encodingImaAdpcm, 1, 32}, stream);
    EXPECT_EQ(file.ReadAt(100, 50, 1), Samples(narrow.begin() + 100, narrow.begin() + 150));
    Describe(file.format, {encodingUlaw, 8, 1}, 320);
    EXPECT_EQ(file.ReadAt(0, 1000, 1).size(), 320u);
    EXPECT_EQ(file.context->decoder, nullptr);
}

}  // namespace
}  // namespace vantor::test
