#include "wavehost/report/waveform.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "wavehost/os/interruption.h"

namespace vantor::wavehost {

namespace {

constexpr int64_t blockFrames = 16384;

// Adds the frames from `start` on to the column.
void Look(PCM_source& source, int64_t start, int64_t frames, std::vector<double>& samples,
          WaveformColumn& column) {
    TransferBlock block{};
    block.sampleRate = source.SampleRate();
    block.startSeconds = static_cast<double>(start) / block.sampleRate;
    block.channels = source.ChannelCount();
    block.frames = static_cast<int32_t>(frames);
    samples.resize(static_cast<size_t>(frames) * static_cast<size_t>(block.channels));
    block.samples = samples.data();
    block.absoluteSeconds = block.startSeconds;
    source.ReadSamples(&block);
    const auto count = static_cast<ptrdiff_t>(block.framesProduced) * block.channels;
    for (const double* sample = block.samples; sample < block.samples + count; ++sample) {
        column.least = std::min(column.least, *sample);
        column.most = std::max(column.most, *sample);
    }
}

WaveformColumn ColumnOf(PCM_source& source, int64_t start, int64_t end, std::vector<double>& samples) {
    WaveformColumn column;
    for (int64_t at = start; at < end; at += blockFrames) {
        CheckInterruption();
        Look(source, at, std::min(blockFrames, end - at), samples, column);
    }
    return column;
}

int RowOf(double level) {
    const double half = waveformHeight / 2.0;
    return static_cast<int>(std::lround(half - std::clamp(level, -1.0, 1.0) * half));
}

}  // namespace

Waveform WaveformOf(PCM_source& source) {
    const int64_t length = std::llround(source.LengthSeconds() * source.SampleRate());
    Waveform waveform;
    if (length < 1 || source.ChannelCount() < 1) return waveform;
    std::vector<double> samples;
    for (int64_t i = 0; i < waveformColumns; ++i) {
        const int64_t start = length * i / waveformColumns, end = length * (i + 1) / waveformColumns;
        waveform.push_back(ColumnOf(source, start, std::max(end, start + 1), samples));
    }
    return waveform;
}

std::string WaveformPath(const Waveform& waveform) {
    std::string path;
    for (size_t i = 0; i < waveform.size(); ++i) {
        const int top = RowOf(waveform[i].most), bottom = std::max(RowOf(waveform[i].least), top + 1);
        path += "M" + std::to_string(i) + " " + std::to_string(top) + "V" + std::to_string(bottom);
    }
    return path;
}

}  // namespace vantor::wavehost
