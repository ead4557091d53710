// Counts steps: every branch of the floors that are built with a call at each, and every byte that a function
// of the memory goes over, there and in the tests. Linked where VANTOR_COUNT_STEPS is on.
#include <cstddef>

#include "tests/support/steps.h"

namespace {

thread_local uint64_t steps = 0;

}  // namespace

// The linker puts a __wrap_ in the place of each call, and the function itself behind its __real_.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the compiler's and the linker's
// names
void __sanitizer_cov_trace_pc() {
    ++steps;
}

void* __real_memchr(const void* from, int byte, size_t bytes);
void* __wrap_memchr(const void* from, int byte, size_t bytes) {
    void* const found = __real_memchr(from, byte, bytes);
    steps += found ? static_cast<size_t>(static_cast<char*>(found) - static_cast<const char*>(from)) : bytes;
    return found;
}

int __real_memcmp(const void* left, const void* right, size_t bytes);
int __wrap_memcmp(const void* left, const void* right, size_t bytes) {
    steps += bytes;
    return __real_memcmp(left, right, bytes);
}

void* __real_memcpy(void* to, const void* from, size_t bytes);
void* __wrap_memcpy(void* to, const void* from, size_t bytes) {
    steps += bytes;
    return __real_memcpy(to, from, bytes);
}

void* __real_memmove(void* to, const void* from, size_t bytes);
void* __wrap_memmove(void* to, const void* from, size_t bytes) {
    steps += bytes;
    return __real_memmove(to, from, bytes);
}

void* __real_memset(void* to, int byte, size_t bytes);
void* __wrap_memset(void* to, int byte, size_t bytes) {
    steps += bytes;
    return __real_memset(to, byte, bytes);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
}

namespace vantor::test {

uint64_t StepsSoFar() {
    return steps;
}

}  // namespace vantor::test
