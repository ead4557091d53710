// Read-ahead where the system holds files in a page cache: the blocks that lie ahead are the system's, which
// is told of them, and the bytes pass through one small window.
#pragma once

#include <memory>

#include "fileio/read_strategy.h"

namespace vantor {

class WindowReader final : public ReadStrategy {
  public:
    // The file tells that it IsCached. While reading goes on in order, `blockCount` blocks of `blockBytes`
    // are announced ahead of it.
    WindowReader(ReadState& state, int64_t blockBytes, int64_t blockCount);

    int64_t Read(uint8_t* destination, int64_t count) override;
    const uint8_t* Lend(int64_t count) override;
    void MoveTo(int64_t position) override;
    void ReleaseBuffers() override;

  private:
    bool Fill(int64_t wanted);
    int64_t NextStep();
    int64_t Fetch(uint8_t* destination, int64_t offset, int64_t count);
    void Announce(int64_t from);
    void Discard();
    [[nodiscard]] int64_t Left() const { return held_ - consumed_; }
    const uint8_t* Advance(int64_t count);

    ReadState& state_;
    int64_t blockBytes_;
    int64_t aheadBytes_;
    int64_t phaseBytes_;                 // by which the first whole window is shortened
    std::unique_ptr<uint8_t[]> window_;  // allocated by the first read
    int64_t held_ = 0;                   // valid bytes in the window
    int64_t consumed_ = 0;               // of these, already delivered
    int64_t step_ = 0;                   // bytes fetched at a time; 0 after a jump
    int64_t announced_ = 0;              // file offset up to which the system was told; 0 nothing
};

}  // namespace vantor
