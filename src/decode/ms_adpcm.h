// Microsoft ADPCM blocks.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "decode/adpcm.h"

namespace vantor {

inline constexpr std::array<int16_t, 14> standardMsCoefficients = {256, 0,   512, -256, 0,    0,   192,
                                                                   64,  240, 0,   460,  -208, 392, -232};

inline constexpr std::array<int32_t, 16> msAdaptation = {230, 230, 230, 230, 307, 409, 512, 614,
                                                         768, 614, 512, 409, 307, 230, 230, 230};
inline constexpr int32_t minMsDelta = 16;
// Far beyond any sample; keeps a hostile block, which can triple delta with every code, inside 32 bits.
inline constexpr int32_t maxMsDelta = 0x7FFFFFFF / 768;

// Header, one field after the other, each for all channels in turn:
//   1  predictor, 0..6: a pair of coefficients
//   2  delta, signed
//   2  second sample, signed (sample1: the later one)
//   2  first sample, signed (sample2)
[[nodiscard]] bool DecodeMsHeader(const AdpcmCoding& coding, const uint8_t* block, AdpcmChannel* channels,
                                  int16_t* frames);

// `count` rounds, of one byte a channel, of every run. The 4-bit codes of the channels follow one another
// frame by frame, the high nibble of a byte first.
void DecodeMsRounds(int32_t channelCount, std::span<const AdpcmRun> runs, int64_t count);

// How many stereo runs take this processor hardly longer than one: up to maxRunsTogether.
[[nodiscard]] size_t MsStereoRunsTogether();
// Decodes the runs, up to maxRunsTogether, side by side; a frame is a byte of codes. False, and nothing is
// done, where this processor cannot.
[[nodiscard]] bool DecodeMsStereoSideBySide(std::span<const AdpcmRun> runs, int64_t frameCount);

}  // namespace vantor
