#include "decode/adpcm_decoder.h"

#include <algorithm>
#include <cstring>

#include "decode/sample_conversion.h"
#include "formats/audio_format.h"

namespace vantor {

namespace {

constexpr double sampleScale = 1.0 / 32768;

int64_t RoundsPerBlock(const AdpcmCoding& coding) {
    return (coding.framesPerBlock - coding.headerFrames + coding.roundFrames - 1) / coding.roundFrames;
}

}  // namespace

bool AdpcmDecoder::Configure(const AudioFormat& format) {
    const AdpcmCoding coding = CodingOf(format);
    if (coding == coding_) return false;
    coding_ = AdpcmCoding{};  // nothing decodes until the memory is there
    Reset();
    if (coding.framesPerBlock > 0) {
        const int64_t rounds = RoundsPerBlock(coding);
        const int64_t frames = coding.headerFrames + rounds * coding.roundFrames;
        const int64_t bytes = coding.headerBytes + rounds * coding.roundBytes;
        channels_.assign(static_cast<size_t>(coding.channels), {});
        block_.assign(static_cast<size_t>(std::max<int64_t>(bytes, coding.blockAlign)), 0);
        decoded_.assign(static_cast<size_t>(frames * coding.channels), 0);
    }
    coding_ = coding;
    return true;
}

void AdpcmDecoder::Reset() {
    std::fill(channels_.begin(), channels_.end(), AdpcmChannel{});
    position_ = endFrame_ = decodedFrames_ = 0;
}

void AdpcmDecoder::TakeBlock(const uint8_t* block) {
    std::memcpy(block_.data(), block, static_cast<size_t>(coding_.blockAlign));
    position_ = 0;
    endFrame_ = coding_.framesPerBlock;
    if (DecodeHeader(coding_, block_.data(), channels_.data(), decoded_.data())) {
        decodedFrames_ = coding_.headerFrames;
    } else {
        std::fill(decoded_.begin(), decoded_.end(), int16_t{0});
        decodedFrames_ = endFrame_;
    }
}

void AdpcmDecoder::DecodeUpTo(int64_t frame) {
    if (frame <= decodedFrames_) return;
    const int64_t doneRounds = (decodedFrames_ - coding_.headerFrames) / coding_.roundFrames;
    const int64_t rounds = (frame - decodedFrames_ + coding_.roundFrames - 1) / coding_.roundFrames;
    DecodeRounds(coding_, block_.data() + coding_.headerBytes + doneRounds * coding_.roundBytes, rounds,
                 channels_.data(), decoded_.data() + decodedFrames_ * coding_.channels);
    decodedFrames_ += rounds * coding_.roundFrames;
}

int64_t AdpcmDecoder::Skip(int64_t frames) {
    const int64_t count = std::clamp<int64_t>(frames, 0, Remaining());
    position_ += count;
    return count;
}

int64_t AdpcmDecoder::Deliver(double* samples, int64_t frames) {
    const int64_t count = std::clamp<int64_t>(frames, 0, Remaining());
    DecodeUpTo(position_ + count);
    const int16_t* const from = decoded_.data() + position_ * coding_.channels;
    for (int64_t i = 0; i < count * coding_.channels; ++i)
        samples[i] = from[i] * sampleScale;
    position_ += count;
    return count;
}

}  // namespace vantor
