// Lets an allocation of this thread fail on order: what is left behind is then up for inspection; and counts.
#pragma once

#include <cstddef>

namespace vantor::test {

// While it lives, the allocation after the next `allowed` ones throws std::bad_alloc; the ones behind it
// succeed again, or fail as well. One at a time in a thread.
class FailingAllocation {
  public:
    explicit FailingAllocation(int allowed, bool andLater = false);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    // False when there were not as many allocations.
    [[nodiscard]] bool HasFailed() const;
};

// That this thread has asked for so far, given back or not.
[[nodiscard]] size_t BytesAllocated();

}  // namespace vantor::test
