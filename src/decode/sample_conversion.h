// Stored samples to 64-bit floats: one kernel a stored format, chosen once.
#pragma once

#include <cstdint>

namespace vantor {

struct AudioFormat;

// Converts `count` consecutive stored samples.
using ConvertSamples = void (*)(const uint8_t* stored, double* samples, int64_t count);

enum class InstructionSet { plain, sse2, avx2 };
// The best set that this processor has.
[[nodiscard]] InstructionSet BestInstructionSet();

// The kernel for a format's encoding, bits, byte order and (8-bit) container; null when it is not a PCM-like
// format. Every instruction set gives the same bits.
[[nodiscard]] ConvertSamples ConverterFor(const AudioFormat& format,
                                          InstructionSet set = BestInstructionSet());

}  // namespace vantor
