// Delivers the frames of an ADPCM stream block by block. A block is taken whole and decoded only as far as
// its frames are asked for. Every block delivers the same number of frames, so that a frame's place does not
// depend on where decoding began: a block that names an unknown predictor is silent, and where a last round
// is short of bytes the missing codes count as zero.
#pragma once

#include <cstdint>
#include <vector>

#include "decode/adpcm.h"

namespace vantor {

struct AudioFormat;

class AdpcmDecoder {
  public:
    // Takes over the format's coding. An equal one keeps what is decoded; another one starts afresh: then
    // true.
    bool Configure(const AudioFormat& format);
    // False when a block cannot hold its own header: nothing can be decoded then.
    [[nodiscard]] bool CanDecode() const { return coding_.framesPerBlock > 0; }
    [[nodiscard]] const AdpcmCoding& Coding() const { return coding_; }
    // Forgets the current block.
    void Reset();

    // Starts on a new block of coding.blockAlign bytes, which are copied.
    void TakeBlock(const uint8_t* block);
    // Frames of the current block that have not been delivered.
    [[nodiscard]] int64_t Remaining() const { return endFrame_ - position_; }
    // Passes over up to `frames` frames of the current block; returns how many.
    int64_t Skip(int64_t frames);
    // Delivers up to `frames` frames of the current block as interleaved samples; returns how many.
    int64_t Deliver(double* samples, int64_t frames);

  private:
    void DecodeUpTo(int64_t frame);

    AdpcmCoding coding_;
    std::vector<AdpcmChannel> channels_;
    std::vector<uint8_t> block_;    // with zeros up to the end of its last round
    std::vector<int16_t> decoded_;  // interleaved, of the whole block
    int64_t position_ = 0;          // frame of the block to deliver next
    int64_t endFrame_ = 0;          // frames that the block delivers; 0 without a block
    int64_t decodedFrames_ = 0;
};

}  // namespace vantor
