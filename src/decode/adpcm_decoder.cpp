#include "decode/adpcm_decoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>

#include "formats/audio_format.h"

namespace vantor {

namespace {

// Decoded samples are 16-bit samples in the processor's own byte order.
ConvertSamples DecodedConverter() {
    constexpr bool bigEndian = std::endian::native == std::endian::big;
    return ConverterFor({.encoding = encodingInteger, .bitsPerSample = 16, .bigEndian = bigEndian});
}

int64_t RoundsPerBlock(const AdpcmCoding& coding) {
    return (coding.framesPerBlock - coding.headerFrames + coding.roundFrames - 1) / coding.roundFrames;
}

}  // namespace

AdpcmDecoder::AdpcmDecoder() : convert_(DecodedConverter()) {}

bool AdpcmDecoder::Configure(const AudioFormat& format) {
    const AdpcmCoding coding = CodingOf(format);
    if (coding == coding_) return false;
    coding_ = AdpcmCoding{};  // nothing decodes until the memory is there
    Reset();
    if (coding.framesPerBlock > 0) {
        blocks_.resize(BlocksTogether(coding));
        for (Block& block : blocks_)
            Allocate(block, coding);
    }
    coding_ = coding;
    return true;
}

void AdpcmDecoder::Allocate(Block& block, const AdpcmCoding& coding) {
    const int64_t rounds = RoundsPerBlock(coding);
    const int64_t frames = coding.headerFrames + rounds * coding.roundFrames;
    const int64_t bytes = coding.headerBytes + rounds * coding.roundBytes;
    block.channels.assign(static_cast<size_t>(coding.channels), {});
    block.bytes.assign(static_cast<size_t>(std::max<int64_t>(bytes, coding.blockAlign)), 0);
    block.decoded.assign(static_cast<size_t>(frames * coding.channels), 0);
}

void AdpcmDecoder::Reset() {
    taken_ = position_ = 0;
}

void AdpcmDecoder::TakeBlocks(const uint8_t* blocks, int64_t count) {
    for (int64_t i = 0; i < count; ++i)
        Start(blocks_[static_cast<size_t>(i)], blocks + i * coding_.blockAlign);
    taken_ = count;
    position_ = 0;
}

void AdpcmDecoder::Start(Block& block, const uint8_t* bytes) const {
    std::memcpy(block.bytes.data(), bytes, static_cast<size_t>(coding_.blockAlign));
    if (DecodeHeader(coding_, bytes, block.channels.data(), block.decoded.data())) {
        block.decodedFrames = coding_.headerFrames;
    } else {
        std::fill(block.decoded.begin(), block.decoded.end(), int16_t{0});
        block.decodedFrames = coding_.framesPerBlock;
    }
}

// Where the decoding of a block goes on.
AdpcmRun AdpcmDecoder::NextRun(Block& block) const {
    const int64_t doneRounds = (block.decodedFrames - coding_.headerFrames) / coding_.roundFrames;
    return {block.bytes.data() + coding_.headerBytes + doneRounds * coding_.roundBytes, block.channels.data(),
            block.decoded.data() + block.decodedFrames * coding_.channels};
}

// The blocks behind are decoded along with this one, as far as they have come equally far.
void AdpcmDecoder::DecodeUpTo(size_t index, int64_t frame) {
    const int64_t from = blocks_[index].decodedFrames;
    if (frame <= from) return;
    const int64_t rounds = (frame - from + coding_.roundFrames - 1) / coding_.roundFrames;
    std::array<AdpcmRun, maxRunsTogether> runs;
    size_t count = 0;
    for (; index < static_cast<size_t>(taken_); ++index) {
        Block& block = blocks_[index];
        if (block.decodedFrames != from) continue;
        runs[count++] = NextRun(block);
        block.decodedFrames += rounds * coding_.roundFrames;
    }
    DecodeRounds(coding_, std::span(runs).first(count), rounds);
}

int64_t AdpcmDecoder::Skip(int64_t frames) {
    const int64_t count = std::clamp<int64_t>(frames, 0, Remaining());
    position_ += count;
    return count;
}

int64_t AdpcmDecoder::Deliver(double* samples, int64_t frames) {
    if (Remaining() == 0) return 0;
    const int64_t index = position_ / coding_.framesPerBlock;
    const int64_t start = position_ % coding_.framesPerBlock;
    const int64_t count = std::clamp<int64_t>(frames, 0, coding_.framesPerBlock - start);
    DecodeUpTo(static_cast<size_t>(index), start + count);
    const int16_t* const from = blocks_[static_cast<size_t>(index)].decoded.data() + start * coding_.channels;
    convert_(reinterpret_cast<const uint8_t*>(from), samples, count * coding_.channels);
    position_ += count;
    return count;
}

}  // namespace vantor
