// The least 32-bit floats, on any thread. x86-64 only.
#pragma once

#if defined(__x86_64__)

#include <xmmintrin.h>

#include "decode/sample_conversion.h"

namespace vantor {

// Audio threads have the processor take denormal numbers for zero; what a file holds is exact on them too.
// `kernel` is not to be inlined: to the compiler the mode and the arithmetic are strangers.
template <ConvertSamples kernel>
void WithExactDenormals(const uint8_t* stored, double* samples, int64_t count) {
    constexpr uint32_t denormalsAreZero = 0x40;
    const uint32_t mode = _mm_getcsr();
    if (!(mode & denormalsAreZero)) return kernel(stored, samples, count);
    _mm_setcsr(mode & ~denormalsAreZero);
    kernel(stored, samples, count);
    _mm_setcsr(mode);
}

}  // namespace vantor

#endif
