#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/host_services.h"
#include "tests/decode/decode_support.h"

namespace vantor::test {
namespace {

TEST(ReadFrames, BlocksOfAnySizeGiveTheSameSamples) {
    constexpr Coding codings[] = {
        {encodingInteger, 8, 2, 0, true, kindIff},
        {encodingInteger, 16, 3, 0, true, kindIff},
        {encodingInteger, 24, 1, 0, true, kindCaf},
        {encodingFloat, 32, 2},
        {encodingFloat, 64, 2},
        {encodingUlaw, 8, 2},
        {encodingInteger, 24, 2, 8},  // two bytes between the frames
        {encodingFloat, 64, 2, 24},
        {encodingFloat, 64, 1, 0, true, kindIff},
        {encodingInteger, 16, 1, 7},
        {encodingInteger, 20, 2, 5},  // an alignment that a frame does not fit: frames lie side by side
    };
    constexpr int32_t frames = 20011;
    for (const Coding& coding : codings) {
        const int32_t frameBytes = coding.channels * WholeBytes(coding.bits);
        const int32_t stride = std::max(frameBytes, coding.blockAlign);
        Bytes audio = Noise(static_cast<size_t>(frames) * static_cast<size_t>(stride));
        if (coding.encoding == encodingFloat)  // NaNs never compare equal: keep the exponents small
            for (uint8_t& byte : audio)
                byte &= 0x3F;
        PlayedFile file(coding, audio, frames, Bytes(100, 0xAA));
        Samples expected(static_cast<size_t>(frames * coding.channels));
        const ConvertSamples convert = ConverterFor(StoredCodingOf(file.format), InstructionSet::plain);
        for (int32_t i = 0; i < frames; ++i)
            convert(audio.data() + i * stride, expected.data() + i * coding.channels, coding.channels);
        for (const int32_t block : {7, 512})
            EXPECT_EQ(file.ReadAll(block, coding.channels), expected)
                << coding.bits << " bits, alignment " << coding.blockAlign << ", block " << block;
        EXPECT_EQ(file.ReadAt(0, 100000, coding.channels), expected) << coding.bits << " bits at once";
        EXPECT_EQ(file.ReadAt(12345, 1, coding.channels), FramesOf(expected, 12345, 1, coding.channels));
    }
}

TEST(ReadFrames, ChannelsAreFitted) {
    constexpr int32_t none = -1;
    // The file's channels; for each output channel, the one that feeds it.
    const std::pair<int32_t, std::vector<int32_t>> cases[] = {
        {1, {0, 0}}, {1, {0, 0, none}}, {1, {0, 0, none, none}}, {2, {0}}, {2, {0, 1, none}},
        {6, {0}},    {6, {0, 1}},       {6, {0, 1, 2}},
    };
    for (const auto& [fileChannels, fedBy] : cases) {
        const auto wanted = static_cast<int32_t>(fedBy.size());
        PlayedFile file({encodingInteger, 16, fileChannels}, ChannelRamp(5000, fileChannels), 5000);
        Samples expected;
        for (int32_t frame = 0; frame < 5000; ++frame)
            for (const int32_t channel : fedBy)
                expected.push_back(channel == none ? 0.0 : RampValue(frame, channel));
        EXPECT_EQ(file.ReadAll(999, wanted), expected) << fileChannels << " to " << wanted;
        EXPECT_EQ(file.ReadAt(0, 100000, wanted), expected) << fileChannels << " to " << wanted;
    }
}

// A start within eight frames of the expected one, by the same source, reads on; any other seeks.
TEST(ReadFrames, ContinuesWhatItNearlyMeets) {
    const int sources[2] = {};
    const struct {
        int32_t offset;
        double absoluteSeconds;
        int source;
        bool continues;
    } cases[] = {{-9, 0, 0, false}, {-8, 0, 0, true}, {0, 0, 0, true},
                 {8, 0, 0, true},   {9, 0, 0, false}, {3, notContinuation, 0, false},
                 {3, 0, 1, false}};
    const Bytes noise = Noise(4 * 512, 7);
    for (const bool isAdpcm : {false, true})
        for (const auto& c : cases) {
            PlayedFile file(isAdpcm ? Coding{encodingImaAdpcm, 4, 1, 512} : Coding{encodingInteger, 16, 1},
                            noise, 1000);
            const Samples all = file.ReadAll(1000, 1);
            file.scope.source = &sources[0];
            (void)file.ReadAt(100, 100, 1);
            file.scope.source = &sources[c.source];
            file.absoluteSeconds = c.absoluteSeconds;
            const int32_t first = c.continues ? 200 : 200 + c.offset;
            EXPECT_EQ(file.ReadAt(200 + c.offset, 50, 1), FramesOf(all, first, 50, 1)) << &c - cases;
            // What follows is continuous with what was delivered.
            file.absoluteSeconds = 0;
            EXPECT_EQ(file.ReadAt(first + 51, 5, 1), FramesOf(all, first + 50, 5, 1)) << &c - cases;
        }
}

// Other chunks follow; or the header promises more than the file holds and the last frame is cut in two.
TEST(ReadFrames, EndsWithTheWholeFramesOfTheData) {
    Bytes audio = ChannelRamp(1000, 2);
    PlayedFile followed({}, audio, 1000, Bytes(4000, 0xAA));
    audio.erase(audio.end() - 3, audio.end());
    PlayedFile cut({}, audio, 5000);
    EXPECT_EQ(followed.ReadAt(990, 100, 2).size(), 20u);
    EXPECT_TRUE(followed.ReadAt(1000, 100, 2).empty());
    EXPECT_EQ(followed.ReadAt(0, 1, 2)[0], 0.0);
    PlayedFile doubles({encodingFloat, 64, 2}, Bytes(16 * 1000 - 3), 5000);
    for (const int32_t block : {1, 512, 100000})
        for (PlayedFile* file : {&cut, &doubles})
            EXPECT_EQ(file->ReadAll(block, 2).size(), 2u * 999) << block;
    // Frames so far apart that what lies between them is not read.
    Bytes sparse(3 * 130000 - 1);
    for (uint8_t frame = 0; frame < 3; ++frame)
        sparse[130000u * frame] = static_cast<uint8_t>(frame + 1);
    for (const int32_t block : {1, 100})
        EXPECT_EQ(PlayedFile({encodingInteger, 16, 1, 130000}, sparse, 5000).ReadAll(block, 1),
                  Samples({1 / 32768.0, 2 / 32768.0}));
}

TEST(ReadFrames, RequestsThatCannotBeServed) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    PlayedFile file({}, ChannelRamp(1000, 2), 1000);
    for (const double start : {std::nan(""), inf, -inf, 1e300, 1e15, 9.3e18 / 48000})
        EXPECT_TRUE(file.Read(start, 8, 2).empty()) << start;
    for (const double rate : {std::nan(""), inf, -1.0})
        EXPECT_TRUE(file.Read(0, 8, 2, rate).empty());
    file.absoluteSeconds = notContinuation;
    for (const double start : {-1e-9, -0.001, -1e300})
        EXPECT_EQ(file.Read(start, 1, 2)[0], 0.0) << start;
    double sample = 99;
    for (TransferBlock block :
         {TransferBlock{0, 48000, 0, 1, &sample, 7, 0, 0}, TransferBlock{0, 48000, -1, 1, &sample, 7, 0, 0},
          TransferBlock{0, 48000, 1, 0, &sample, 7, 0, 0}, TransferBlock{0, 48000, 1, 1, nullptr, 7, 0, 0}}) {
        ReadFrames(block, *file.context, file.format, file.scope);
        EXPECT_EQ(block.framesProduced, 0);
    }
    file.format.sampleRate = inf;
    EXPECT_TRUE(file.Read(0, 16, 2, 48000).empty());
    file.format.sampleRate = 0;
    EXPECT_TRUE(file.Read(0, 16, 2).empty());
}

TEST(ReadFrames, RecordsThatMakeNoSense) {
    const Coding codings[] = {
        {encodingInteger, 16, 0},
        {encodingInteger, 64, 2},
        {encodingInteger, 0, 2},
        {encodingInteger, 16, 65535, 131070},
        {encodingFloat, 64, 65535, 8},
        {encodingInteger, 16, 2, 0x7FFFFFFF},
        // Blocks that cannot hold their own header.
        {encodingImaAdpcm, 4, 2, 7},
        {encodingMsAdpcm, 4, 2, 13},
        {encodingCAdpcm, 2, 1, 3},
        {encodingMsAdpcm, 4, 65535, 65535},
        {encodingMsAdpcm, 4, 1, -7},
        {encodingImaAdpcm, 4, 1, 0x7FFFFFFF},
        {encodingImaAdpcm, 0, 1, 64},
    };
    for (const Coding& coding : codings)
        for (const double start : {0, 1})
            EXPECT_TRUE(PlayedFile(coding, Noise(1000), 1 << 30).Read(start, 16, 2).empty())
                << &coding - codings;
}

TEST(ReadFrames, ASliceBeginsAtItsStart) {
    PlayedFile file({}, ChannelRamp(4000, 2), 4000);
    file.format.slicePoints = {0, 1500, 3000};
    file.scope.sliceIndex = 1;
    EXPECT_EQ(file.ReadAt(10, 1, 2)[0], RampValue(1510));
    EXPECT_EQ(file.ReadAt(11, 1, 2)[0], RampValue(1511));
    file.scope.sliceIndex = 3;
    EXPECT_EQ(file.ReadAt(10, 1, 2)[0], RampValue(10));
    file.format.slicePoints = {std::numeric_limits<int64_t>::max()};
    file.scope.sliceIndex = 0;
    EXPECT_TRUE(file.ReadAt(10, 1, 2).empty());
}

TEST(ReadFrames, AGrowingFileIsMeasuredAnew) {
    PlayedFile file({}, ChannelRamp(1000, 2), 10);
    EXPECT_EQ(FramesPresent(file.format, headBytes + 4001), 1000);
    EXPECT_EQ(FramesPresent(file.format, 3), 0);
    EXPECT_EQ(FramesPresent(PlayedFile({encodingUlaw, 8, 1}, {}, 10).format, headBytes + 4001), 4001);
    file.format.lengthCutWhileGrowing = true;
    EXPECT_EQ(file.ReadAt(0, 2000, 2).size(), 2000u);
    EXPECT_EQ(file.format.lengthFrames, 1000);
}

TEST(ReadFrames, TellsTheHostWhatItRead) {
    static int64_t counted;
    counted = 0;
    Services().updateDiskCounters = [](int32_t read, int32_t) {
        EXPECT_GT(read, 0);
        counted += read;
    };
    PlayedFile file({}, ChannelRamp(1000, 2), 1000);
    (void)file.ReadAt(500, 1000, 1);
    EXPECT_EQ(counted, 2000);
    (void)file.ReadAt(3000, 10, 2);
    EXPECT_EQ(counted, 2000);
    PlayedFile doubles({encodingFloat, 64, 2}, Bytes(16000), 1000);
    (void)doubles.ReadAt(500, 1000, 2);
    EXPECT_EQ(counted, 2000 + 8000);
    PlayedFile adpcm({encodingImaAdpcm, 4, 1, 64}, Bytes(640), 121);
    for (const int64_t start : {121, 240})
        (void)adpcm.ReadAt(start, 10, 1);
    EXPECT_EQ(counted, 2000 + 8000);
    Services().updateDiskCounters = nullptr;
}

}  // namespace
}  // namespace vantor::test
