#include <windows.h>

#include "platform/clock.h"

namespace vantor::platform {

uint32_t TickMilliseconds() {
    return GetTickCount();
}

}  // namespace vantor::platform
