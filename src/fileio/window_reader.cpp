#include "fileio/window_reader.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace vantor {

namespace {

// Large enough to make few system calls, small enough to stay in the second-level cache until it is
// converted.
constexpr int64_t windowBytes = 65536;
// After a jump. A page would hold the headers of a few files more, and costs all others the time of half a
// request: what nobody has looked at for a while is in no cache of the processor.
constexpr int64_t firstStepBytes = 2048;
// The end of a file, with the tags that stand there, comes at once.
constexpr int64_t shortRestBytes = 4096;
// Who reads here and there, or a header alone, needs no more.
constexpr int64_t smallWindowBytes = 8192;
constexpr size_t pageBytes = 4096;
// So many bytes and more go to where they are wanted without passing through the window.
constexpr int64_t directBytes = 16384;

// Streams that start together come to the end of their windows at different times.
int64_t NextPhase() {
    constexpr uint32_t phases = 16;
    static std::atomic<uint32_t> counter = 0;
    return counter.fetch_add(1, std::memory_order_relaxed) % phases * (windowBytes / phases);
}

// A copy whose destination lies a little above its source within a page takes a third longer.
uint8_t* StartOfPage(uint8_t* memory) {
    const auto address = reinterpret_cast<uintptr_t>(memory);
    return memory + (pageBytes - address % pageBytes) % pageBytes;
}

}  // namespace

WindowReader::WindowReader(ReadState& state) : state_(state) {}

int64_t WindowReader::Read(uint8_t* destination, int64_t count) {
    count = std::min(count, state_.size - state_.position);
    int64_t delivered = 0;
    while (delivered < count) {
        const int64_t missing = count - delivered;
        if (Left() == 0 && missing >= directBytes) {
            const int64_t got = Fetch(destination + delivered, state_.position, missing);
            if (got == 0) break;
            Discard();
            state_.position += got;
            delivered += got;
        } else if (Left() > 0 || Fill(1)) {
            const int64_t piece = std::min(missing, Left());
            std::memcpy(destination + delivered, Advance(piece), static_cast<size_t>(piece));
            delivered += piece;
        } else {
            break;
        }
    }
    return std::max<int64_t>(delivered, 0);
}

const uint8_t* WindowReader::Lend(int64_t count) {
    if (count > windowBytes || (count > Left() && !Fill(count))) return nullptr;
    return Advance(count);
}

const uint8_t* WindowReader::Advance(int64_t count) {
    const uint8_t* const bytes = window_ + consumed_;
    consumed_ += count;
    state_.position += count;
    return bytes;
}

// Brings bytes behind those that are left until there are `wanted`, at most a window; whole multiples of
// that, so that a reader that goes on in equal requests leaves nothing to be moved. False when they do not
// come.
bool WindowReader::Fill(int64_t wanted) {
    const int64_t left = Left();
    const int64_t offset = state_.position + left;
    const int64_t rest = state_.size - offset;
    int64_t bytes = rest;
    if (left + rest > shortRestBytes) {
        bytes = std::min(std::max(NextStep(), wanted - left), windowBytes - left);
        bytes -= (left + bytes) % wanted;
    }
    if (!MakeRoom(left + bytes)) return false;
    held_ += Fetch(window_ + left, offset, std::min(bytes, rest));
    return held_ >= wanted;
}

// Moves the bytes that are left to the start of a window that holds `bytes`.
bool WindowReader::MakeRoom(int64_t bytes) {
    const int64_t left = Left();
    if (bytes > roomBytes_) {
        const int64_t room = bytes > smallWindowBytes ? windowBytes : smallWindowBytes;
        auto memory =
            std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[static_cast<size_t>(room) + pageBytes]);
        if (!memory) return false;
        uint8_t* const window = StartOfPage(memory.get());
        if (left > 0) std::memcpy(window, window_ + consumed_, static_cast<size_t>(left));
        memory_ = std::move(memory);
        window_ = window;
        roomBytes_ = room;
    } else if (left > 0) {
        std::memmove(window_, window_ + consumed_, static_cast<size_t>(left));
    }
    consumed_ = 0;
    held_ = left;
    return true;
}

int64_t WindowReader::NextStep() {
    if (step_ == windowBytes) return step_;
    step_ = std::clamp(2 * step_, firstStepBytes, windowBytes);
    if (step_ < windowBytes) return step_;
    if (!expectsOrder_) {
        state_.file->ExpectOrder();
        phaseBytes_ = NextPhase();
    }
    expectsOrder_ = true;
    return windowBytes - phaseBytes_;
}

// Bytes that came. None where the file has some by its size is an error, which stays: it has become shorter,
// or cannot be read.
int64_t WindowReader::Fetch(uint8_t* destination, int64_t offset, int64_t count) {
    constexpr int64_t largestRequest = 1 << 30;
    if (state_.hasFailed || count < 1) return 0;
    const int64_t got =
        state_.file->ReadAt(offset, destination, static_cast<uint32_t>(std::min(count, largestRequest)));
    if (got < 1) {
        state_.hasFailed = true;
        return 0;
    }
    return got;
}

void WindowReader::MoveTo(int64_t position) {
    const int64_t start = state_.position - consumed_;
    state_.position = position;
    if (position >= start && position - start <= held_) {
        consumed_ = position - start;
    } else {
        Discard();
        step_ = 0;
    }
}

void WindowReader::Discard() {
    held_ = consumed_ = 0;
}

void WindowReader::ReleaseBuffers() {
    Discard();
    step_ = roomBytes_ = 0;
    memory_.reset();
}

}  // namespace vantor
