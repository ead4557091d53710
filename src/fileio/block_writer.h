// Overlapped writing: bytes are gathered in blocks, and full blocks are in flight while the next one fills.
#pragma once

#include <memory>
#include <vector>

#include "fileio/aligned_buffer.h"
#include "platform/file_system.h"

namespace vantor {

struct BlockWriterSize {
    int32_t blockBytes;  // a multiple of 4096 with whole sectors
    int32_t minBlocks;   // made at once
    int32_t maxBlocks;   // made when all are in flight; then the oldest write is waited for
};

class BlockWriter {
  public:
    // `wholeSectors`: every write covers whole 4096-byte sectors, the file's own bytes around the new ones.
    BlockWriter(platform::File& file, const BlockWriterSize& size, bool wholeSectors);
    ~BlockWriter();
    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;

    // Takes bytes for the file at `position`, which must follow the last ones taken unless Flush(true) came
    // between. Fewer than `count` after a failure; none once a write has failed.
    int32_t Write(int64_t position, const uint8_t* bytes, int32_t count);
    // Sends what is waiting; with `wait`, until all of it is written. False when any write has failed.
    bool Flush(bool wait);

  private:
    struct Block {
        std::unique_ptr<platform::Request> request;
        AlignedBuffer bytes;
        int64_t offset = 0;      // in the file
        int32_t fill = 0;        // bytes to keep
        uint32_t sentBytes = 0;  // the same, in whole sectors where these are wanted
    };

    Block* NewBlock();
    Block* FreeBlock();
    bool BeginBlock(int64_t position);
    int32_t Send();
    int32_t WaitForOldest();
    int32_t Account(const Block& block, const platform::RequestResult& result);
    bool ReadSector(int64_t offset);
    bool CompleteLastSector(Block& block);

    platform::File& file_;
    BlockWriterSize size_;
    bool wholeSectors_;
    bool hasFailed_ = false;  // for good
    std::vector<std::unique_ptr<Block>> blocks_;
    std::vector<Block*> free_, inFlight_;  // in flight: oldest first
    Block* filling_ = nullptr;
    std::unique_ptr<platform::Request> sectorRequest_;
    AlignedBuffer sector_;  // read apart, where unbuffered reading wants it
};

}  // namespace vantor
