// Reads all of the sound: is there anything to hear, and does it stay at full scale?
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <string>

#include "fileio/byte_order.h"
#include "wavehost/care/examine.h"
#include "wavehost/care/fields.h"

namespace vantor::wavehost {

namespace {

// Fewer samples in a row at full scale are a peak that reaches it.
constexpr int clippedRun = 4;

// One sample as a part of full scale. Only linear encodings have one; `decode` null: none.
using Decode = double (*)(const uint8_t* bytes);

template <int width, bool big>
int64_t Integer(const uint8_t* bytes) {
    uint64_t value = 0;
    for (int i = 0; i < width; ++i)
        value |= uint64_t{bytes[big ? width - 1 - i : i]} << (8 * i);
    const int unused = 64 - 8 * width;
    return static_cast<int64_t>(value << unused) >> unused;
}

// Full scale is the largest number: the smallest one is reached as well.
template <int width, bool big>
double IntegerLevel(const uint8_t* bytes) {
    constexpr double most = static_cast<double>((int64_t{1} << (8 * width - 1)) - 1);
    return static_cast<double>(Integer<width, big>(bytes)) / most;
}

double UnsignedLevel(const uint8_t* bytes) {
    return (bytes[0] - 128) / 127.0;
}

template <bool big>
double FloatLevel(const uint8_t* bytes) {
    return std::bit_cast<float>(big ? ReadBe32(bytes) : ReadLe32(bytes));
}

template <bool big>
double DoubleLevel(const uint8_t* bytes) {
    return std::bit_cast<double>(big ? ReadBe64(bytes) : ReadLe64(bytes));
}

template <bool big>
Decode DecodeFor(const AudioFormat& format) {
    if (format.encoding == encodingFloat)
        return format.bitsPerSample == 32 ? FloatLevel<big> : DoubleLevel<big>;
    const bool isUnsigned = format.fileKind != kindIff && format.fileKind != kindCaf;
    switch (format.bitsPerSample) {
        case 8:
            return isUnsigned ? UnsignedLevel : IntegerLevel<1, big>;
        case 16:
            return IntegerLevel<2, big>;
        case 24:
            return IntegerLevel<3, big>;
        case 32:
            return IntegerLevel<4, big>;
        default:
            return nullptr;
    }
}

Decode DecodeOf(const AudioFormat& format) {
    if (format.encoding != encodingInteger && format.encoding != encodingFloat) return nullptr;
    return format.bigEndian ? DecodeFor<true>(format) : DecodeFor<false>(format);
}

struct Levels {
    double peak = 0;
    int64_t clippedSamples = 0;
    int64_t firstClipped = -1;  // frame
    std::vector<int> runs;      // of a channel, at full scale by now
};

void TakeFrame(const uint8_t* frame, int64_t number, Decode decode, int sampleBytes, Levels& levels) {
    for (size_t channel = 0; channel < levels.runs.size(); ++channel) {
        const double level = std::abs(decode(frame + static_cast<int64_t>(channel) * sampleBytes));
        levels.peak = std::max(levels.peak, level);
        int& run = levels.runs[channel];
        run = level >= 1.0 ? run + 1 : 0;
        if (run < clippedRun) continue;
        levels.clippedSamples += run == clippedRun ? clippedRun : 1;
        if (levels.firstClipped < 0) levels.firstClipped = number - clippedRun + 1;
    }
}

Levels Measure(Examination& e, Decode decode, int64_t frameBytes) {
    const AudioFormat& format = e.survey.format;
    Levels levels{.runs = std::vector<int>(static_cast<size_t>(format.channels))};
    std::vector<uint8_t> block(
        static_cast<size_t>(std::max<int64_t>((1 << 18) / frameBytes, 1) * frameBytes));
    int64_t frame = 0;
    for (int64_t position = e.survey.sound->start; position + frameBytes <= e.survey.sound->end;) {
        const int64_t wanted =
            std::min<int64_t>(static_cast<int64_t>(block.size()), e.survey.sound->end - position);
        e.reader.Seek(position);
        const int64_t frames = e.reader.Read(block.data(), wanted) / frameBytes;
        if (frames == 0) break;
        for (int64_t i = 0; i < frames; ++i)
            TakeFrame(&block[static_cast<size_t>(i * frameBytes)], frame++, decode,
                      WholeBytes(format.bitsPerSample), levels);
        position += frames * frameBytes;
    }
    return levels;
}

}  // namespace

void CheckLevels(Examination& e) {
    const int64_t frameBytes = e.survey.FrameBytes();
    const Decode decode = DecodeOf(e.survey.format);
    if (!e.survey.sound || !decode || frameBytes < 1 || e.survey.sound->Bytes() < frameBytes) return;
    const Levels levels = Measure(e, decode, frameBytes);
    const SurveyedChunk& chunk = e.survey.SoundChunk();
    if (levels.peak == 0) e.Add({FindingId::silent, chunk.id, chunk.start, "every sample is silent"});
    if (levels.clippedSamples > 0)
        e.Add({FindingId::clipped, chunk.id, e.survey.sound->start + levels.firstClipped * frameBytes,
               Count(levels.clippedSamples, "sample") + " in runs at full scale, the first at frame " +
                   std::to_string(levels.firstClipped)});
}

}  // namespace vantor::wavehost
