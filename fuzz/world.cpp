#include "fuzz/world.h"

#include <algorithm>
#include <array>

namespace vantor::fuzz {

namespace {

constexpr std::array readModes = {
    ReadParameters{1, 8192, 3}, ReadParameters{0, 8192, 1},  ReadParameters{-1, 8192, 2},
    ReadParameters{2, 8192, 1}, ReadParameters{2, 16384, 2}, ReadParameters{0, 0, 0},
};
ReadParameters readMode;

void PreferredReadMode(int32_t* mode, int32_t* blocks, int32_t* blockBytes) {
    *mode = readMode.mode;
    *blocks = readMode.blockCount;
    *blockBytes = readMode.blockBytes;
}

}  // namespace

uint8_t Choices::Byte() {
    if (left_.empty()) return 0;
    const uint8_t byte = left_.back();
    left_ = left_.first(left_.size() - 1);
    return byte;
}

World::World(Input input, Choices& choices) : scope_(files) {
    readMode = readModes[static_cast<size_t>(choices.OneOf(readModes.size()))];
    files.Put(fileName, {input.begin(), input.end()});
    host.hasStoredPeaks = false;
    Services().preferredReadMode = PreferredReadMode;
    Services().resolveFileName = nullptr;
}

std::vector<double> ReadFramesAt(PCM_source& source, double frame, int32_t frames, int32_t channels,
                                 int32_t blockFrames) {
    const double rate = source.SampleRate();
    std::vector<double> all;
    double absoluteSeconds = notContinuation;
    for (int32_t done = 0; done < frames; absoluteSeconds = 0) {
        const int32_t wanted = std::min(blockFrames, frames - done);
        // Exactly as large as the request, so that one sample too many is seen.
        std::vector<double> block(static_cast<size_t>(wanted) * static_cast<size_t>(channels));
        TransferBlock request{(frame + done) / rate, rate, channels, wanted,
                              block.data(),          -1,   0,        absoluteSeconds};
        source.ReadSamples(&request);
        Require(request.framesProduced >= 0 && request.framesProduced <= wanted, "frames produced");
        all.insert(all.end(), block.begin(),
                   block.begin() + static_cast<std::ptrdiff_t>(request.framesProduced) * channels);
        if (request.framesProduced < wanted) break;
        done += wanted;
    }
    return all;
}

}  // namespace vantor::fuzz
