#include "decode/ima_adpcm.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr int32_t lastIndex = 88;

constexpr std::array<int32_t, lastIndex + 1> steps = {
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

constexpr std::array<int32_t, 8> indexChanges = {-1, -1, -1, -1, 2, 4, 6, 8};

// The multiplication, not the sum of shifted steps: for some codes the two round differently.
constexpr int32_t Change(int32_t step, int32_t code) {
    const int32_t magnitude = step * (code & 7) / 4 + step / 8;
    return code & 8 ? -magnitude : magnitude;
}

// What a code does at an index: both facts come with one line of the cache.
struct Transition {
    int32_t change;    // of the sample
    uint32_t nextRow;  // first entry of the next index's row
};

// For every index and code; the row of an index is its sixteen codes.
constexpr auto transitions = [] {
    std::array<Transition, (lastIndex + 1) * 16> table{};
    for (int32_t index = 0; index <= lastIndex; ++index)
        for (int32_t code = 0; code < 16; ++code) {
            const int32_t next =
                std::clamp(index + indexChanges[static_cast<size_t>(code & 7)], 0, lastIndex);
            table[static_cast<size_t>(index) * 16 + static_cast<size_t>(code)] = {
                Change(steps[static_cast<size_t>(index)], code), static_cast<uint32_t>(next * 16)};
        }
    return table;
}();

// What decoding carries from a code to the next: few enough words to stay in registers.
struct Lane {
    int32_t sample = 0;
    uint32_t row = 0;

    int16_t Step(uint32_t code) {
        const Transition& transition = transitions[row + code];
        row = transition.nextRow;
        sample += transition.change;
        if (sample != static_cast<int16_t>(sample)) [[unlikely]]
            sample = sample < 0 ? -32768 : 32767;
        return static_cast<int16_t>(sample);
    }
};

// `bits` a code; a 2-bit code is the sign and the highest bit of a 4-bit one.
template <int bits>
inline uint32_t Code(uint32_t group, int place) {
    return (group >> (bits * place) & ((1u << bits) - 1)) << (4 - bits);
}

// One channel of one block.
struct LaneRun {
    const uint8_t* groups;
    AdpcmChannel* channel;
    int16_t* frames;
};

// Lanes side by side: their chains of dependent steps overlap in time. `channels`: the number of them where
// it is known when this is compiled, else 0.
template <int bits, size_t lanes, int32_t channels>
void DecodeLanes(const LaneRun* runs, int32_t channelCount, int64_t count) {
    const std::ptrdiff_t stride = channels > 0 ? channels : channelCount;
    std::array<Lane, lanes> lane;
    for (size_t i = 0; i < lanes; ++i)
        lane[i] = {runs[i].channel->sample1, runs[i].channel->row};
    for (std::ptrdiff_t round = 0; round < count; ++round) {
        std::array<uint32_t, lanes> group;
        std::array<int16_t*, lanes> frames;
        for (size_t i = 0; i < lanes; ++i) {
            group[i] = ReadLe32(runs[i].groups + round * 4 * stride);
            frames[i] = runs[i].frames + round * (32 / bits) * stride;
        }
#pragma GCC unroll 16
        for (int place = 0; place < 32 / bits; ++place)
#pragma GCC unroll 4
            for (size_t i = 0; i < lanes; ++i)
                frames[i][place * stride] = lane[i].Step(Code<bits>(group[i], place));
    }
    for (size_t i = 0; i < lanes; ++i) {
        runs[i].channel->sample1 = lane[i].sample;
        runs[i].channel->row = lane[i].row;
    }
}

template <int bits, int32_t channels>
void DecodeTogether(std::span<const LaneRun> runs, int32_t channelCount, int64_t count) {
    if (runs.size() == 4) return DecodeLanes<bits, 4, channels>(runs.data(), channelCount, count);
    for (; runs.size() >= 2; runs = runs.subspan(2))
        DecodeLanes<bits, 2, channels>(runs.data(), channelCount, count);
    if (!runs.empty()) DecodeLanes<bits, 1, channels>(runs.data(), channelCount, count);
}

template <int bits>
void DecodeGroups(int32_t channelCount, std::span<const AdpcmRun> runs, int64_t count) {
    const auto decode = channelCount == 1   ? DecodeTogether<bits, 1>
                        : channelCount == 2 ? DecodeTogether<bits, 2>
                                            : DecodeTogether<bits, 0>;
    std::array<LaneRun, 4> together;
    size_t taken = 0;
    for (const AdpcmRun& run : runs)
        for (int32_t i = 0; i < channelCount; ++i) {
            together[taken++] = {run.codes + int64_t{4} * i, run.channels + i, run.frames + i};
            if (taken < together.size()) continue;
            decode(together, channelCount, count);
            taken = 0;
        }
    decode(std::span(together).first(taken), channelCount, count);
}

}  // namespace

void DecodeImaHeader(const AdpcmCoding& coding, const uint8_t* block, AdpcmChannel* channels,
                     int16_t* frames) {
    for (int32_t i = 0; i < coding.channels; ++i, block += 4) {
        frames[i] = static_cast<int16_t>(ReadLe16(block));
        channels[i].sample1 = frames[i];
        channels[i].row = std::min<uint32_t>(ReadLe16(block + 2), lastIndex) * 16;
    }
}

void DecodeImaRounds(int32_t channelCount, std::span<const AdpcmRun> runs, int64_t count) {
    DecodeGroups<4>(channelCount, runs, count);
}

void DecodeCAdpcmRounds(int32_t channelCount, std::span<const AdpcmRun> runs, int64_t count) {
    DecodeGroups<2>(channelCount, runs, count);
}

}  // namespace vantor
