// Lets an allocation of this thread fail on order: what is left behind is then up for inspection.
#pragma once

namespace vantor::test {

// While it lives, the allocation after the next `allowed` ones throws std::bad_alloc; the ones behind it
// succeed again. One at a time in a thread.
class FailingAllocation {
  public:
    explicit FailingAllocation(int allowed);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;
    // False when there were not as many allocations.
    [[nodiscard]] bool HasFailed() const;
};

}  // namespace vantor::test
