#include "tests/decode/plain_adpcm.h"

#include <algorithm>
#include <utility>

#include "fileio/byte_order.h"
#include "samples/generator/adpcm_tables.h"

namespace vantor::test {

namespace {

using samples::indexAdjustment, samples::msAdaptation, samples::stepSizes;

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
        const int32_t step = stepSizes[static_cast<size_t>(index)];
        const int32_t change = step * (code & 7) / 4 + step / 8;
        sample = Limited(code & 8 ? sample - change : sample + change);
        index += indexAdjustment[static_cast<size_t>(code & 7)];
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
        delta = std::clamp<int64_t>(msAdaptation[static_cast<size_t>(code)] * delta / 256, 16, mostDelta);
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
