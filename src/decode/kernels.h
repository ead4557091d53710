// The conversion kernels behind ConverterFor: one table an instruction set, one entry a stored form. All
// tables give the same bits.
#pragma once

#include <array>
#include <cstddef>

#include "decode/sample_conversion.h"

namespace vantor {

// How one sample lies in the file.
enum class StoredForm {
    unsigned8,
    signed8,
    signed16Little,
    signed16Big,
    signed24Little,
    signed24Big,
    signed32Little,
    signed32Big,
    float32Little,
    float32Big,
    float64Little,
    float64Big,
    ulaw,
};
inline constexpr size_t storedForms = 13;

class KernelTable {
  public:
    [[nodiscard]] constexpr ConvertSamples& operator[](StoredForm form) {
        return kernels_[static_cast<size_t>(form)];
    }
    [[nodiscard]] constexpr ConvertSamples operator[](StoredForm form) const {
        return kernels_[static_cast<size_t>(form)];
    }

  private:
    std::array<ConvertSamples, storedForms> kernels_{};
};

// Values of the least significant bit: full scale is 1.0.
inline constexpr double scale8 = 1.0 / 128;
inline constexpr double scale16 = 1.0 / 32768;
inline constexpr double scale24 = 1.0 / 8388608;
inline constexpr double scale32 = 1.0 / 2147483648.0;

const KernelTable& PlainKernels();
// Where the processor family has no such set, the plain ones.
const KernelTable& Sse2Kernels();
const KernelTable& Avx2Kernels();

}  // namespace vantor
