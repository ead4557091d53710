#include "fileio/staged_reader.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>

namespace vantor {

namespace {

constexpr int64_t largestDirectRequest = 1 << 30;

// Streams that start together get first reads of different lengths, so that their refills do not all come due
// at the same time.
int64_t FirstReadBytes(int64_t bufferBytes) {
    static std::atomic<uint32_t> counter = 0;
    const int64_t sectors = bufferBytes / sectorBytes;
    if (sectors <= 1) return bufferBytes;
    return bufferBytes >> (counter.fetch_add(1, std::memory_order_relaxed) & (sectors > 7 ? 3u : 1u));
}

}  // namespace

int64_t StagedReader::Read(uint8_t* destination, int64_t count) {
    int64_t delivered = 0;
    while (delivered < count && (Left() > 0 || Refill())) {
        const int64_t piece = std::min(count - delivered, Left());
        std::memcpy(destination + delivered, Advance(piece), static_cast<size_t>(piece));
        delivered += piece;
    }
    return delivered;
}

const uint8_t* StagedReader::Lend(int64_t count) {
    if (Left() == 0) Refill();
    return count <= Left() ? Advance(count) : nullptr;
}

const uint8_t* StagedReader::Advance(int64_t count) {
    const uint8_t* const bytes = buffer_.get() + consumed_;
    consumed_ += count;
    state_.position += count;
    return bytes;
}

// Stages bytes from the position on. False at the end of the file and on failure.
bool StagedReader::Refill() {
    staged_ = consumed_ = 0;
    if (!buffer_) buffer_ = NewAlignedBuffer(bufferBytes_);
    if (!buffer_) return false;
    const int64_t start = FilePointer();
    if (!isPlaced_ || start != state_.position) isPlaced_ = state_.file->SetPosition(start);
    if (!isPlaced_) return false;
    const int64_t request = RefillBytes();
    const int64_t skipped = state_.position - start;
    const int64_t got = state_.file->Read(buffer_.get(), static_cast<uint32_t>(request));
    if (got <= skipped) return false;
    staged_ = got;
    consumed_ = skipped;
    return true;
}

// Past the system's cache the file pointer may stand at whole sectors alone.
int64_t StagedReader::FilePointer() const {
    return wholeSectors_ ? RoundDownToSector(state_.position) : state_.position;
}

int64_t StagedReader::RefillBytes() {
    if (!firstRead_) return bufferBytes_;
    firstRead_ = false;
    const int64_t bytes = FirstReadBytes(bufferBytes_);
    return wholeSectors_ ? RoundDownToSector(bytes) : bytes;
}

void StagedReader::MoveTo(int64_t position) {
    const int64_t stagedStart = state_.position - consumed_;
    state_.position = position;
    if (position >= stagedStart && position - stagedStart <= staged_) {
        consumed_ = position - stagedStart;
    } else {
        Discard();
    }
}

// A file pointer that could not be moved is moved by the next refill, which fails while it cannot.
void StagedReader::Discard() {
    staged_ = consumed_ = 0;
    firstRead_ = true;
    isPlaced_ = state_.file->SetPosition(FilePointer());
}

void StagedReader::ReleaseBuffers() {
    Discard();
    buffer_.reset();
}

int64_t DirectReader::Read(uint8_t* destination, int64_t count) {
    if (!isPlaced_) isPlaced_ = state_.file->SetPosition(state_.position);
    if (!isPlaced_) return 0;
    int64_t delivered = 0;
    while (delivered < count) {
        const int64_t request = std::min(count - delivered, largestDirectRequest);
        const int64_t got = state_.file->Read(destination + delivered, static_cast<uint32_t>(request));
        delivered += std::max<int64_t>(got, 0);
        if (got < request) break;
    }
    state_.position += delivered;
    return delivered;
}

void DirectReader::MoveTo(int64_t position) {
    state_.position = position;
    isPlaced_ = state_.file->SetPosition(position);
}

int64_t MemoryReader::Read(uint8_t* destination, int64_t count) {
    const int64_t bytes = std::clamp<int64_t>(state_.size - state_.position, 0, count);
    if (bytes > 0) std::memcpy(destination, Lend(bytes), static_cast<size_t>(bytes));
    return bytes;
}

const uint8_t* MemoryReader::Lend(int64_t count) {
    const uint8_t* const bytes = bytes_ + state_.position;
    state_.position += count;
    return bytes;
}

}  // namespace vantor
