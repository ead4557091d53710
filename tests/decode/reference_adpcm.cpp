#include "tests/decode/reference_adpcm.h"

#include <algorithm>
#include <cmath>

#include "formats/audio_format.h"

namespace vantor::test {

namespace {

using Channel = std::vector<int32_t>;   // samples, or codes
using Channels = std::vector<Channel>;  // of one block

int32_t Signed16(const Bytes& block, size_t at) {
    const int32_t value = block[at] + 256 * block[at + 1];
    return value < 32768 ? value : value - 65536;
}

int32_t Limit(int64_t value) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, -32768, 32767));
}

Channel ImaSamples(int32_t first, int32_t index, const Channel& codes) {
    static const int32_t steps[89] = {
        7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
        31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
        130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
        544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
        2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
        9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
    Channel samples{first};
    for (const int32_t code : codes) {
        index = std::clamp(index, 0, 88);
        const int32_t step = steps[index];
        int32_t delta = (step * (code % 8)) / 4 + step / 8;
        if (code >= 8) delta = -delta;
        samples.push_back(Limit(samples.back() + delta));
        index += code % 8 < 4 ? -1 : 2 * (code % 8 - 3);
    }
    return samples;
}

// The codes of one channel: every `channels`-th group of four bytes.
Channel ImaCodes(const ReferenceCoding& coding, const Bytes& block, int32_t channel) {
    const int32_t bits = coding.encoding == encodingCAdpcm ? 2 : 4;
    const auto channels = static_cast<size_t>(coding.channels);
    Channel codes;
    for (size_t at = 4 * channels; at < block.size(); ++at) {
        const size_t group = (at - 4 * channels) / 4;
        if (static_cast<int32_t>(group % channels) != channel) continue;
        for (int32_t shift = 0; shift < 8; shift += bits)
            codes.push_back(bits == 4 ? block[at] >> shift & 15 : (block[at] >> shift & 3) * 4);
    }
    return codes;
}

Channels ImaBlock(const ReferenceCoding& coding, const Bytes& block) {
    Channels samples;
    for (int32_t channel = 0; channel < coding.channels; ++channel) {
        const auto at = static_cast<size_t>(4 * channel);
        Channel codes = ImaCodes(coding, block, channel);
        codes.resize(static_cast<size_t>(ReferenceFramesPerBlock(coding)) - 1, 0);
        samples.push_back(ImaSamples(Signed16(block, at), block[at + 2] + 256 * block[at + 3], codes));
    }
    return samples;
}

Channel MsSamples(int32_t sample1, int32_t sample2, int64_t delta, int32_t coefficient1, int32_t coefficient2,
                  const Channel& codes) {
    static const int32_t adaptation[16] = {230, 230, 230, 230, 307, 409, 512, 614,
                                           768, 614, 512, 409, 307, 230, 230, 230};
    Channel samples{sample2, sample1};
    for (const int32_t code : codes) {
        const size_t n = samples.size();
        const double weighted = static_cast<double>(samples[n - 1]) * coefficient1 +
                                static_cast<double>(samples[n - 2]) * coefficient2;
        const auto prediction = static_cast<int64_t>(std::trunc(weighted / 256));
        samples.push_back(Limit(prediction + (code < 8 ? code : code - 16) * delta));
        delta = std::clamp<int64_t>(adaptation[code] * delta / 256, 16, 2796202);
    }
    return samples;
}

Channels MsBlock(const ReferenceCoding& coding, const Bytes& block) {
    const auto channels = static_cast<size_t>(coding.channels);
    Channels codes(channels);
    size_t place = 0;
    for (size_t at = 7 * channels; at < block.size(); ++at)
        for (const int32_t nibble : {block[at] >> 4, block[at] & 15})
            codes[place++ % channels].push_back(nibble);
    Channels samples;
    for (size_t i = 0; i < channels; ++i) {
        if (block[i] > 6) return Channels(channels, Channel(block.size() * 2, 0));
        samples.push_back(MsSamples(Signed16(block, channels * 3 + 2 * i),
                                    Signed16(block, channels * 5 + 2 * i), Signed16(block, channels + 2 * i),
                                    coding.coefficients[2u * block[i]],
                                    coding.coefficients[2u * block[i] + 1], codes[i]));
    }
    return samples;
}

}  // namespace

int32_t ReferenceFramesPerBlock(const ReferenceCoding& coding) {
    const int32_t bytes = coding.blockAlign / coding.channels;
    switch (coding.encoding) {
        case encodingMsAdpcm:
            return bytes * 2 - 12;
        case encodingImaAdpcm:
            return bytes * 2 - 7;
        default:
            return bytes * 4 - 15;
    }
}

std::vector<double> ReferenceDecode(const ReferenceCoding& coding, const Bytes& stream) {
    std::vector<double> interleaved;
    for (auto at = stream.begin(); stream.end() - at >= coding.blockAlign; at += coding.blockAlign) {
        const Bytes block(at, at + coding.blockAlign);
        const Channels samples =
            coding.encoding == encodingMsAdpcm ? MsBlock(coding, block) : ImaBlock(coding, block);
        for (size_t frame = 0; frame < static_cast<size_t>(ReferenceFramesPerBlock(coding)); ++frame)
            for (const Channel& channel : samples)
                interleaved.push_back(channel[frame] / 32768.0);
    }
    return interleaved;
}

}  // namespace vantor::test
