// Four stereo blocks of Microsoft ADPCM side by side: eight chains of dependent steps in the eight words of a
// register, which one after the other would each wait for itself. A block alone takes less time with its
// samples in ordinary registers, whose steps are shorter, and its two deltas side by side.
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

// Two chains of each of four blocks; eight words of 32 bits.
using Runs = std::array<AdpcmRun, maxRunsTogether>;
constexpr size_t chainCount = 2 * maxRunsTogether;
using Words = std::array<int32_t, chainCount>;

VANTOR_AVX2_INLINE __m256i Load(const Words& words) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words.data()));
}

VANTOR_AVX2_INLINE __m128i LoadPair(const CodePair& pair) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pair.data()));
}

VANTOR_AVX2_INLINE __m128i LookUpPairs(const CodeTable& table, uint8_t first, uint8_t second) {
    return _mm_unpacklo_epi64(LoadPair(table[first]), LoadPair(table[second]));
}

VANTOR_AVX2_INLINE __m256i LookUp(const CodeTable& table, const Runs& runs, int64_t i) {
    return _mm256_set_m128i(LookUpPairs(table, runs[2].codes[i], runs[3].codes[i]),
                            LookUpPairs(table, runs[0].codes[i], runs[1].codes[i]));
}

// The chains: left and right of the first block, left and right of the second ...
struct Lanes {
    __m256i samples;       // a word a chain: sample1 in its lower half, sample2 in its upper
    __m256i coefficients;  // likewise
    __m256i delta;
    __m256i last;  // sample1 of every chain, as 16 bits in the lower eight bytes of both halves
};

constexpr int32_t Halves(int32_t low, int32_t high) {
    return static_cast<int32_t>((static_cast<uint32_t>(high) << 16) | (static_cast<uint32_t>(low) & 0xFFFF));
}

template <typename Value>
Words Gather(const Runs& runs, Value value) {
    Words words;
    for (size_t i = 0; i < chainCount; ++i)
        words[i] = value(runs[i / 2].channels[i % 2]);
    return words;
}

VANTOR_AVX2_INLINE Lanes LoadLanes(const Runs& runs) {
    using Channel = const AdpcmChannel&;
    Lanes lanes{};
    lanes.samples = Load(Gather(runs, [](Channel c) { return Halves(c.sample1, c.sample2); }));
    lanes.coefficients = Load(Gather(runs, [](Channel c) { return Halves(c.coefficient1, c.coefficient2); }));
    lanes.delta = Load(Gather(runs, [](Channel c) { return c.delta; }));
    const __m256i sample1 = Load(Gather(runs, [](Channel c) { return c.sample1; }));
    lanes.last = _mm256_packs_epi32(sample1, sample1);
    return lanes;
}

VANTOR_AVX2 void StoreLanes(const Lanes& lanes, const Runs& runs) {
    Words samples, deltas;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(samples.data()), lanes.samples);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(deltas.data()), lanes.delta);
    for (size_t i = 0; i < chainCount; ++i) {
        AdpcmChannel& channel = runs[i / 2].channels[i % 2];
        channel.sample1 = static_cast<int16_t>(samples[i]);
        channel.sample2 = samples[i] >> 16;
        channel.delta = deltas[i];
    }
}

// The next sample of every chain, as `Lanes::last` holds them.
VANTOR_AVX2_INLINE __m256i Step(Lanes& lanes, __m256i codes, __m256i adaptation) {
    const __m256i weighted = _mm256_madd_epi16(lanes.samples, lanes.coefficients);
    // A division by 256 that truncates: that of the magnitude, with the sign put back.
    const __m256i prediction = _mm256_sign_epi32(_mm256_srli_epi32(_mm256_abs_epi32(weighted), 8), weighted);
    const __m256i sample = _mm256_add_epi32(prediction, _mm256_mullo_epi32(codes, lanes.delta));
    const __m256i limited = _mm256_packs_epi32(sample, sample);
    lanes.samples = _mm256_unpacklo_epi16(limited, lanes.last);
    lanes.last = limited;
    const __m256i delta = _mm256_srai_epi32(_mm256_mullo_epi32(adaptation, lanes.delta), 8);
    lanes.delta = _mm256_max_epi32(_mm256_min_epi32(delta, _mm256_set1_epi32(maxMsDelta)),
                                   _mm256_set1_epi32(minMsDelta));
    return limited;
}

