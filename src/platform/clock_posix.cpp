#include <ctime>

#include "platform/clock.h"

namespace vantor::platform {

uint32_t TickMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000 +
                                 static_cast<uint64_t>(now.tv_nsec) / 1000000);
}

}  // namespace vantor::platform
