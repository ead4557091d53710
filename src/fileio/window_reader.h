// Reading in order where the system holds files in a page cache: what is read ahead is the system's, which is
// told of the order, and the bytes pass through one small window.
#pragma once

#include <memory>

#include "fileio/read_strategy.h"

namespace vantor {

class WindowReader final : public ReadStrategy {
  public:
    explicit WindowReader(ReadState& state);  // the file tells that it IsCached

    int64_t Read(uint8_t* destination, int64_t count) override;
    const uint8_t* Lend(int64_t count) override;
    [[nodiscard]] int64_t Held() const override { return Left(); }
    void MoveTo(int64_t position) override;
    void ReleaseBuffers() override;

  private:
    bool Fill(int64_t wanted);
    bool MakeRoom(int64_t bytes);
    int64_t NextStep();
    int64_t Fetch(uint8_t* destination, int64_t offset, int64_t count);
    void Discard();
    [[nodiscard]] int64_t Left() const { return held_ - consumed_; }
    const uint8_t* Advance(int64_t count);

    ReadState& state_;
    int64_t phaseBytes_ = 0;             // by which the first whole window is shortened
    std::unique_ptr<uint8_t[]> memory_;  // allocated by the first read
    uint8_t* window_ = nullptr;          // in it
    int64_t roomBytes_ = 0;              // in the window
    int64_t held_ = 0;                   // valid bytes in the window
    int64_t consumed_ = 0;               // of these, already delivered
    int64_t step_ = 0;                   // bytes fetched at a time; 0 after a jump
    bool expectsOrder_ = false;          // the system was told
};

}  // namespace vantor
