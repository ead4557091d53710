// IMA ADPCM and cADPCM blocks.
#pragma once

#include <cstdint>
#include <span>

#include "decode/adpcm.h"

namespace vantor {

// Header, for each channel in turn:
//   0  2  first sample, signed
//   2  2  index into the table of steps
void DecodeImaHeader(const AdpcmCoding& coding, const uint8_t* block, AdpcmChannel* channels,
                     int16_t* frames);

// Rounds of one 4-byte group a channel: eight 4-bit codes, the low nibble of a byte first.
void DecodeImaRounds(int32_t channelCount, std::span<const AdpcmRun> runs, int64_t count);

// The same with sixteen 2-bit codes, the low bits of a byte first.
void DecodeCAdpcmRounds(int32_t channelCount, std::span<const AdpcmRun> runs, int64_t count);

}  // namespace vantor
