// Stored samples to 64-bit floats: one kernel a stored format, chosen once. Integers become value / full
// scale without dither or clipping; floats are taken as they are, denormals too, whatever mode the calling
// thread has set the processor to.
#pragma once

#include <cstdint>

namespace vantor {

struct AudioFormat;

// Converts `count` consecutive stored samples, at any address, and reads no byte beyond them.
using ConvertSamples = void (*)(const uint8_t* stored, double* samples, int64_t count);

enum class InstructionSet { plain, sse2, avx2 };
// The best set that this processor has.
[[nodiscard]] InstructionSet BestInstructionSet();

// The fields of a format that decide how its samples are stored.
struct StoredCoding {
    int32_t encoding = 0;
    int32_t bitsPerSample = 0;
    int32_t fileKind = 0;
    bool bigEndian = false;

    bool operator==(const StoredCoding&) const = default;
};
[[nodiscard]] StoredCoding StoredCodingOf(const AudioFormat& format);

// True when the stored bytes are the samples, in this processor's byte order.
[[nodiscard]] bool NeedsNoConversion(const StoredCoding& coding);

// The kernel for a coding; null when it is not a PCM-like one. Every instruction set gives the same bits.
[[nodiscard]] ConvertSamples ConverterFor(const StoredCoding& coding,
                                          InstructionSet set = BestInstructionSet());

}  // namespace vantor
