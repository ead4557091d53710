#include "decode/kernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <algorithm>
#include <cstdint>

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

// How an integer lies in the file.
struct Integer {
    StoredForm form;
    int bytes;
    bool isBigEndian = false;
    bool isSigned = true;
};

// Bytes of a register of four doubles, one index each; -1 a zero.
using ByteOrder = std::array<int8_t, 32>;

// Brings four integers, the first of them at `place` of a load that both halves of the register hold, to the
// doubles' digits: the highest byte to their sixth.
constexpr ByteOrder OrderOf(const Integer& stored, int place) {
    ByteOrder order;
    order.fill(-1);
    for (int i = 0; i < 4 * stored.bytes; ++i) {
        const int sample = i / stored.bytes, rank = i % stored.bytes;
        const int byte = stored.isBigEndian ? stored.bytes - 1 - rank : rank;
        const int to = 8 * sample + 6 - stored.bytes + rank;
        order[static_cast<size_t>(to)] = static_cast<int8_t>(place + sample * stored.bytes + byte);
    }
    return order;
}

VANTOR_AVX2_INLINE __m256i LoadOrder(const ByteOrder& order) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(order.data()));
}

// The same bytes in both halves: sixteen, or the eight that eight samples of a byte have.
template <int bytes>
VANTOR_AVX2_INLINE __m256i LoadTwice(const uint8_t* stored) {
    if constexpr (bytes == 1) return _mm256_broadcastq_epi64(Load64(stored));
    return _mm256_broadcastsi128_si256(Load128(stored));
}

// Under the exponent of 32 an integer's bytes are digits that make 33 and the sample, once a sign bit is
// turned over: no conversion from integers, no multiplication, and every step exact.
template <const Integer& integer>
VANTOR_AVX2 void ConvertIntegers(const uint8_t* stored, double* samples, int64_t count) {
    constexpr int bytes = integer.bytes;
    constexpr int secondLoad = std::max(0, 8 * bytes - 16);  // from there on it has samples 4 to 7
    static constexpr ByteOrder firstOrder = OrderOf(integer, 0);
    static constexpr ByteOrder secondOrder = OrderOf(integer, 4 * bytes - secondLoad);
    const __m256i firstFour = LoadOrder(firstOrder), lastFour = LoadOrder(secondOrder);
    const __m256i mark = _mm256_set1_epi64x(integer.isSigned ? 0x4040800000000000 : 0x4040000000000000);
    const __m256d raise = _mm256_set1_pd(33.0);
    const auto store = [&](__m256i load, __m256i order, double* to) VANTOR_AVX2 {
        const __m256i digits = _mm256_xor_si256(_mm256_shuffle_epi8(load, order), mark);
        _mm256_storeu_pd(to, _mm256_sub_pd(_mm256_castsi256_pd(digits), raise));
    };
    int64_t i = 0;
    for (; i + 16 <= count; i += 16) {
        for (const int64_t at : {i, i + 8}) {
            const uint8_t* const eight = stored + at * bytes;
            store(LoadTwice<bytes>(eight), firstFour, samples + at);
            store(LoadTwice<bytes>(eight + secondLoad), lastFour, samples + at + 4);
        }
    }
    PlainKernels()[integer.form](stored + i * bytes, samples + i, count - i);
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

constexpr Integer unsigned8{StoredForm::unsigned8, 1, false, false};
constexpr Integer signed8{StoredForm::signed8, 1};
constexpr Integer signed16Little{StoredForm::signed16Little, 2};
constexpr Integer signed16Big{StoredForm::signed16Big, 2, true};
constexpr Integer signed24Little{StoredForm::signed24Little, 3};
constexpr Integer signed24Big{StoredForm::signed24Big, 3, true};
constexpr Integer signed32Little{StoredForm::signed32Little, 4};
constexpr Integer signed32Big{StoredForm::signed32Big, 4, true};

template <const Integer&... integers>
KernelTable TableOf() {
    KernelTable table = PlainKernels();
    ((table[integers.form] = ConvertIntegers<integers>), ...);
    table[StoredForm::float32Little] = WithExactDenormals<ConvertFloat32Little>;
    table[StoredForm::float32Big] = WithExactDenormals<ConvertFloat32Big>;
    table[StoredForm::float64Big] = ConvertFloat64Big;
    table[StoredForm::ulaw] = ConvertUlaw;
    return table;
}

}  // namespace

const KernelTable& Avx2Kernels() {
    static const KernelTable table = TableOf<unsigned8, signed8, signed16Little, signed16Big, signed24Little,
                                             signed24Big, signed32Little, signed32Big>();
    return table;
}

}  // namespace vantor

#else

const vantor::KernelTable& vantor::Avx2Kernels() {
    return PlainKernels();
}

#endif
