#include "tests/decode/plain_adpcm.h"

#include <algorithm>
#include <utility>

#include "fileio/byte_order.h"

namespace vantor::test {

namespace {

// IMA Digital Audio Focus and Technical Working Groups: Recommended Practices, revision 3.00.
constexpr std::array<int32_t, 89> steps = {
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
constexpr int32_t indexChanges[] = {-1, -1, -1, -1, 2, 4, 6, 8};
constexpr int32_t adaptations[] = {230, 230, 230, 230, 307, 409, 512, 614,
                                   768, 614, 512, 409, 307, 230, 230, 230};

int16_t Le16At(const Bytes& bytes, size_t offset) {
    return static_cast<int16_t>(ReadLe16(&bytes[offset]));
}

int32_t Limited(int64_t sample) {
    return static_cast<int32_t>(std::clamp<int64_t>(sample, -32768, 32767));
}

struct ImaChannel {
    int32_t sample, index;

    int32_t Next(int32_t code) {
        index = std::clamp(index, 0, 88);
        const int32_t step = steps[static_cast<size_t>(index)];
        const int32_t change = step * (code & 7) / 4 + step / 8;
        sample = Limited(code & 8 ? sample - change : sample + change);
        index += indexChanges[code & 7];
        return sample;
    }
};

// The `frame`-th code of a channel: 4-byte groups, channels taking turns. A two-bit code is the top of four.
int32_t ImaCode(const Bytes& block, size_t channels, size_t channel, size_t frame, size_t bits) {
    const size_t bit = frame * bits, group = bit / 32;
    const size_t byte = 4 * channels + 4 * (group * channels + channel) + bit % 32 / 8;
    const int32_t value = byte < block.size() ? block[byte] >> bit % 8 : 0;
    return bits == 4 ? value & 15 : (value & 3) << 2;
}

constexpr int64_t mostDelta = 0x7FFFFFFF / 768;  // a hostile block could triple it with every code

struct MsChannel {
    int64_t first, second;  // the sample before, and the one before that
    int64_t delta, coefficient1, coefficient2;

    int32_t Next(int32_t code) {
        const int64_t prediction = (first * coefficient1 + second * coefficient2) / 256;
        const int64_t sample = prediction + (code < 8 ? code : code - 16) * delta;
        delta = std::clamp<int64_t>(adaptations[code] * delta / 256, 16, mostDelta);
        second = std::exchange(first, Limited(sample));
        return static_cast<int32_t>(first);
    }
};

MsChannel MsHeader(const Bytes& block, size_t channels, size_t channel, const Coefficients& coefficients) {
    const size_t pair = 2 * block[channel], place = channels + 2 * channel;
    return {Le16At(block, place + 2 * channels), Le16At(block, place + 4 * channels), Le16At(block, place),
            coefficients[pair], coefficients[pair + 1]};
}

template <typename DecodeBlock>
Samples EachBlock(const Bytes& stream, size_t blockBytes, const DecodeBlock& decodeBlock) {
    Samples samples;
    for (size_t start = 0; start + blockBytes <= stream.size(); start += blockBytes)
        decodeBlock(Bytes(stream.begin() + static_cast<ptrdiff_t>(start),
                          stream.begin() + static_cast<ptrdiff_t>(start + blockBytes)),
                    [&](int32_t sample) { samples.push_back(sample / 32768.0); });
    return samples;
}

}  // namespace

Samples PlainIma(const Bytes& stream, size_t channels, size_t blockBytes, int bitsPerCode) {
    const auto bits = static_cast<size_t>(bitsPerCode);
    const size_t coded = (blockBytes / channels - 4) * 8 / bits;  // frames behind the header's
    return EachBlock(stream, blockBytes, [&](const Bytes& block, const auto& put) {
        std::vector<ImaChannel> states;
        for (size_t channel = 0; channel < channels; ++channel) {
            states.push_back({Le16At(block, 4 * channel), Le16At(block, 4 * channel + 2)});
            put(states.back().sample);
        }
        for (size_t frame = 0; frame < coded; ++frame)
            for (size_t channel = 0; channel < channels; ++channel)
                put(states[channel].Next(ImaCode(block, channels, channel, frame, bits)));
    });
}

Samples PlainMs(const Bytes& stream, size_t channels, size_t blockBytes, const Coefficients& coefficients) {
    const size_t coded = (blockBytes / channels - 7) * 2;
    return EachBlock(stream, blockBytes, [&](const Bytes& block, const auto& put) {
        std::vector<MsChannel> states;
        for (size_t channel = 0; channel < channels; ++channel)
            states.push_back(MsHeader(block, channels, channel, coefficients));
        for (const MsChannel& state : states)
            put(static_cast<int32_t>(state.second));
        for (const MsChannel& state : states)
            put(static_cast<int32_t>(state.first));
        for (size_t code = 0; code < coded * channels; ++code) {
            const uint8_t byte = block[7 * channels + code / 2];
            put(states[code % channels].Next(code % 2 == 0 ? byte >> 4 : byte & 15));
        }
    });
}

}  // namespace vantor::test
