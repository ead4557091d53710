// How many bytes of audio a RIFF `data` chunk holds: one rule for those who play a file and those who rewrite
// it.
#pragma once

#include <cstdint>

#include "formats/ds64.h"

namespace vantor {

// The data byte count that the chunk claims; it may run past the end of the file. `ds64` is null in a plain
// RIFF file. A size of 0 after an accepted format is a recording that was never finished: it runs to the end
// of the file. A plain RIFF file 4 GiB beyond its body start has a size field that wrapped.
[[nodiscard]] int64_t RiffDataBytes(uint32_t sizeField, const Ds64* ds64, bool formatAccepted,
                                    int64_t bodyStart, int64_t fileSize);

// The bytes of audio that a player takes from a plain RIFF file (not ds64): beyond 4 GiB the claimed size is
// not trusted and everything up to the end of the file plays.
[[nodiscard]] int64_t PlayedRiffBytes(int64_t dataBytes, int64_t dataStart, int64_t fileSize);

}  // namespace vantor
