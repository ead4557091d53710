// Room on the disk for what is too much for memory.
#pragma once

#include "wavehost/os/system.h"

namespace vantor::wavehost {

// A file in the system's temporary folder, open for writing and reading, which goes when it is closed or the
// process ends, however it ends. Throws Failure.
Stream TemporaryStream();

}  // namespace vantor::wavehost
