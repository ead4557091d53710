// The texts of very many names, one behind the other in a few large pieces.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace vantor {

class TextPool {
  public:
    // A copy of the text, ended by a NUL; it stays where it is as long as the pool lives.
    const char* Keep(std::string_view text);

  private:
    std::vector<std::unique_ptr<char[]>> pieces_;
    char* next_ = nullptr;   // in the last piece
    size_t bytesLeft_ = 0;   // there
    size_t pieceBytes_ = 0;  // of the last ordinary piece
};

}  // namespace vantor
