#include "tests/decode/decode_support.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vantor::test {

Bytes Noise(size_t count, uint32_t seed) {
    Bytes bytes(count);
    for (auto& byte : bytes) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(seed >> 24);
    }
    return bytes;
}

Bytes ChannelRamp(int32_t frames, int32_t channels) {
    ByteWriter bytes;
    for (int32_t frame = 0; frame < frames; ++frame)
        for (int32_t channel = 0; channel < channels; ++channel)
            bytes.Le16(static_cast<uint16_t>(frame + 1000 * channel));
    return bytes;
}

double RampValue(int32_t frame, int32_t channel) {
    return (frame + 1000 * channel) / 32768.0;
}

Samples FramesOf(const Samples& all, int64_t first, int64_t count, int32_t channels) {
    const int64_t end = std::min<int64_t>((first + count) * channels, std::ssize(all));
    return {all.begin() + first * channels, all.begin() + end};
}

void Describe(AudioFormat& format, const Coding& coding, int64_t frames) {
    format.encoding = coding.encoding;
    format.bitsPerSample = coding.bits;
    format.channels = coding.channels;
    format.bigEndian = coding.bigEndian;
    format.fileKind = coding.fileKind;
    format.blockAlign = coding.blockAlign ? coding.blockAlign : coding.channels * WholeBytes(coding.bits);
    format.sampleRate = 48000;
    format.dataStart = headBytes;
    format.lengthFrames = frames;
}

PlayedFile::PlayedFile(const Coding& coding, const Bytes& audio, int64_t frames, const Bytes& tail) {
    Describe(format, coding, frames);
    const auto path = folder_.Write("audio", ByteWriter().Fill(headBytes, 0x55).Add(audio).Add(tail));
    context = std::make_unique<ReaderContext>(std::make_unique<FileReader>(path, ReadParameters{0, 8192, 1}));
    scope.source = this;
}

Samples PlayedFile::Read(double startSeconds, int32_t frames, int32_t channels, double rate) {
    Samples samples(static_cast<size_t>(frames) * static_cast<size_t>(channels), 99.0);
    TransferBlock block{};
    block.startSeconds = startSeconds;
    block.sampleRate = rate == 0 ? format.sampleRate : rate;
    block.channels = channels;
    block.frames = frames;
    block.samples = samples.data();
    block.absoluteSeconds = absoluteSeconds;
    ReadFrames(block, *context, format, scope);
    EXPECT_LE(block.framesProduced, frames);
    const auto unused = samples.begin() + static_cast<ptrdiff_t>(block.framesProduced) * channels;
    const bool isResampled = block.sampleRate != format.sampleRate;  // by what may write where it likes
    EXPECT_TRUE(isResampled || std::all_of(unused, samples.end(), [](double s) { return s == 99.0; }));
    samples.erase(unused, samples.end());
    return samples;
}

Samples PlayedFile::ReadAll(int32_t blockFrames, int32_t channels) {
    Samples all;
    for (int64_t frame = 0;;) {
        const Samples block = ReadAt(frame, blockFrames, channels);
        if (block.empty()) return all;
        all.insert(all.end(), block.begin(), block.end());
        frame += static_cast<int64_t>(block.size()) / channels;
    }
}

}  // namespace vantor::test
