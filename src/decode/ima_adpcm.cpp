#include "decode/ima_adpcm.h"

#include <algorithm>
#include <array>

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

// What a code does at an index, for every pair of them: the row of an index is its sixteen codes. A packed
// entry holds the change of the sample above `rowBits` bits, and below them the first entry of the next
// index's row.
constexpr int rowBits = 11;
constexpr uint32_t rowMask = (1u << rowBits) - 1;
static_assert(lastIndex * 16 <= rowMask);

// The multiplication, not the sum of shifted steps: for some codes the two round differently.
constexpr int32_t Change(int32_t step, int32_t code) {
    const int32_t magnitude = step * (code & 7) / 4 + step / 8;
    return code & 8 ? -magnitude : magnitude;
}

constexpr auto transitions = [] {
    std::array<int32_t, (lastIndex + 1) * 16> table{};
    for (int32_t index = 0; index <= lastIndex; ++index)
        for (int32_t code = 0; code < 16; ++code) {
            const int32_t change = Change(steps[static_cast<size_t>(index)], code);
            const int32_t next =
                std::clamp(index + indexChanges[static_cast<size_t>(code & 7)], 0, lastIndex);
            table[static_cast<size_t>(index * 16 + code)] = change * (1 << rowBits) + next * 16;
        }
    return table;
}();

inline int16_t Step(AdpcmChannel& channel, uint32_t code) {
    const int32_t transition = transitions[channel.row + code];
    channel.sample1 = std::clamp(channel.sample1 + (transition >> rowBits), -32768, 32767);
    channel.row = static_cast<uint32_t>(transition) & rowMask;
    return static_cast<int16_t>(channel.sample1);
}

// `bits` a code; a 2-bit code is the sign and the highest bit of a 4-bit one.
template <int bits>
inline uint32_t Code(uint32_t group, int place) {
    return (group >> (bits * place) & ((1u << bits) - 1)) << (4 - bits);
}

// Decodes `lanes` neighbouring channels side by side: their chains of dependent steps overlap in time.
template <int bits, int lanes>
void DecodeLanes(int32_t channelCount, const uint8_t* groups, int64_t count, AdpcmChannel* channels,
                 int16_t* frames) {
    std::array<AdpcmChannel, lanes> state;
    std::copy_n(channels, lanes, state.begin());
    for (int64_t round = 0; round < count; ++round) {
        std::array<uint32_t, lanes> words;
        for (size_t lane = 0; lane < lanes; ++lane)
            words[lane] = ReadLe32(groups + 4 * lane);
        for (int place = 0; place < 32 / bits; ++place) {
            for (size_t lane = 0; lane < lanes; ++lane)
                frames[lane] = Step(state[lane], Code<bits>(words[lane], place));
            frames += channelCount;
        }
        groups += int64_t{4} * channelCount;
    }
    std::copy_n(state.begin(), lanes, channels);
}

template <int bits>
void DecodeGroups(int32_t channelCount, const uint8_t* rounds, int64_t count, AdpcmChannel* channels,
                  int16_t* frames) {
    if (channelCount == 2) return DecodeLanes<bits, 2>(2, rounds, count, channels, frames);
    for (int32_t i = 0; i < channelCount; ++i)
        DecodeLanes<bits, 1>(channelCount, rounds + int64_t{4} * i, count, channels + i, frames + i);
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

void DecodeImaRounds(int32_t channelCount, const uint8_t* rounds, int64_t count, AdpcmChannel* channels,
                     int16_t* frames) {
    DecodeGroups<4>(channelCount, rounds, count, channels, frames);
}

void DecodeCAdpcmRounds(int32_t channelCount, const uint8_t* rounds, int64_t count, AdpcmChannel* channels,
                        int16_t* frames) {
    DecodeGroups<2>(channelCount, rounds, count, channels, frames);
}

}  // namespace vantor
