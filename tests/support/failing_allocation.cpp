#include "tests/support/failing_allocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int allocationsLeft = -1;  // below 0: none fails
thread_local size_t bytesAllocated = 0;

}  // namespace

// The other forms of new and delete in the standard library end in these; those of a sanitizer do not, so the
// form that stable_sort asks for stands here too.
void* operator new(size_t bytes) {
    if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
    bytesAllocated += bytes;
    if (void* memory = std::malloc(bytes > 0 ? bytes : 1)) return memory;
    throw std::bad_alloc();
}

void* operator new(size_t bytes, const std::nothrow_t&) noexcept {
    try {
        return operator new(bytes);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

namespace vantor::test {

FailingAllocation::FailingAllocation(int allowed) {
    allocationsLeft = allowed;
}

FailingAllocation::~FailingAllocation() {
    allocationsLeft = -1;
}

bool FailingAllocation::HasFailed() const {
    return allocationsLeft < 0;
}

size_t BytesAllocated() {
    return bytesAllocated;
}

}  // namespace vantor::test
