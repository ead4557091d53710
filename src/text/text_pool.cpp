#include "text/text_pool.h"

#include <algorithm>
#include <utility>

namespace vantor {

namespace {

constexpr size_t smallestPieceBytes = 1024;  // room for the tags of most files
constexpr size_t largestPieceBytes = 65536;
constexpr size_t largestSharedBytes = largestPieceBytes / 4;  // what is longer has a piece of its own

}  // namespace

TextPool& TextPool::operator=(TextPool&& other) noexcept {
    std::swap(pieces_, other.pieces_);
    std::swap(next_, other.next_);
    std::swap(bytesLeft_, other.bytesLeft_);
    std::swap(pieceBytes_, other.pieceBytes_);
    std::swap(bytes_, other.bytes_);
    return *this;
}

const char* TextPool::Keep(std::string_view text) {
    const size_t bytes = text.size() + 1;
    char* const kept = Room(bytes);
    *std::copy(text.begin(), text.end(), kept) = '\0';
    bytes_ += bytes;
    return kept;
}

char* TextPool::Room(size_t bytes) {
    if (bytes > bytesLeft_) {
        if (bytes > largestSharedBytes) return NewPiece(bytes);
        const size_t room =
            std::clamp(std::max(2 * pieceBytes_, bytes), smallestPieceBytes, largestPieceBytes);
        next_ = NewPiece(room);
        bytesLeft_ = pieceBytes_ = room;
    }
    bytesLeft_ -= bytes;
    return std::exchange(next_, next_ + bytes);
}

char* TextPool::NewPiece(size_t bytes) {
    return pieces_.emplace_back(std::make_unique_for_overwrite<char[]>(bytes)).get();
}

}  // namespace vantor
