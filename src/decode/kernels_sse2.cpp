#include <cstdint>

#include "decode/kernels.h"

#if defined(__x86_64__)

#include <emmintrin.h>

#include "decode/exact_denormals.h"

namespace vantor {

namespace {

__m128i Load128(const uint8_t* stored) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(stored));
}
// Exchanges the two bytes of each 16-bit word.
__m128i Swap16(__m128i words) {
    return _mm_or_si128(_mm_slli_epi16(words, 8), _mm_srli_epi16(words, 8));
}
__m128i Swap32(__m128i words) {
    return _mm_or_si128(_mm_slli_epi32(Swap16(words), 16), _mm_srli_epi32(Swap16(words), 16));
}

void StoreFour(__m128i words, __m128d scale, double* samples) {
    _mm_storeu_pd(samples, _mm_mul_pd(_mm_cvtepi32_pd(words), scale));
    _mm_storeu_pd(samples + 2, _mm_mul_pd(_mm_cvtepi32_pd(_mm_unpackhi_epi64(words, words)), scale));
}
// Eight 16-bit words, each taken as the upper half of a 32-bit one: the scale is then that of 32 bits.
void StoreEight(__m128i words, __m128d scale, double* samples) {
    const __m128i zero = _mm_setzero_si128();
    StoreFour(_mm_unpacklo_epi16(zero, words), scale, samples);
    StoreFour(_mm_unpackhi_epi16(zero, words), scale, samples + 4);
}

// `flip` turns offset binary into two's complement.
template <StoredForm form, int flip>
void ConvertBytes(const uint8_t* stored, double* samples, int64_t count) {
    const __m128d scale = _mm_set1_pd(scale32);
    const __m128i zero = _mm_setzero_si128();
    int64_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m128i bytes = _mm_xor_si128(Load128(stored + i), _mm_set1_epi8(static_cast<char>(flip)));
        StoreEight(_mm_unpacklo_epi8(zero, bytes), scale, samples + i);
        StoreEight(_mm_unpackhi_epi8(zero, bytes), scale, samples + i + 8);
    }
    PlainKernels()[form](stored + i, samples + i, count - i);
}

template <StoredForm form>
void Convert16(const uint8_t* stored, double* samples, int64_t count) {
    const __m128d scale = _mm_set1_pd(scale32);
    int64_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m128i words = Load128(stored + 2 * i);
        StoreEight(form == StoredForm::signed16Big ? Swap16(words) : words, scale, samples + i);
    }
    PlainKernels()[form](stored + 2 * i, samples + i, count - i);
}

template <StoredForm form>
void Convert32(const uint8_t* stored, double* samples, int64_t count) {
    const __m128d scale = _mm_set1_pd(scale32);
    int64_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m128i words = Load128(stored + 4 * i);
        StoreFour(form == StoredForm::signed32Big ? Swap32(words) : words, scale, samples + i);
    }
    PlainKernels()[form](stored + 4 * i, samples + i, count - i);
}

template <StoredForm form>
[[gnu::noinline]] void ConvertFloat32(const uint8_t* stored, double* samples, int64_t count) {
    int64_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m128i words = Load128(stored + 4 * i);
        const __m128 singles = _mm_castsi128_ps(form == StoredForm::float32Big ? Swap32(words) : words);
        _mm_storeu_pd(samples + i, _mm_cvtps_pd(singles));
        _mm_storeu_pd(samples + i + 2, _mm_cvtps_pd(_mm_movehl_ps(singles, singles)));
    }
    PlainKernels()[form](stored + 4 * i, samples + i, count - i);
}

// Without a byte shuffle, 24-bit samples and 64-bit reversal gain nothing over the plain kernels.
KernelTable MakeTable() {
    KernelTable table = PlainKernels();
    table[StoredForm::unsigned8] = ConvertBytes<StoredForm::unsigned8, -128>;
    table[StoredForm::signed8] = ConvertBytes<StoredForm::signed8, 0>;
    table[StoredForm::signed16Little] = Convert16<StoredForm::signed16Little>;
    table[StoredForm::signed16Big] = Convert16<StoredForm::signed16Big>;
    table[StoredForm::signed32Little] = Convert32<StoredForm::signed32Little>;
    table[StoredForm::signed32Big] = Convert32<StoredForm::signed32Big>;
    table[StoredForm::float32Little] = WithExactDenormals<ConvertFloat32<StoredForm::float32Little>>;
    table[StoredForm::float32Big] = WithExactDenormals<ConvertFloat32<StoredForm::float32Big>>;
    return table;
}

}  // namespace

const KernelTable& Sse2Kernels() {
    static const KernelTable table = MakeTable();
    return table;
}

}  // namespace vantor

#else

const vantor::KernelTable& vantor::Sse2Kernels() {
    return PlainKernels();
}

#endif
