#include "wavehost/edits/same_audio.h"

#include <algorithm>
#include <cstdint>

namespace vantor::wavehost {

namespace {

std::vector<double> NextSamples(PCM_source& source, const AudioShape& shape, int64_t startFrame) {
    constexpr int32_t samplesARead = 1 << 18;
    const int32_t blockFrames = std::max(samplesARead / shape.channels, 1);
    std::vector<double> samples(static_cast<size_t>(blockFrames) * static_cast<size_t>(shape.channels));
    TransferBlock block{};
    block.startSeconds = static_cast<double>(startFrame) / shape.sampleRate;
    block.sampleRate = shape.sampleRate;
    block.channels = shape.channels;
    block.frames = blockFrames;
    block.samples = samples.data();
    source.ReadSamples(&block);
    samples.resize(static_cast<size_t>(block.framesProduced) * static_cast<size_t>(shape.channels));
    return samples;
}

}  // namespace

AudioShape ShapeOf(PCM_source& source) {
    return {source.ChannelCount(), source.SampleRate(), source.LengthSeconds()};
}

bool IsSameAudio(const Module& module, const fs::path& left, const fs::path& right) {
    const HostPtr<PCM_source> leftSource = OpenSource(module, TextOf(left));
    const HostPtr<PCM_source> rightSource = OpenSource(module, TextOf(right));
    const auto shape = ShapeOf(*leftSource.Get());
    if (!(ShapeOf(*rightSource.Get()) == shape)) return false;
    for (int64_t frame = 0;;) {
        const auto samples = NextSamples(*leftSource.Get(), shape, frame);
        if (samples != NextSamples(*rightSource.Get(), shape, frame)) return false;
        if (samples.empty()) return true;
        frame += std::ssize(samples) / shape.channels;
    }
}

}  // namespace vantor::wavehost