// The runs are copies: no store to their frames can be taken for a change of them.
VANTOR_AVX2 void DecodeFour(const Runs runs, int64_t frameCount) {
    Lanes lanes = LoadLanes(runs);
    for (int64_t i = 0; i < frameCount; ++i) {
        const __m256i frames = Step(lanes, LookUp(signedCodes, runs, i), LookUp(adaptations, runs, i));
        const __m128i low = _mm256_castsi256_si128(frames);
        const __m128i high = _mm256_extracti128_si256(frames, 1);
        _mm_storeu_si32(runs[0].frames + 2 * i, low);
        _mm_storeu_si32(runs[1].frames + 2 * i, _mm_srli_si128(low, 4));
        _mm_storeu_si32(runs[2].frames + 2 * i, high);
        _mm_storeu_si32(runs[3].frames + 2 * i, _mm_srli_si128(high, 4));
    }
    StoreLanes(lanes, runs);
}

// What a channel's samples carry from one to the next.
struct Samples {
    explicit Samples(const AdpcmChannel& channel)
        : sample1(channel.sample1),
          sample2(channel.sample2),
          coefficient1(channel.coefficient1),
          coefficient2(channel.coefficient2) {}

    int16_t Step(int64_t change) {
        const int64_t weighted = sample1 * coefficient1 + sample2 * coefficient2;
        // A division by 256 that truncates: where the sum is negative its upper byte is 255.
        const auto upperByte = static_cast<int64_t>(static_cast<uint64_t>(weighted) >> 56);
        int64_t sample = ((weighted + upperByte) >> 8) + change;
        if (static_cast<uint64_t>(sample + 32768) > 65535) [[unlikely]]
            sample = sample < 0 ? -32768 : 32767;
        sample2 = sample1;
        sample1 = sample;
        return static_cast<int16_t>(sample);
    }

    void Store(AdpcmChannel& channel) const {
        channel.sample1 = static_cast<int32_t>(sample1);
        channel.sample2 = static_cast<int32_t>(sample2);
    }

    int64_t sample1;
    int64_t sample2;
    int64_t coefficient1;
    int64_t coefficient2;
};

VANTOR_AVX2 void DecodeOne(const AdpcmRun run, int64_t frameCount) {
    Samples left(run.channels[0]);
    Samples right(run.channels[1]);
    __m128i delta = _mm_setr_epi32(run.channels[0].delta, run.channels[1].delta, 0, 0);
    for (int64_t i = 0; i < frameCount; ++i) {
        const uint8_t codes = run.codes[i];
        const int64_t changes = _mm_cvtsi128_si64(_mm_mullo_epi32(LoadPair(signedCodes[codes]), delta));
        delta = _mm_srai_epi32(_mm_mullo_epi32(LoadPair(adaptations[codes]), delta), 8);
        delta = _mm_max_epi32(_mm_min_epi32(delta, _mm_set1_epi32(maxMsDelta)), _mm_set1_epi32(minMsDelta));
        run.frames[2 * i] = left.Step(static_cast<int32_t>(changes));
        run.frames[2 * i + 1] = right.Step(changes >> 32);
    }
    left.Store(run.channels[0]);
    right.Store(run.channels[1]);
    run.channels[0].delta = _mm_extract_epi32(delta, 0);
    run.channels[1].delta = _mm_extract_epi32(delta, 1);
}

// The one sum of two products that 32 bits cannot hold.
bool MayOverflow(const AdpcmRun& run) {
    return std::any_of(run.channels, run.channels + 2, [](const AdpcmChannel& channel) {
        return channel.coefficient1 == -32768 && channel.coefficient2 == -32768;
    });
}

}  // namespace

size_t MsStereoRunsTogether() {
    return BestInstructionSet() == InstructionSet::avx2 ? maxRunsTogether : 1;
}

bool DecodeMsStereoSideBySide(std::span<const AdpcmRun> runs, int64_t frameCount) {
    if (MsStereoRunsTogether() == 1) return false;
    if (runs.size() == 1) {
        DecodeOne(runs.front(), frameCount);
        return true;
    }
    if (std::ranges::any_of(runs, MayOverflow)) return false;
    // A place that is left over repeats the first run: the same bytes go to the same place.
    Runs four;
    four.fill(runs.front());
    std::ranges::copy(runs, four.begin());
    DecodeFour(four, frameCount);
    return true;
}

}  // namespace vantor

#else

namespace vantor {

size_t MsStereoRunsTogether() {
    return 1;
}

bool DecodeMsStereoSideBySide(std::span<const AdpcmRun>, int64_t) {
    return false;
}

}  // namespace vantor

#endif
