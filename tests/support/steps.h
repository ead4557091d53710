// How much work something is, counted instead of timed: a step is a branch taken in the floors that read
// documents, or a byte that a function like memchr or memcpy goes over.
#pragma once

#include <cstdint>

namespace vantor::test {

// Of this thread. Only where the build counts them (VANTOR_COUNT_STEPS).
[[nodiscard]] uint64_t StepsSoFar();

}  // namespace vantor::test
