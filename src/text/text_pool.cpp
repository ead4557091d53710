#include "text/text_pool.h"

#include <algorithm>

namespace vantor {

namespace {

constexpr size_t smallestPieceBytes = 128;
constexpr size_t largestPieceBytes = 65536;

}  // namespace

const char* TextPool::Keep(std::string_view text) {
    const size_t bytes = text.size() + 1;
    if (bytes > bytesLeft_) {
        pieceBytes_ = std::clamp(2 * pieceBytes_, smallestPieceBytes, largestPieceBytes);
        const size_t room = std::max(bytes, pieceBytes_);
        next_ = pieces_.emplace_back(std::make_unique_for_overwrite<char[]>(room)).get();
        bytesLeft_ = room;
    }
    char* const kept = next_;
    *std::copy(text.begin(), text.end(), kept) = '\0';
    next_ += bytes;
    bytesLeft_ -= bytes;
    return kept;
}

}  // namespace vantor
