// Overlapped read-ahead with a small ring of aligned blocks.
#pragma once

#include <memory>
#include <vector>

#include "fileio/aligned_buffer.h"
#include "fileio/read_strategy.h"

namespace vantor {

class RingReader final : public ReadStrategy {
  public:
    // `blockBytes` is a multiple of 8192; `wholeSectors`: every request starts on a multiple of 8192.
    RingReader(ReadState& state, int64_t blockBytes, int64_t blockCount, bool wholeSectors);
    ~RingReader() override;
    RingReader(const RingReader&) = delete;
    RingReader& operator=(const RingReader&) = delete;

    int64_t Read(uint8_t* destination, int64_t count) override;
    const uint8_t* Lend(int64_t count) override;
    void MoveTo(int64_t position) override;
    void ReleaseBuffers() override;

  private:
    struct Block {
        std::unique_ptr<platform::Request> request;
        uint8_t* bytes = nullptr;
        int64_t offset = 0;     // in the file
        uint32_t returned = 0;  // 0: not known yet
    };
    // Oldest first, but for the free blocks, where the order has no meaning.
    using BlockList = std::vector<Block*>;

    bool HaveMemory();
    Block* ReadyBlockAtPosition();
    bool FindReadyBlock();
    void RestartUnlessRequested();
    int Pump();
    void Harvest();
    int StartNextBlock();
    int WaitForOldest();
    void KeepAhead();
    [[nodiscard]] bool Covers(const Block& block) const;
    void AbandonRequests();

    ReadState& state_;
    int64_t blockBytes_;
    bool wholeSectors_;
    std::vector<Block> blocks_;
    AlignedBuffer memory_;  // allocated by the first read
    BlockList free_, inFlight_, ready_;
    int64_t nextOffset_ = 0;  // of the next read-ahead request
    int discardedInVain_ = 0;
};

}  // namespace vantor
