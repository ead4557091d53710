#include "formats/frame_count.h"

#include <algorithm>
#include <limits>

#include "formats/adpcm_shape.h"

namespace vantor {

namespace {

constexpr int64_t mostBytes = std::numeric_limits<int64_t>::max() / 16;  // times 8 is still a number

FrameCount Cut(int64_t claimed, int64_t present) {
    return {std::min(claimed, present), present < claimed};
}

FrameCount CountAdpcm(const ContainerWalk& walk, int64_t available) {
    FrameCount count = Cut(walk.dataBytes, available);
    count.frames = AdpcmFrames(walk.format, count.frames);
    const bool hasFact = walk.format.fileKind != kindWave64 && walk.factFrames > 0;
    if (hasFact) count.frames = std::min(count.frames, walk.factFrames);
    return count;
}

FrameCount CountIff(const ContainerWalk& walk, int64_t frameBytes, int64_t available) {
    return Cut(walk.declaredFrames, available / frameBytes);
}

FrameCount CountCaf(const ContainerWalk& walk, int64_t available) {
    const int32_t packetBytes = walk.format.blockAlign;
    return Cut(walk.dataBytes / packetBytes, available / packetBytes);
}

FrameCount CountWave(const ContainerWalk& walk, int64_t frameBytes, int64_t available) {
    int64_t claimed = std::min(walk.dataBytes, mostBytes);
    if (walk.format.fileKind == kindWave) claimed += LostSizeBits(walk.format.fileSize);
    return Cut(claimed / frameBytes, available / frameBytes);
}

FrameCount Count(const ContainerWalk& walk, int64_t frameBytes, int64_t available) {
    switch (walk.format.fileKind) {
        case kindIff:
            return CountIff(walk, frameBytes, available);
        case kindCaf:
            return CountCaf(walk, available);
        default:
            return IsAdpcm(walk.format.encoding) ? CountAdpcm(walk, available)
                                                 : CountWave(walk, frameBytes, available);
    }
}

}  // namespace

int64_t AdpcmFrames(const AudioFormat& format, int64_t bytes) {
    const auto* shape = FindAdpcmShape(format.encoding);
    if (!shape || format.blockAlign < 1 || format.channels < 1) return 0;
    const int64_t headerBytes = shape->headerBytes * int64_t{format.channels};
    if (bytes < 1 || bytes > mostBytes / headerBytes) return 0;
    const int64_t blocks = (bytes - 1) / format.blockAlign + 1;
    const bool ownBits = format.encoding == encodingCAdpcm && format.bitsPerSample > 0;
    const int64_t frameBits = (ownBits ? format.bitsPerSample : 4) * int64_t{format.channels};
    return std::max<int64_t>((bytes - headerBytes * blocks) * 8 / frameBits + shape->headerFrames, 0);
}

FrameCount CountFrames(const ContainerWalk& walk) {
    const AudioFormat& format = walk.format;
    const int64_t frameBytes = int64_t{WholeBytes(format.bitsPerSample)} * format.channels;
    // A later format chunk that was refused may have left anything.
    if (frameBytes < 1 || format.blockAlign < 1) return {};
    FrameCount count = Count(walk, frameBytes, std::max<int64_t>(format.fileSize - format.dataStart, 0));
    count.cut |= walk.openEnded;
    return count;
}

}  // namespace vantor
