// Delivers the frames of an ADPCM stream block by block. A block is taken whole, or several where they
// are decoded together, and decoded only as far as its frames are asked for. Every block delivers the same
// number of frames, so that a frame's place does not depend on where decoding began: a block that names an
// unknown predictor is silent, and where a last round is short of bytes the missing codes count as zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "decode/adpcm.h"
#include "decode/sample_conversion.h"

namespace vantor {

struct AudioFormat;

class AdpcmDecoder {
  public:
    AdpcmDecoder();

    // Takes over the format's coding. An equal one keeps what is decoded; another one starts afresh: then
    // true.
    bool Configure(const AudioFormat& format);
    // False when a block cannot hold its own header: nothing can be decoded then.
    [[nodiscard]] bool CanDecode() const { return coding_.framesPerBlock > 0; }
    [[nodiscard]] const AdpcmCoding& Coding() const { return coding_; }
    // Forgets the current block.
    void Reset();

    // How many blocks a reader that goes on in order had best take at a time.
    [[nodiscard]] int64_t PreferredBlocks() const { return static_cast<int64_t>(blocks_.size()); }
    // Starts on `count` new blocks, 1 to PreferredBlocks, of coding.blockAlign bytes, which are copied.
    void TakeBlocks(const uint8_t* blocks, int64_t count);
    // Frames of the blocks taken that have not been delivered.
    [[nodiscard]] int64_t Remaining() const { return taken_ * coding_.framesPerBlock - position_; }
    // Passes over up to `frames` frames; returns how many.
    int64_t Skip(int64_t frames);
    // Delivers up to `frames` frames, of one block, as interleaved samples; returns how many.
    int64_t Deliver(double* samples, int64_t frames);

  private:
    struct Block {
        std::vector<AdpcmChannel> channels;
        std::vector<uint8_t> bytes;    // with zeros up to the end of the last round
        std::vector<int16_t> decoded;  // interleaved, of the whole block
        int64_t decodedFrames = 0;
    };

    static void Allocate(Block& block, const AdpcmCoding& coding);
    void Start(Block& block, const uint8_t* bytes) const;
    void DecodeUpTo(size_t index, int64_t frame);
    [[nodiscard]] AdpcmRun NextRun(Block& block) const;

    ConvertSamples convert_;
    AdpcmCoding coding_;
    std::vector<Block> blocks_;
    int64_t taken_ = 0;     // blocks
    int64_t position_ = 0;  // frame to deliver next, counted from the first block's start
};

}  // namespace vantor
