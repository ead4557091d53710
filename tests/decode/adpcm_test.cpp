#include "decode/adpcm.h"

#include <gtest/gtest.h>

#include <new>
#include <optional>

#include "decode/deliver_frames.h"
#include "tests/decode/plain_adpcm.h"
#include "tests/support/failing_allocation.h"

namespace vantor::test {
namespace {

struct AdpcmCoded {
    int32_t encoding, channels, blockAlign;
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

constexpr Coefficients standardCoefficients = {256, 0,   512, -256, 0,    0,   192,
                                               64,  240, 0,   460,  -208, 392, -232};

Samples Plain(const AdpcmCoded& c, const Bytes& stream) {
    const auto channels = static_cast<size_t>(c.channels), blockBytes = static_cast<size_t>(c.blockAlign);
    if (c.encoding == encodingMsAdpcm)
        return PlainMs(stream, channels, blockBytes, c.coefficients.value_or(standardCoefficients));
    return PlainIma(stream, channels, blockBytes, c.encoding == encodingCAdpcm ? 2 : 4);
}

TEST(Adpcm, EveryBlockSizeAndEveryStartGivesTheSameSamples) {
    const AdpcmCoded codings[] = {
        {encodingImaAdpcm, 1, 1024}, {encodingImaAdpcm, 2, 2048},
        {encodingImaAdpcm, 3, 300},  {encodingImaAdpcm, 6, 240},
        {encodingImaAdpcm, 1, 7},     // a last group of three bytes
        {encodingImaAdpcm, 2, 8},     // a header alone
        {encodingImaAdpcm, 2, 1030},  // a last round that one channel lacks bytes for
        {encodingCAdpcm, 1, 256},    {encodingCAdpcm, 2, 129},
        {encodingCAdpcm, 4, 64},     {encodingMsAdpcm, 1, 512},
        {encodingMsAdpcm, 2, 1024},  {encodingMsAdpcm, 3, 333},
        {encodingMsAdpcm, 5, 333},   {encodingMsAdpcm, 1, 7},
        {encodingMsAdpcm, 2, 1025},  {encodingMsAdpcm, 2, 256, oddCoefficients},
    };
    for (const auto& coding : codings) {
        const int32_t channels = coding.channels;
        const Bytes stream = NoiseBlocks(coding, std::max(3, 20000 / coding.blockAlign));
        AdpcmFile file(coding, stream);
        const Samples all = file.ReadAll(100000, channels);
        EXPECT_EQ(all, Plain(coding, stream)) << &coding - codings;
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
    const AdpcmCoded ima{encodingImaAdpcm, 1, 8}, ms{encodingMsAdpcm, 1, 8, oddCoefficients};
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
    followed.format.blockCodedBytes = 64;
    followed.format.lengthCutWhileGrowing = true;  // the file has grown beyond what was told
    EXPECT_EQ(followed.JumpTo(120, 10, 2).size(), 20u);
}

TEST(Adpcm, BlocksOfNoMeaningHoldNoFrames) {
    const struct {
        int32_t encoding, channels, blockAlign, framesPerBlock;
    } cases[] = {
        {encodingImaAdpcm, 1, 4, 1},
        {encodingImaAdpcm, 1, 3, 0},
        {encodingImaAdpcm, 1, -4, 0},
        {encodingImaAdpcm, 0, 512, 0},
        {encodingImaAdpcm, 1, 1 << 20, (1 << 21) - 7},
        {encodingImaAdpcm, 1, (1 << 20) + 1, 0},
        {encodingUlaw, 1, 512, 0},
    };
    for (const auto& c : cases) {
        AudioFormat format;
        Describe(format, {c.encoding, 4, c.channels, c.blockAlign}, 1000);
        EXPECT_EQ(CodingOf(format).framesPerBlock, c.framesPerBlock) << &c - cases;
    }
}

// A jump that finds no memory leaves nothing of the block in front of it.
TEST(Adpcm, AJumpWithoutMemoryIsMadeAgain) {
    const AdpcmCoded coding{encodingImaAdpcm, 1, 9000};  // longer than what the reader has staged
    const Bytes stream = NoiseBlocks(coding, 3);
    const int64_t second = 1 + (9000 - 4) * 2;
    const Samples wanted = AdpcmFile(coding, stream).JumpTo(second, 50, 1);
    bool hasFailed = true;
    for (int allowed = 0; hasFailed; ++allowed) {
        AdpcmFile file(coding, stream);
        (void)file.ReadAt(0, 100, 1);
        ReleaseMemory(*file.context);
        EXPECT_EQ(file.context->storedBytes.capacity(), 0u);
        {
            const FailingAllocation failing(allowed);
            try {
                (void)file.ReadAt(second, 50, 1);
            } catch (const std::bad_alloc&) {
            }
            hasFailed = failing.HasFailed();
        }
        EXPECT_EQ(file.ReadAt(second, 50, 1), wanted) << allowed;
    }
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
