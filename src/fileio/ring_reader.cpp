#include "fileio/ring_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace vantor {

using platform::RequestState;

namespace {

template <typename T>
T TakeFirst(std::vector<T>& list) {
    T first = list.front();
    list.erase(list.begin());
    return first;
}

}  // namespace

RingReader::RingReader(ReadState& state, int64_t blockBytes, int64_t blockCount, bool wholeSectors)
    : state_(state),
      blockBytes_(blockBytes),
      wholeSectors_(wholeSectors),
      blocks_(static_cast<size_t>(blockCount)) {
    for (auto* list : {&free_, &inFlight_, &ready_})
        list->reserve(blocks_.size());
    for (auto& block : blocks_) {
        block.request = state_.file->NewRequest();
        free_.push_back(&block);
    }
}

RingReader::~RingReader() {
    AbandonRequests();
}

int64_t RingReader::Read(uint8_t* destination, int64_t count) {
    count = std::min(count, state_.size - state_.position);
    int64_t delivered = 0;
    while (delivered < count && FindReadyBlock()) {
        const Block& block = *ready_.front();
        const int64_t start = state_.position - block.offset;
        const int64_t piece = std::min(count - delivered, block.returned - start);
        std::memcpy(destination + delivered, block.bytes + start, static_cast<size_t>(piece));
        state_.position += piece;
        delivered += piece;
    }
    if (delivered > 0 && delivered == count) KeepAhead();
    return delivered;
}

const uint8_t* RingReader::Lend(int64_t count) {
    if (!FindReadyBlock()) return nullptr;
    const Block& block = *ready_.front();
    const int64_t start = state_.position - block.offset;
    if (count > block.returned - start) return nullptr;
    state_.position += count;
    KeepAhead();
    return block.bytes + start;
}

// Brings a block with bytes at the position to the head of the ready list, waiting only when no ready block
// has them. False at an error, which stays.
bool RingReader::FindReadyBlock() {
    if (!HaveMemory()) return false;
    discardedInVain_ = 0;
    int errors = state_.hasFailed ? 1 : 0;
    while (!ReadyBlockAtPosition()) {
        RestartUnlessRequested();
        errors += Pump();
        if (errors == 0 && ready_.empty() && !inFlight_.empty()) errors += WaitForOldest();
        // A file that has become shorter than it was at open answers the same short block for ever.
        if (discardedInVain_ > 2 * static_cast<int>(blocks_.size())) ++errors;
        if (errors > 0) state_.hasFailed = true;
        if (errors > 0 || (ready_.empty() && inFlight_.empty())) return false;
    }
    return true;
}

bool RingReader::HaveMemory() {
    if (memory_) return true;
    memory_ = NewAlignedBuffer(blockBytes_ * static_cast<int64_t>(blocks_.size()));
    if (!memory_) return false;
    uint8_t* bytes = memory_.get();
    for (auto& block : blocks_) {
        block.bytes = bytes;
        bytes += blockBytes_;
    }
    return true;
}

// The head of the ready list once the blocks before the position are freed; null when nothing is left.
RingReader::Block* RingReader::ReadyBlockAtPosition() {
    while (!ready_.empty()) {
        Block* const block = ready_.front();
        const int64_t start = state_.position - block->offset;
        if (start >= 0 && start < block->returned) return block;
        free_.push_back(TakeFirst(ready_));
        ++discardedInVain_;
    }
    return nullptr;
}

bool RingReader::Covers(const Block& block) const {
    return state_.position >= block.offset && state_.position - block.offset < blockBytes_;
}

// Read-ahead goes on at the position when no request on its way will bring it; stale requests are finished
// and discarded as their turn comes.
void RingReader::RestartUnlessRequested() {
    if (state_.position == nextOffset_) return;
    const bool isRequested = std::any_of(inFlight_.begin(), inFlight_.end(),
                                         [this](const Block* block) { return Covers(*block); });
    if (!isRequested) nextOffset_ = state_.position;
}

// One step of read-ahead. The number of errors, 0 or 1.
int RingReader::Pump() {
    Harvest();
    return free_.empty() ? 0 : StartNextBlock();
}

// A failed request is left for WaitForOldest, which counts it.
void RingReader::Harvest() {
    while (!inFlight_.empty()) {
        Block& block = *inFlight_.front();
        if (block.returned == 0) {
            const auto result = state_.file->Finish(*block.request, false);
            if (result.state != RequestState::done) return;
            block.returned = result.bytes;
        }
        ready_.push_back(TakeFirst(inFlight_));
    }
}

int RingReader::StartNextBlock() {
    nextOffset_ = std::max(nextOffset_, state_.position);
    if (wholeSectors_) nextOffset_ = RoundDownToSector(nextOffset_);
    if (nextOffset_ >= state_.size) return 0;
    Block& block = *free_.back();
    block.offset = nextOffset_;
    nextOffset_ += blockBytes_;
    const auto result =
        state_.file->StartRead(*block.request, block.offset, block.bytes, static_cast<uint32_t>(blockBytes_));
    if (result.state == RequestState::failed) return 1;
    if (result.state == RequestState::done && result.bytes == 0) return 1;
    block.returned = result.state == RequestState::done ? result.bytes : 0;
    free_.pop_back();
    inFlight_.push_back(&block);
    return 0;
}

int RingReader::WaitForOldest() {
    Block* const block = TakeFirst(inFlight_);
    if (!Covers(*block)) {  // a seek has left it behind: what it brings would be thrown away
        state_.file->Abandon(*block->request);
        free_.push_back(block);
        return 0;
    }
    if (block->returned == 0) {
        const auto result = state_.file->Finish(*block->request, true);
        if (result.state != RequestState::done || result.bytes == 0) {
            free_.push_back(block);
            return 1;
        }
        block->returned = result.bytes;
    }
    ready_.push_back(block);
    return 0;
}

// Refills the ring after a delivery.
void RingReader::KeepAhead() {
    const int errors = (state_.hasFailed ? 1 : 0) + Pump();
    if (errors > 0) {
        state_.hasFailed = true;
    } else {
        (void)Pump();
    }
}

void RingReader::MoveTo(int64_t position) {
    state_.position = position;
    const bool serves = position <= nextOffset_ && !ready_.empty() && ready_.front()->offset <= position;
    if (!serves) nextOffset_ = position;
}

void RingReader::AbandonRequests() {
    for (auto* block : inFlight_) {
        state_.file->Abandon(*block->request);
        free_.push_back(block);
    }
    inFlight_.clear();
}

void RingReader::ReleaseBuffers() {
    AbandonRequests();
    free_.insert(free_.end(), ready_.begin(), ready_.end());
    ready_.clear();
    memory_.reset();
    nextOffset_ = state_.position;
}

}  // namespace vantor
