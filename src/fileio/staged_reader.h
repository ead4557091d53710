// The synchronous ways of reading: through one staging buffer, straight from the file, and from memory.
#pragma once

#include <utility>

#include "fileio/aligned_buffer.h"
#include "fileio/read_strategy.h"

namespace vantor {

class StagedReader final : public ReadStrategy {
  public:
    // `bufferBytes` is a multiple of 8192; `wholeSectors`: every request is made of whole sectors.
    StagedReader(ReadState& state, int64_t bufferBytes, bool wholeSectors)
        : state_(state), bufferBytes_(bufferBytes), wholeSectors_(wholeSectors) {}

    int64_t Read(uint8_t* destination, int64_t count) override;
    const uint8_t* Lend(int64_t count) override;
    [[nodiscard]] int64_t Held() const override { return Left(); }
    void MoveTo(int64_t position) override;
    void ReleaseBuffers() override;

  private:
    bool Refill();
    int64_t RefillBytes();
    [[nodiscard]] int64_t FilePointer() const;
    void Discard();
    [[nodiscard]] int64_t Left() const { return staged_ - consumed_; }
    const uint8_t* Advance(int64_t count);

    ReadState& state_;
    int64_t bufferBytes_;
    bool wholeSectors_;
    AlignedBuffer buffer_;  // allocated by the first refill
    int64_t staged_ = 0;    // valid bytes in the buffer
    int64_t consumed_ = 0;  // of these, already delivered
    bool firstRead_ = true;
    bool isPlaced_ = true;  // the file pointer stands where the staged bytes end
};

class DirectReader final : public ReadStrategy {
  public:
    explicit DirectReader(ReadState& state) : state_(state) {}

    int64_t Read(uint8_t* destination, int64_t count) override;
    const uint8_t* Lend(int64_t) override { return nullptr; }
    void MoveTo(int64_t position) override;
    void ReleaseBuffers() override {}

  private:
    ReadState& state_;
    bool isPlaced_ = true;  // the file pointer stands at the position
};

// A whole file in memory, mapped or copied.
class MemoryReader final : public ReadStrategy {
  public:
    MemoryReader(ReadState& state, std::unique_ptr<platform::MappedView> view)
        : state_(state), view_(std::move(view)), bytes_(view_->Data()) {}
    MemoryReader(ReadState& state, AlignedBuffer copy)
        : state_(state), copy_(std::move(copy)), bytes_(copy_.get()) {}

    int64_t Read(uint8_t* destination, int64_t count) override;
    const uint8_t* Lend(int64_t count) override;
    void MoveTo(int64_t position) override { state_.position = position; }
    void ReleaseBuffers() override {}

  private:
    ReadState& state_;
    std::unique_ptr<platform::MappedView> view_;
    AlignedBuffer copy_;
    const uint8_t* bytes_;
};

}  // namespace vantor
