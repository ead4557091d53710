// The three block codings of 16-bit samples: Microsoft ADPCM and IMA ADPCM (both as in Microsoft's "New
// Multimedia Data Types and Data Techniques", 1994) and cADPCM, a form of IMA ADPCM with two bits a sample.
// A round is for IMA ADPCM a 4-byte group a channel (8 frames), for cADPCM the same (16 frames), for
// Microsoft ADPCM one byte a channel (2 frames).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vantor {

struct AudioFormat;

inline constexpr int32_t maxAdpcmBlockBytes = 1 << 20;  // the field of a `fmt ` chunk holds 65,535

// The sizes of a coding. framesPerBlock is 0 when a block cannot hold its own header.
struct AdpcmCoding {
    int32_t encoding = 0;
    int32_t channels = 0;
    int32_t blockAlign = 0;
    int32_t bitsPerSample = 0;
    int32_t framesPerBlock = 0;
    int32_t headerBytes = 0;
    int32_t headerFrames = 0;
    int32_t roundBytes = 0;
    int32_t roundFrames = 0;
    std::array<int16_t, 14> coefficients{};  // Microsoft ADPCM: seven pairs

    bool operator==(const AdpcmCoding&) const = default;
};

[[nodiscard]] AdpcmCoding CodingOf(const AudioFormat& format);

// What one channel carries from a frame to the next.
struct AdpcmChannel {
    int32_t sample1 = 0;  // the last sample
    int32_t sample2 = 0;  // Microsoft ADPCM: the one before
    int32_t delta = 0;    // Microsoft ADPCM
    int32_t coefficient1 = 0;
    int32_t coefficient2 = 0;
    uint32_t row = 0;  // IMA: place in the table of steps
};

// Reads a block's header into `channels` and writes the header's frames. False when the block names a
// predictor that does not exist.
[[nodiscard]] bool DecodeHeader(const AdpcmCoding& coding, const uint8_t* block, AdpcmChannel* channels,
                                int16_t* frames);

// Rounds of one block and where they go.
struct AdpcmRun {
    const uint8_t* codes;
    AdpcmChannel* channels;
    int16_t* frames;  // interleaved
};
inline constexpr size_t maxRunsTogether = 4;
// How many blocks of the coding are decoded in hardly more time than one: up to maxRunsTogether.
[[nodiscard]] size_t BlocksTogether(const AdpcmCoding& coding);
// Decodes `count` rounds of each of up to maxRunsTogether blocks.
void DecodeRounds(const AdpcmCoding& coding, std::span<const AdpcmRun> runs, int64_t count);

}  // namespace vantor
