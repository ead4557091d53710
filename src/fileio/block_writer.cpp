#include "fileio/block_writer.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/host_services.h"

namespace vantor {

using platform::RequestState;

namespace {

constexpr int32_t writeSectorBytes = 4096;

}  // namespace

BlockWriter::BlockWriter(platform::File& file, const BlockWriterSize& size, bool wholeSectors)
    : file_(file), size_(size), wholeSectors_(wholeSectors) {
    const auto most = static_cast<size_t>(size.maxBlocks);
    blocks_.reserve(most);
    free_.reserve(most);
    inFlight_.reserve(most);
    for (int32_t i = 0; i < size.minBlocks; ++i)
        if (Block* const block = NewBlock()) free_.push_back(block);
    if (wholeSectors) {
        sectorRequest_ = file.NewRequest();
        sector_ = NewAlignedBuffer(writeSectorBytes);
    }
}

BlockWriter::~BlockWriter() {
    (void)Flush(true);
}

int32_t BlockWriter::Write(int64_t position, const uint8_t* bytes, int32_t count) {
    int32_t taken = 0;
    while (taken < count && !hasFailed_ && (filling_ || BeginBlock(position + taken))) {
        const int32_t piece = std::min(count - taken, size_.blockBytes - filling_->fill);
        std::memcpy(filling_->bytes.get() + filling_->fill, bytes + taken, static_cast<size_t>(piece));
        filling_->fill += piece;
        taken += piece;
        if (filling_->fill == size_.blockBytes) taken -= std::min(taken, Send());
    }
    return taken;
}

bool BlockWriter::Flush(bool wait) {
    if (filling_) (void)Send();
    while (wait && !inFlight_.empty())
        (void)WaitForOldest();
    return !hasFailed_;
}

// Null when there is no memory.
BlockWriter::Block* BlockWriter::NewBlock() {
    auto block = std::make_unique<Block>();
    block->request = file_.NewRequest();
    block->bytes = NewAlignedBuffer(size_.blockBytes);
    if (!block->bytes) return nullptr;
    blocks_.push_back(std::move(block));
    return blocks_.back().get();
}

// A block that may be filled; null when none can be had.
BlockWriter::Block* BlockWriter::FreeBlock() {
    if (free_.empty() && blocks_.size() < static_cast<size_t>(size_.maxBlocks)) {
        if (Block* const block = NewBlock()) return block;
    }
    if (free_.empty() && !inFlight_.empty()) (void)WaitForOldest();
    if (free_.empty()) return nullptr;
    Block* const block = free_.back();
    free_.pop_back();
    return block;
}

// Makes a block ready for bytes at `position`. One that starts inside a sector begins with the sector's bytes
// as they stand in the file, so the writes on their way there are waited for.
bool BlockWriter::BeginBlock(int64_t position) {
    Block* const block = FreeBlock();
    if (!block) hasFailed_ = true;
    if (hasFailed_) return false;
    filling_ = block;
    block->fill = wholeSectors_ ? static_cast<int32_t>(position % writeSectorBytes) : 0;
    block->offset = position - block->fill;
    if (block->fill == 0) return true;
    while (!inFlight_.empty())
        (void)WaitForOldest();
    if (!hasFailed_ && ReadSector(block->offset)) {
        std::memcpy(block->bytes.get(), sector_.get(), writeSectorBytes);
        return true;
    }
    hasFailed_ = true;
    free_.push_back(std::exchange(filling_, nullptr));
    return false;
}

// Starts writing the block being filled. The number of its bytes that are known not to be written.
int32_t BlockWriter::Send() {
    Block& block = *std::exchange(filling_, nullptr);
    block.sentBytes = static_cast<uint32_t>(block.fill);
    platform::RequestResult result;
    if (!wholeSectors_ || CompleteLastSector(block))
        result = file_.StartWrite(*block.request, block.offset, block.bytes.get(), block.sentBytes);
    if (result.state == RequestState::pending) {
        inFlight_.push_back(&block);
        return 0;
    }
    free_.push_back(&block);
    return Account(block, result);
}

int32_t BlockWriter::WaitForOldest() {
    Block& block = *inFlight_.front();
    inFlight_.erase(inFlight_.begin());
    free_.push_back(&block);
    return Account(block, file_.Finish(*block.request, true));
}

// Takes note of a finished write. The number of the block's bytes that are not written.
int32_t BlockWriter::Account(const Block& block, const platform::RequestResult& result) {
    if (result.state == RequestState::done && result.bytes >= block.sentBytes) return 0;
    hasFailed_ = true;
    ReportWriteFailure(result.writeError == platform::WriteError::diskFull);
    return std::max(0, block.fill - static_cast<int32_t>(result.bytes));
}

// Reads the sector at `offset` into sector_, zeros behind the end of the file.
bool BlockWriter::ReadSector(int64_t offset) {
    if (!sector_) return false;
    std::memset(sector_.get(), 0, writeSectorBytes);
    auto result = file_.StartRead(*sectorRequest_, offset, sector_.get(), writeSectorBytes);
    if (result.state == RequestState::pending) result = file_.Finish(*sectorRequest_, true);
    return result.state == RequestState::done;
}

bool BlockWriter::CompleteLastSector(Block& block) {
    const int32_t inSector = block.fill % writeSectorBytes;
    if (inSector == 0) return true;
    const int32_t missing = writeSectorBytes - inSector;
    if (!ReadSector(block.offset + block.fill - inSector)) return false;
    std::memcpy(block.bytes.get() + block.fill, sector_.get() + inSector, static_cast<size_t>(missing));
    block.sentBytes = static_cast<uint32_t>(block.fill + missing);
    return true;
}

}  // namespace vantor
