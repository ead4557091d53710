#include "decode/ms_adpcm.h"

#include <algorithm>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr std::array<int64_t, 16> signedCodes = {0, 1, 2, 3, 4, 5, 6, 7, -8, -7, -6, -5, -4, -3, -2, -1};

// What decoding carries from a code to the next: copies in full words, which stay in registers.
struct Lane {
    explicit Lane(const AdpcmChannel& channel)
        : sample1(channel.sample1),
          sample2(channel.sample2),
          coefficient1(channel.coefficient1),
          coefficient2(channel.coefficient2),
          delta(channel.delta) {}

    void Store(AdpcmChannel& channel) const {
        channel.sample1 = static_cast<int32_t>(sample1);
        channel.sample2 = static_cast<int32_t>(sample2);
        channel.delta = static_cast<int32_t>(delta);
    }

    int16_t Step(uint32_t code) {
        const int64_t prediction = (sample1 * coefficient1 + sample2 * coefficient2) / 256;  // truncates
        int64_t sample = prediction + signedCodes[code] * delta;
        if (sample != static_cast<int16_t>(sample)) [[unlikely]]
            sample = sample < 0 ? -32768 : 32767;
        // A shift and a truncating division differ below zero only, where the least value wins over both.
        delta = std::clamp<int64_t>(msAdaptation[code] * delta >> 8, minMsDelta, maxMsDelta);
        sample2 = sample1;
        sample1 = sample;
        return static_cast<int16_t>(sample);
    }

    int64_t sample1;
    int64_t sample2;
    int64_t coefficient1;
    int64_t coefficient2;
    int64_t delta;
};

void DecodeMono(const uint8_t* codes, int64_t count, AdpcmChannel& channel, int16_t* frames) {
    Lane lane(channel);
    for (int64_t i = 0; i < count; ++i) {
        frames[2 * i] = lane.Step(codes[i] >> 4);
        frames[2 * i + 1] = lane.Step(codes[i] & 15);
    }
    lane.Store(channel);
}

// Two channels side by side: their chains of dependent steps overlap in time.
void DecodeStereo(const AdpcmRun& run, int64_t frameCount) {
    Lane left(run.channels[0]);
    Lane right(run.channels[1]);
    for (int64_t i = 0; i < frameCount; ++i) {
        run.frames[2 * i] = left.Step(run.codes[i] >> 4);
        run.frames[2 * i + 1] = right.Step(run.codes[i] & 15);
    }
    left.Store(run.channels[0]);
    right.Store(run.channels[1]);
}

// The codes of a channel of many lie `channelCount` nibbles apart.
void DecodeOneOfMany(int32_t channelCount, int32_t place, const uint8_t* codes, int64_t frameCount,
                     AdpcmChannel& channel, int16_t* frames) {
    Lane lane(channel);
    for (int64_t i = 0; i < frameCount; ++i) {
        const int64_t nibble = i * channelCount + place;
        const uint32_t byte = codes[nibble / 2];
        frames[nibble] = lane.Step(nibble % 2 ? byte & 15 : byte >> 4);
    }
    lane.Store(channel);
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

void DecodeMsRounds(int32_t channelCount, std::span<const AdpcmRun> runs, int64_t count) {
    if (channelCount == 2 && DecodeMsStereoSideBySide(runs, 2 * count)) return;
    for (const AdpcmRun& run : runs) {
        if (channelCount == 1) {
            DecodeMono(run.codes, count, run.channels[0], run.frames);
        } else if (channelCount == 2) {
            DecodeStereo(run, 2 * count);
        } else {
            for (int32_t i = 0; i < channelCount; ++i)
                DecodeOneOfMany(channelCount, i, run.codes, 2 * count, run.channels[i], run.frames);
        }
    }
}

}  // namespace vantor
