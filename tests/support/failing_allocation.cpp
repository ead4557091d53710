#include "tests/support/failing_allocation.h"

#include <cstdlib>
#include <new>

#ifdef _WIN32
#include <malloc.h>
#endif

namespace {

thread_local int allocationsLeft = -1;  // below 0: none fails
thread_local bool failsForGood = false;
thread_local bool hasFailed = false;
thread_local size_t bytesAllocated = 0;

// Counts; true when it is this one's turn to fail.
bool Fails(size_t bytes) {
    if (allocationsLeft == 0) {
        hasFailed = true;
        if (!failsForGood) allocationsLeft = -1;
        return true;
    }
    if (allocationsLeft > 0) --allocationsLeft;
    bytesAllocated += bytes;
    return false;
}

}  // namespace

// The other forms of new and delete in the standard library end in these; those of a sanitizer do not, so the
// forms for arrays and the one that stable_sort asks for stand here too.
void* operator new(size_t bytes) {
    if (Fails(bytes)) throw std::bad_alloc();
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

void* operator new[](size_t bytes) {
    return operator new(bytes);
}

void* operator new[](size_t bytes, const std::nothrow_t& none) noexcept {
    return operator new(bytes, none);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, size_t) noexcept {
    std::free(memory);
}

// The system's own, so that a sanitizer sees the ends of a buffer.
void* operator new(size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    if (Fails(bytes)) return nullptr;
#ifdef _WIN32
    return _aligned_malloc(bytes, static_cast<size_t>(alignment));
#else
    void* memory = nullptr;
    return posix_memalign(&memory, static_cast<size_t>(alignment), bytes) == 0 ? memory : nullptr;
#endif
}

void operator delete(void* memory, std::align_val_t) noexcept {
#ifdef _WIN32
    _aligned_free(memory);
#else
    std::free(memory);
#endif
}

namespace vantor::test {

FailingAllocation::FailingAllocation(int allowed, bool andLater) {
    allocationsLeft = allowed;
    failsForGood = andLater;
    hasFailed = false;
}

FailingAllocation::~FailingAllocation() {
    allocationsLeft = -1;
}

bool FailingAllocation::HasFailed() const {
    return hasFailed;
}

size_t BytesAllocated() {
    return bytesAllocated;
}

}  // namespace vantor::test
