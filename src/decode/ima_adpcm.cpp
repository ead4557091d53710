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

// The multiplication, not the sum of shifted steps: for some codes the two round differently.
constexpr int32_t Change(int32_t step, int32_t code) {
    const int32_t magnitude = step * (code & 7) / 4 + step / 8;
    return code & 8 ? -magnitude : magnitude;
}

// What a code does at an index, for every pair of them; the row of an index is its sixteen codes.
struct Transitions {
    std::array<int32_t, (lastIndex + 1) * 16> change;    // of the sample
    std::array<uint16_t, (lastIndex + 1) * 16> nextRow;  // first entry of the next index's row
};

constexpr Transitions transitions = [] {
    Transitions table{};
    for (int32_t index = 0; index <= lastIndex; ++index)
        for (int32_t code = 0; code < 16; ++code) {
            const auto entry = static_cast<size_t>(index * 16 + code);
            const int32_t next =
                std::clamp(index + indexChanges[static_cast<size_t>(code & 7)], 0, lastIndex);
            table.change[entry] = Change(steps[static_cast<size_t>(index)], code);
            table.nextRow[entry] = static_cast<uint16_t>(next * 16);
        }
    return table;
}();

// What decoding carries from a code to the next: few enough words to stay in registers.
struct Lane {
    int32_t sample = 0;
    uint32_t row = 0;

    int16_t Step(uint32_t code) {
        const uint32_t entry = row + code;
        row = transitions.nextRow[entry];
        sample += transitions.change[entry];
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

template <int bits>
void DecodeOne(int32_t channelCount, const uint8_t* groups, int64_t count, AdpcmChannel& channel,
               int16_t* frames) {
    Lane lane{channel.sample1, channel.row};
    for (int64_t round = 0; round < count; ++round) {
        const uint32_t group = ReadLe32(groups + round * 4 * channelCount);
#pragma GCC unroll 16
        for (int place = 0; place < 32 / bits; ++place, frames += channelCount)
            *frames = lane.Step(Code<bits>(group, place));
    }
    channel.sample1 = lane.sample;
    channel.row = lane.row;
}

// Two channels side by side: their chains of dependent steps overlap in time.
template <int bits>
void DecodeStereo(const uint8_t* groups, int64_t count, AdpcmChannel* channels, int16_t* frames) {
    Lane left{channels[0].sample1, channels[0].row};
    Lane right{channels[1].sample1, channels[1].row};
    for (int64_t round = 0; round < count; ++round) {
        const uint32_t leftGroup = ReadLe32(groups + round * 8);
        const uint32_t rightGroup = ReadLe32(groups + round * 8 + 4);
#pragma GCC unroll 16
        for (int place = 0; place < 32 / bits; ++place, frames += 2) {
            frames[0] = left.Step(Code<bits>(leftGroup, place));
            frames[1] = right.Step(Code<bits>(rightGroup, place));
        }
    }
    channels[0].sample1 = left.sample;
    channels[0].row = left.row;
    channels[1].sample1 = right.sample;
    channels[1].row = right.row;
}

template <int bits>
void DecodeGroups(int32_t channelCount, const uint8_t* rounds, int64_t count, AdpcmChannel* channels,
                  int16_t* frames) {
    if (channelCount == 2) return DecodeStereo<bits>(rounds, count, channels, frames);
    for (int32_t i = 0; i < channelCount; ++i)
        DecodeOne<bits>(channelCount, rounds + int64_t{4} * i, count, channels[i], frames + i);
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
