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
inline constexpr uint8_t headFill = 0x55;

// Repeatable noise: every byte value comes.
inline Bytes Noise(size_t count, uint32_t seed = 1) {
    Bytes bytes(count);
    for (auto& byte : bytes) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(seed >> 24);
    }
    return bytes;
}

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
    std::string path;

  private:
    TempFolder folder_;
};

}  // namespace vantor::test
