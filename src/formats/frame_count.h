// How many frames of audio a file holds.
#pragma once

#include <cstdint>

#include "formats/container_walk.h"

namespace vantor {

// Bits 32 to 43 of a file's size: what the 32-bit count in a larger file has lost.
constexpr int64_t LostSizeBits(int64_t fileSize) {
    return fileSize & 0xFFF00000000;
}

struct FrameCount {
    int64_t frames = 0;
    bool cut = false;  // to what the file holds by now
};

// From what the walk found; never more than the file holds, never negative. format.fileSize and
// format.dataStart are set.
[[nodiscard]] FrameCount CountFrames(const ContainerWalk& walk);

// Frames of a block-coded stream: the samples in the block headers are counted once a stream, not once a
// block.
[[nodiscard]] int64_t AdpcmFrames(const AudioFormat& format, int64_t bytes);

}  // namespace vantor
