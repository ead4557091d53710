// From the file to converted frames, at the position that the context expects.
#pragma once

#include <cstdint>

#include "decode/reader_context.h"

namespace vantor {

// Chooses the converter, or sets up the ADPCM decoder, for the format. False when nothing decodes it.
[[nodiscard]] bool PrepareDecoding(ReaderContext& context, const AudioFormat& format);

// Bytes from one stored frame to the next: the block alignment, but never less than a frame's samples take.
[[nodiscard]] int64_t StoredFrameStride(const AudioFormat& format);

// Places the decoder on a frame of an ADPCM stream: decodes its block from the start. Beyond the end of the
// data the context expects no position.
void StartAdpcmAt(ReaderContext& context, const AudioFormat& format, int64_t frame);

// Reads, converts and fits to `channels` the next `frames` frames, fewer at the end of the data; moves the
// expected position. Returns the frames written to `samples`.
[[nodiscard]] int64_t DeliverFrames(ReaderContext& context, const AudioFormat& format, double* samples,
                                    int32_t channels, int64_t frames);

}  // namespace vantor
