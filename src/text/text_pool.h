// Very many texts, one behind the other in a few large pieces.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace vantor {

class TextPool {
  public:
    TextPool() = default;
    TextPool(TextPool&& other) noexcept { *this = std::move(other); }
    TextPool& operator=(TextPool&& other) noexcept;

    // A copy of the text, ended by a NUL; it stays where it is as long as the pool lives.
    const char* Keep(std::string_view text);
    // That all its texts take, with their NULs.
    [[nodiscard]] size_t Bytes() const { return bytes_; }

  private:
    char* Room(size_t bytes);
    char* NewPiece(size_t bytes);

    std::vector<std::unique_ptr<char[]>> pieces_;
    char* next_ = nullptr;   // in the last ordinary piece
    size_t bytesLeft_ = 0;   // there
    size_t pieceBytes_ = 0;  // of it
    size_t bytes_ = 0;
};

}  // namespace vantor
