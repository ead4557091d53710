#include "decode/ms_adpcm.h"

#include <algorithm>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr std::array<int32_t, 16> adaptation = {230, 230, 230, 230, 307, 409, 512, 614,
                                                768, 614, 512, 409, 307, 230, 230, 230};
constexpr int32_t minDelta = 16;
// Far beyond any sample; keeps a hostile block, which can triple delta with every code, inside 32 bits.
constexpr int32_t maxDelta = 0x7FFFFFFF / 768;

inline int16_t Step(AdpcmChannel& channel, uint32_t code) {
    const int64_t weighted =
        int64_t{channel.sample1} * channel.coefficient1 + int64_t{channel.sample2} * channel.coefficient2;
    const int32_t signedCode = static_cast<int32_t>(code ^ 8) - 8;
    const auto prediction = static_cast<int32_t>(weighted / 256);  // truncates, on purpose: no floor shift
    const int32_t sample = std::clamp(prediction + signedCode * channel.delta, -32768, 32767);
    channel.delta = std::clamp(adaptation[code] * channel.delta / 256, minDelta, maxDelta);
    channel.sample2 = channel.sample1;
    channel.sample1 = sample;
    return static_cast<int16_t>(sample);
}

inline uint32_t Nibble(const uint8_t* bytes, int64_t place) {
    const uint32_t byte = bytes[place / 2];
    return place % 2 ? byte & 15 : byte >> 4;
}

// Decodes `lanes` neighbouring channels side by side: their chains of dependent steps overlap in time.
template <int lanes>
void DecodeLanes(int32_t channelCount, int32_t first, const uint8_t* rounds, int64_t count,
                 AdpcmChannel* channels, int16_t* frames) {
    std::array<AdpcmChannel, lanes> state;
    std::copy_n(channels + first, lanes, state.begin());
    frames += first;
    for (int64_t round = 0; round < count; ++round) {
        for (int32_t frame = 0; frame < 2; ++frame) {
            for (int32_t lane = 0; lane < lanes; ++lane) {
                const uint32_t code = Nibble(rounds, int64_t{frame} * channelCount + first + lane);
                frames[lane] = Step(state[static_cast<size_t>(lane)], code);
            }
            frames += channelCount;
        }
        rounds += channelCount;
    }
    std::copy_n(state.begin(), lanes, channels + first);
}

}  // namespace

bool DecodeMsHeader(const AdpcmCoding& coding, const uint8_t* block, AdpcmChannel* channels,
                    int16_t* frames) {
    const int32_t count = coding.channels;
    const uint8_t* const deltas = block + count;
    const uint8_t* const laterSamples = deltas + int64_t{2} * count;
    const uint8_t* const earlierSamples = laterSamples + int64_t{2} * count;
    for (int32_t i = 0; i < count; ++i) {
        const size_t pair = block[i];
        if (pair > 6) return false;
        AdpcmChannel& channel = channels[i];
        channel.coefficient1 = coding.coefficients[2 * pair];
        channel.coefficient2 = coding.coefficients[2 * pair + 1];
        channel.delta = static_cast<int16_t>(ReadLe16(deltas + 2 * i));
        channel.sample1 = static_cast<int16_t>(ReadLe16(laterSamples + 2 * i));
        channel.sample2 = static_cast<int16_t>(ReadLe16(earlierSamples + 2 * i));
        frames[i] = static_cast<int16_t>(channel.sample2);
        frames[count + i] = static_cast<int16_t>(channel.sample1);
    }
    return true;
}

void DecodeMsRounds(int32_t channelCount, const uint8_t* rounds, int64_t count, AdpcmChannel* channels,
                    int16_t* frames) {
    if (channelCount == 2) return DecodeLanes<2>(2, 0, rounds, count, channels, frames);
    for (int32_t i = 0; i < channelCount; ++i)
        DecodeLanes<1>(channelCount, i, rounds, count, channels, frames);
}

}  // namespace vantor
