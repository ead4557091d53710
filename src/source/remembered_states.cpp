#include "source/remembered_states.h"

#include <utility>

#include "fileio/file_name.h"

namespace vantor {

using State = std::shared_ptr<SharedFileState>;

State RememberedStates::Take(std::string_view fileName) {
    const size_t hash = HashOfFileName(fileName);
    for (Index* link = &ChainOf(hash); *link != 0; link = &records_[*link].next) {
        const Record& record = records_[*link];
        if (record.hash == hash && CompareFileNames(record.state->fileName, fileName) == 0)
            return Remove(*link);
    }
    return nullptr;
}

State RememberedStates::Keep(State state) {
    State oldest = count_ == mostRemembered ? RemoveOldest() : nullptr;
    const Index index = FreeRecord();
    const size_t hash = HashOfFileName(state->fileName);
    const Index newest = records_[0].older;
    records_[index] = {std::move(state), hash, std::exchange(ChainOf(hash), index), newest, 0};
    records_[newest].newer = records_[0].older = index;
    ++count_;
    return oldest;
}

RememberedStates::Index RememberedStates::FreeRecord() {
    if (free_ != 0) return std::exchange(free_, records_[free_].next);
    records_.emplace_back();
    return static_cast<Index>(records_.size() - 1);
}

// `link` is what leads to the record in its chain.
State RememberedStates::Remove(Index& link) {
    const Index index = link;
    Record& record = records_[index];
    records_[record.older].newer = record.newer;
    records_[record.newer].older = record.older;
    link = std::exchange(record.next, free_);
    free_ = index;
    --count_;
    return std::move(record.state);
}

State RememberedStates::RemoveOldest() {
    const Index oldest = records_[0].newer;
    Index* link = &ChainOf(records_[oldest].hash);
    while (*link != oldest)
        link = &records_[*link].next;
    return Remove(*link);
}

}  // namespace vantor
