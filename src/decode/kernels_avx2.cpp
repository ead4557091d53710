#include "decode/kernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include "decode/exact_denormals.h"

// The set is asked for function by function, so that the rest of the module runs on any processor.
#define VANTOR_AVX2 __attribute__((target("avx2")))
#define VANTOR_AVX2_INLINE __attribute__((target("avx2"), always_inline)) static inline

namespace vantor {

namespace {

VANTOR_AVX2_INLINE __m128i Load128(const uint8_t* stored) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(stored));
}
VANTOR_AVX2_INLINE __m128i Load64(const uint8_t* stored) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(stored));
}
VANTOR_AVX2_INLINE __m256i Load256(const uint8_t* stored) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(stored));
}
VANTOR_AVX2_INLINE __m256i Swap32(__m256i words) {
    const __m128i order = _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
    return _mm256_shuffle_epi8(words, _mm256_broadcastsi128_si256(order));
}

// Each integer form loads eight samples, and no byte more, as 32-bit words; `scale` is the value of a word's
// least significant bit.
struct Unsigned8 {
    static constexpr auto form = StoredForm::unsigned8;
    static constexpr int bytes = 1;
    static constexpr double scale = scale8;
    VANTOR_AVX2_INLINE __m256i Eight(const uint8_t* stored) {
        return _mm256_cvtepi8_epi32(_mm_xor_si128(Load64(stored), _mm_set1_epi8(-128)));
    }
};

struct Signed8 {
    static constexpr auto form = StoredForm::signed8;
    static constexpr int bytes = 1;
    static constexpr double scale = scale8;
    VANTOR_AVX2_INLINE __m256i Eight(const uint8_t* stored) { return _mm256_cvtepi8_epi32(Load64(stored)); }
};

struct Signed16Little {
    static constexpr auto form = StoredForm::signed16Little;
    static constexpr int bytes = 2;
    static constexpr double scale = scale16;
    VANTOR_AVX2_INLINE __m256i Eight(const uint8_t* stored) { return _mm256_cvtepi16_epi32(Load128(stored)); }
};

struct Signed16Big {
    static constexpr auto form = StoredForm::signed16Big;
    static constexpr int bytes = 2;
    static constexpr double scale = scale16;
    VANTOR_AVX2_INLINE __m256i Eight(const uint8_t* stored) {
        const __m128i order = _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
        return _mm256_cvtepi16_epi32(_mm_shuffle_epi8(Load128(stored), order));
    }
};

// Samples 0 to 3 from bytes 0 to 15, samples 4 to 7 from bytes 8 to 23, each into the upper end of a word.
VANTOR_AVX2_INLINE __m256i Spread24(const uint8_t* stored, __m256i order) {
    const __m256i both =
        _mm256_inserti128_si256(_mm256_castsi128_si256(Load128(stored)), Load128(stored + 8), 1);
    return _mm256_shuffle_epi8(both, order);
}

struct Signed24Little {
    static constexpr auto form = StoredForm::signed24Little;
    static constexpr int bytes = 3;
    static constexpr double scale = scale32;
    VANTOR_AVX2_INLINE __m256i Eight(const uint8_t* stored) {
        return Spread24(stored, _mm256_setr_epi8(-1, 0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11,  //
                                                 -1, 4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15));
    }
};

struct Signed24Big {
    static constexpr auto form = StoredForm::signed24Big;
    static constexpr int bytes = 3;
    static constexpr double scale = scale32;
    VANTOR_AVX2_INLINE __m256i Eight(const uint8_t* stored) {
        return Spread24(stored, _mm256_setr_epi8(-1, 2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9,  //
                                                 -1, 6, 5, 4, -1, 9, 8, 7, -1, 12, 11, 10, -1, 15, 14, 13));
    }
};

struct Signed32Little {
    static constexpr auto form = StoredForm::signed32Little;
    static constexpr int bytes = 4;
    static constexpr double scale = scale32;
    VANTOR_AVX2_INLINE __m256i Eight(const uint8_t* stored) { return Load256(stored); }
};

struct Signed32Big {
    static constexpr auto form = StoredForm::signed32Big;
    static constexpr int bytes = 4;
    static constexpr double scale = scale32;
    VANTOR_AVX2_INLINE __m256i Eight(const uint8_t* stored) { return Swap32(Load256(stored)); }
};

template <typename Stored>
VANTOR_AVX2 void ConvertIntegers(const uint8_t* stored, double* samples, int64_t count) {
    const __m256d scale = _mm256_set1_pd(Stored::scale);
    int64_t i = 0;
    for (; i + 8 <= count; i += 8) {
        const __m256i words = Stored::Eight(stored + i * Stored::bytes);
        const __m256d low = _mm256_cvtepi32_pd(_mm256_castsi256_si128(words));
        const __m256d high = _mm256_cvtepi32_pd(_mm256_extracti128_si256(words, 1));
        _mm256_storeu_pd(samples + i, _mm256_mul_pd(low, scale));
        _mm256_storeu_pd(samples + i + 4, _mm256_mul_pd(high, scale));
    }
    PlainKernels()[Stored::form](stored + i * Stored::bytes, samples + i, count - i);
}

