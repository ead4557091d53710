// States whose last source has gone: opened again, a file that has not changed needs no parse. A bounded
// number of them, for a host may look into any number of files once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "source/shared_state.h"

namespace vantor {

inline constexpr size_t mostRemembered = 500;

// No lock of its own.
class RememberedStates {
  public:
    // The state of the file, which is remembered no more; null when there is none.
    std::shared_ptr<SharedFileState> Take(std::string_view fileName);
    // Remembers a state of a file that has none here. Returns the one that has been there longest when there
    // are too many.
    std::shared_ptr<SharedFileState> Keep(std::shared_ptr<SharedFileState> state);
    [[nodiscard]] size_t Count() const { return count_; }

  private:
    // All in one piece, so that who only makes room looks at no state. Index 0 stands for none in a chain,
    // and for both ends of the order.
    using Index = uint16_t;
    struct Record {
        std::shared_ptr<SharedFileState> state;
        size_t hash = 0;  // of the file's name
        Index next = 0;   // in the chain of names, or of free records
        Index older = 0, newer = 0;
    };
    Index& ChainOf(size_t hash) { return chains_[hash % chains_.size()]; }
    Index FreeRecord();
    std::shared_ptr<SharedFileState> Remove(Index& link);
    std::shared_ptr<SharedFileState> RemoveOldest();

    std::vector<Record> records_ = std::vector<Record>(1);
    std::array<Index, 1024> chains_{};
    Index free_ = 0;
    size_t count_ = 0;
};

}  // namespace vantor
