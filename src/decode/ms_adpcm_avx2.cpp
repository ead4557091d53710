// Two stereo blocks of Microsoft ADPCM side by side: four chains of dependent steps in the four words of a
// register, which one after the other would each wait for itself.
#include "decode/ms_adpcm.h"
#include "decode/sample_conversion.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <algorithm>

// As in kernels_avx2.cpp, the set is asked for function by function.
#define VANTOR_AVX2 __attribute__((target("avx2")))
#define VANTOR_AVX2_INLINE __attribute__((target("avx2"), always_inline)) static inline

namespace vantor {

namespace {

// What the two codes of a byte stand for, the left channel's first.
using CodePair = std::array<int32_t, 2>;
using CodeTable = std::array<CodePair, 256>;

template <typename Value>
constexpr CodeTable TableOf(Value value) {
    CodeTable table{};
    for (size_t byte = 0; byte < table.size(); ++byte)
        table[byte] = {value(byte >> 4), value(byte & 15)};
    return table;
}

constexpr CodeTable signedCodes =
    TableOf([](size_t code) { return static_cast<int32_t>(code) - (code >= 8 ? 16 : 0); });
constexpr CodeTable adaptations = TableOf([](size_t code) { return msAdaptation[code]; });

VANTOR_AVX2_INLINE __m128i LookUp(const CodeTable& table, uint8_t first, uint8_t second) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(&table[first])),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&table[second])));
}

// The four chains: left and right of the first block, left and right of the second.
struct Lanes {
    __m128i samples;       // a word a chain: sample1 in its lower half, sample2 in its upper
    __m128i coefficients;  // likewise
    __m128i delta;
    __m128i last;  // sample1 of every chain in the lower eight bytes
};

constexpr int32_t Halves(int32_t low, int32_t high) {
    return static_cast<int32_t>((static_cast<uint32_t>(high) << 16) | (static_cast<uint32_t>(low) & 0xFFFF));
}

template <typename Value>
VANTOR_AVX2_INLINE __m128i Gather(const AdpcmRun& first, const AdpcmRun& second, Value value) {
    return _mm_setr_epi32(value(first.channels[0]), value(first.channels[1]), value(second.channels[0]),
                          value(second.channels[1]));
}

VANTOR_AVX2_INLINE Lanes Load(const AdpcmRun& first, const AdpcmRun& second) {
    using Channel = const AdpcmChannel&;
    Lanes lanes{};
    lanes.samples = Gather(first, second, [](Channel c) { return Halves(c.sample1, c.sample2); });
    lanes.coefficients =
        Gather(first, second, [](Channel c) { return Halves(c.coefficient1, c.coefficient2); });
    lanes.delta = Gather(first, second, [](Channel c) { return c.delta; });
    const __m128i sample1 = Gather(first, second, [](Channel c) { return c.sample1; });
    lanes.last = _mm_packs_epi32(sample1, sample1);
    return lanes;
}

VANTOR_AVX2 void Store(const Lanes& lanes, const AdpcmRun& first, const AdpcmRun& second) {
    alignas(16) std::array<int32_t, 4> samples, deltas;
    _mm_store_si128(reinterpret_cast<__m128i*>(samples.data()), lanes.samples);
    _mm_store_si128(reinterpret_cast<__m128i*>(deltas.data()), lanes.delta);
    for (size_t i = 0; i < samples.size(); ++i) {
        AdpcmChannel& channel = (i < 2 ? first : second).channels[i % 2];
        channel.sample1 = static_cast<int16_t>(samples[i]);
        channel.sample2 = samples[i] >> 16;
        channel.delta = deltas[i];
    }
}

// The next sample of every chain, in the lower eight bytes.
VANTOR_AVX2_INLINE __m128i Step(Lanes& lanes, __m128i codes, __m128i adaptation) {
    const __m128i weighted = _mm_madd_epi16(lanes.samples, lanes.coefficients);
    // A division by 256 that truncates: that of the magnitude, with the sign put back.
    const __m128i prediction = _mm_sign_epi32(_mm_srli_epi32(_mm_abs_epi32(weighted), 8), weighted);
    const __m128i sample = _mm_add_epi32(prediction, _mm_mullo_epi32(codes, lanes.delta));
    const __m128i limited = _mm_packs_epi32(sample, sample);
    lanes.samples = _mm_unpacklo_epi16(limited, lanes.last);
    lanes.last = limited;
    const __m128i delta = _mm_srai_epi32(_mm_mullo_epi32(adaptation, lanes.delta), 8);
    lanes.delta = _mm_max_epi32(_mm_min_epi32(delta, _mm_set1_epi32(maxMsDelta)), _mm_set1_epi32(minMsDelta));
    return limited;
}

// The runs are copies: no store to their frames can be taken for a change of them.
VANTOR_AVX2 void DecodeSideBySide(const AdpcmRun first, const AdpcmRun second, int64_t frameCount) {
    Lanes lanes = Load(first, second);
    for (int64_t i = 0; i < frameCount; ++i) {
        const uint8_t firstCodes = first.codes[i];
        const uint8_t secondCodes = second.codes[i];
        const __m128i frames = Step(lanes, LookUp(signedCodes, firstCodes, secondCodes),
                                    LookUp(adaptations, firstCodes, secondCodes));
        _mm_storeu_si32(first.frames + 2 * i, frames);
        _mm_storeu_si32(second.frames + 2 * i, _mm_srli_si128(frames, 4));
    }
    Store(lanes, first, second);
}

// The one sum of two products that 32 bits cannot hold.
bool MayOverflow(const AdpcmRun& run) {
    return std::any_of(run.channels, run.channels + 2, [](const AdpcmChannel& channel) {
        return channel.coefficient1 == -32768 && channel.coefficient2 == -32768;
    });
}

}  // namespace

bool DecodesMsRunsSideBySide() {
    return BestInstructionSet() == InstructionSet::avx2;
}

void DecodeMsStereoRuns(const AdpcmRun& first, const AdpcmRun& second, int64_t frameCount) {
    if (DecodesMsRunsSideBySide() && !MayOverflow(first) && !MayOverflow(second))
        return DecodeSideBySide(first, second, frameCount);
    DecodeMsStereoRun(first, frameCount);
    DecodeMsStereoRun(second, frameCount);
}

}  // namespace vantor

#else

namespace vantor {

bool DecodesMsRunsSideBySide() {
    return false;
}

void DecodeMsStereoRuns(const AdpcmRun& first, const AdpcmRun& second, int64_t frameCount) {
    DecodeMsStereoRun(first, frameCount);
    DecodeMsStereoRun(second, frameCount);
}

}  // namespace vantor

#endif
