#include <ctime>

#include "platform/clock.h"

namespace vantor::platform {

// The coarse clock moves every few milliseconds and costs a tenth of the exact one.
uint32_t TickMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000 +
                                 static_cast<uint64_t>(now.tv_nsec) / 1000000);
}

}  // namespace vantor::platform
