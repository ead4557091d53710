// The system's millisecond counter.
#pragma once

#include <cstdint>

namespace vantor::platform {

// Milliseconds since some fixed moment, wrapping at 2^32. Compare with wrap-around arithmetic only.
uint32_t TickMilliseconds();

}  // namespace vantor::platform
