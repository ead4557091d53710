#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "source/source_entry.h"
#include "tests/interop/decoded_file.h"

namespace vantor::test {

namespace {

bool ReadBlock(PCM_source& source, DecodedFile& file, int blockFrames) {
    const auto before = file.samples.size();
    file.samples.resize(before + static_cast<size_t>(blockFrames) * static_cast<size_t>(file.channels));
    TransferBlock block{};
    block.startSeconds = static_cast<double>(before / static_cast<size_t>(file.channels)) / file.sampleRate;
    block.sampleRate = file.sampleRate;
    block.channels = file.channels;
    block.frames = blockFrames;
    block.samples = file.samples.data() + before;
    source.ReadSamples(&block);
    file.samples.resize(before +
                        static_cast<size_t>(block.framesProduced) * static_cast<size_t>(file.channels));
    return block.framesProduced == blockFrames;
}

}  // namespace

DecodedFile DecodeByModule(const std::string& path, int blockFrames) {
    DecodedFile file;
    bool isMpegInWave = false;
    const HostPtr<PCM_source> source(CreateWaveSource(path.c_str(), &isMpegInWave));
    if (!source || !source->IsOnline()) return file;
    file.opened = true;
    file.channels = source->ChannelCount();
    file.sampleRate = source->SampleRate();
    file.bitDepth = source->BitDepth();
    while (ReadBlock(*source.Get(), file, blockFrames)) {
    }
    return file;
}

DecodedFile DecodeByLibsndfile(const std::string& path) {
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> handle(sf_open(path.c_str(), SFM_READ, &info),
                                                               &sf_close);
    if (!handle) return {};
    DecodedFile file{true, info.channels, static_cast<double>(info.samplerate), 0, {}};
    file.samples.resize(static_cast<size_t>(info.frames) * static_cast<size_t>(info.channels));
    const auto frames = sf_readf_double(handle.get(), file.samples.data(), info.frames);
    file.samples.resize(static_cast<size_t>(frames) * static_cast<size_t>(info.channels));
    return file;
}

double RmsDifference(const DecodedFile& left, const DecodedFile& right) {
    const auto count = std::min(left.samples.size(), right.samples.size());
    double sum = 0;
    for (size_t i = 0; i < count; ++i)
        sum += (left.samples[i] - right.samples[i]) * (left.samples[i] - right.samples[i]);
    return count ? std::sqrt(sum / static_cast<double>(count)) : 0;
}

}  // namespace vantor::test
