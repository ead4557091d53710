// A file of stored samples behind a reader context, and requests to it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "decode/reader_context.h"
#include "formats/audio_format.h"
#include "tests/support/byte_writer.h"
#include "tests/support/temp_file.h"

namespace vantor::test {

using Samples = std::vector<double>;

inline constexpr int64_t headBytes = 44;  // of something else, in front of the audio

// Repeatable noise: every byte value comes.
Bytes Noise(size_t count, uint32_t seed = 1);

// 16-bit frames whose first channel counts up from 0 and whose others lie 1000 apart.
Bytes ChannelRamp(int32_t frames, int32_t channels);
double RampValue(int32_t frame, int32_t channel = 0);

// `count` frames from `first` on, or as many as there are.
Samples FramesOf(const Samples& all, int64_t first, int64_t count, int32_t channels);

// The record of a file whose audio begins after headBytes.
struct Coding {
    int32_t encoding = encodingInteger;
    int32_t bits = 16;
    int32_t channels = 2;
    int32_t blockAlign = 0;  // 0: without gaps
    bool bigEndian = false;
    int32_t fileKind = kindWave;
};

void Describe(AudioFormat& format, const Coding& coding, int64_t frames);

class PlayedFile {
  public:
    // `audio` stands between the head and nothing, or `tail`.
    PlayedFile(const Coding& coding, const Bytes& audio, int64_t frames, const Bytes& tail = {});

    // One request at a rate (the file's when 0) into a buffer that the sanitizer watches.
    Samples Read(double startSeconds, int32_t frames, int32_t channels, double rate = 0);
    // The same from a frame.
    Samples ReadAt(int64_t frame, int32_t frames, int32_t channels) {
        return Read(static_cast<double>(frame) / format.sampleRate, frames, channels);
    }
    // The whole file by consecutive requests.
    Samples ReadAll(int32_t blockFrames, int32_t channels);

    AudioFormat format;
    std::unique_ptr<ReaderContext> context;
    ReadScope scope;
    double absoluteSeconds = 0;

  private:
    TempFolder folder_;
};

}  // namespace vantor::test