VANTOR_AVX2_INLINE void StoreWidened(__m256 singles, double* samples) {
    _mm256_storeu_pd(samples, _mm256_cvtps_pd(_mm256_castps256_ps128(singles)));
    _mm256_storeu_pd(samples + 4, _mm256_cvtps_pd(_mm256_extractf128_ps(singles, 1)));
}

[[gnu::noinline]] VANTOR_AVX2 void ConvertFloat32Little(const uint8_t* stored, double* samples,
                                                        int64_t count) {
    int64_t i = 0;
    for (; i + 8 <= count; i += 8)
        StoreWidened(_mm256_castsi256_ps(Load256(stored + 4 * i)), samples + i);
    PlainKernels()[StoredForm::float32Little](stored + 4 * i, samples + i, count - i);
}

[[gnu::noinline]] VANTOR_AVX2 void ConvertFloat32Big(const uint8_t* stored, double* samples, int64_t count) {
    int64_t i = 0;
    for (; i + 8 <= count; i += 8)
        StoreWidened(_mm256_castsi256_ps(Swap32(Load256(stored + 4 * i))), samples + i);
    PlainKernels()[StoredForm::float32Big](stored + 4 * i, samples + i, count - i);
}

VANTOR_AVX2 void ConvertFloat64Big(const uint8_t* stored, double* samples, int64_t count) {
    const __m128i half = _mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
    const __m256i order = _mm256_broadcastsi128_si256(half);
    int64_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m256i swapped = _mm256_shuffle_epi8(Load256(stored + 8 * i), order);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(samples + i), swapped);
    }
    PlainKernels()[StoredForm::float64Big](stored + 8 * i, samples + i, count - i);
}

// A u-law code is a small float: 34/8192 above a magnitude (see ulaw_table.h) lies the double whose upper two
// bytes, sign, exponent and the first four digits, are made of the code by the byte; the negative half lies
// 1/8192 lower.
VANTOR_AVX2 void ConvertUlaw(const uint8_t* stored, double* samples, int64_t count) {
    const __m256i codeBits = _mm256_set1_epi8(127);
    const __m256i firstFour = _mm256_setr_epi8(-1, -1, -1, -1, -1, -1, 0, 1, -1, -1, -1, -1, -1, -1, 2, 3,  //
                                               -1, -1, -1, -1, -1, -1, 4, 5, -1, -1, -1, -1, -1, -1, 6, 7);
    const __m256i lastFour =
        _mm256_setr_epi8(-1, -1, -1, -1, -1, -1, 8, 9, -1, -1, -1, -1, -1, -1, 10, 11,  //
                         -1, -1, -1, -1, -1, -1, 12, 13, -1, -1, -1, -1, -1, -1, 14, 15);
    const auto store = [](__m256i words, __m256i order, double* to) VANTOR_AVX2 {
        const __m256d raised = _mm256_castsi256_pd(_mm256_shuffle_epi8(words, order));
        const __m256d fall =
            _mm256_blendv_pd(_mm256_set1_pd(-34.0 / 8192), _mm256_set1_pd(33.0 / 8192), raised);
        _mm256_storeu_pd(to, _mm256_add_pd(raised, fall));
    };
    int64_t i = 0;
    for (; i + 16 <= count; i += 16) {
        const __m256i codes = _mm256_broadcastsi128_si256(Load128(stored + i));
        const __m256i low = _mm256_sub_epi8(_mm256_set1_epi8(-16), _mm256_and_si256(codes, codeBits));
        const __m256i high = _mm256_xor_si256(_mm256_or_si256(codes, codeBits), _mm256_set1_epi8(-64));
        const __m256i firstEight = _mm256_unpacklo_epi8(low, high);
        const __m256i lastEight = _mm256_unpackhi_epi8(low, high);
        store(firstEight, firstFour, samples + i);
        store(firstEight, lastFour, samples + i + 4);
        store(lastEight, firstFour, samples + i + 8);
        store(lastEight, lastFour, samples + i + 12);
    }
    PlainKernels()[StoredForm::ulaw](stored + i, samples + i, count - i);
}

template <typename... Stored>
KernelTable TableOf() {
    KernelTable table = PlainKernels();
    ((table[Stored::form] = ConvertIntegers<Stored>), ...);
    table[StoredForm::float32Little] = WithExactDenormals<ConvertFloat32Little>;
    table[StoredForm::float32Big] = WithExactDenormals<ConvertFloat32Big>;
    table[StoredForm::float64Big] = ConvertFloat64Big;
    table[StoredForm::ulaw] = ConvertUlaw;
    return table;
}

}  // namespace

const KernelTable& Avx2Kernels() {
    static const KernelTable table = TableOf<Unsigned8, Signed8, Signed16Little, Signed16Big, Signed24Little,
                                             Signed24Big, Signed32Little, Signed32Big>();
    return table;
}

}  // namespace vantor

#else

const vantor::KernelTable& vantor::Avx2Kernels() {
    return PlainKernels();
}

#endif
