// What concerns the file as a whole while its tags change: the sizes in front, and which bytes play.
#pragma once

#include <cstdint>

#include "edit/byte_transfer.h"
#include "formats/audio_format.h"

namespace vantor {

// Kinds of files into which tags are written.
[[nodiscard]] bool TakesTags(const AudioFormat& format);

// The audio of a file, as its `data` chunk has it.
struct AudioPlace {
    uint32_t sizeField = 0;
    int64_t start = 0;  // of the body
    int64_t bytes = 0;  // really there
};

// True when audio that plays from a file of `sizeNow` bytes as `now` says would, as `then` says, play bytes
// that it does not now (`then.bytes` does not matter). A recording that was never finished and a plain RIFF
// file beyond 4 GiB play up to their end, and tags behind the audio would turn into sound.
[[nodiscard]] bool WouldPlayMore(const AudioPlace& now, int64_t sizeNow, const AudioPlace& then,
                                 int64_t sizeThen, bool isRf64);

inline constexpr int64_t riffSizeOffset = 4;
inline constexpr int64_t ds64RiffSizeOffset = 20;

// The size field in front of a file whose last chunk ends at `end`: cut to 32 bits in a plain RIFF file, the
// largest number when it does not fit in RF64 and BW64.
[[nodiscard]] uint32_t RiffSizeField(int64_t end, bool isRf64);
// Writes that, and in RF64 and BW64 the 64 bits in `ds64`.
[[nodiscard]] bool WriteContainerSize(ByteSink& file, int64_t end, bool isRf64);

}  // namespace vantor
