// A reader of one file together with what consecutive reads keep: positions, resampler, ADPCM decoder,
// scratch memory; and the read of one request through it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "decode/sample_conversion.h"
#include "fileio/file_reader.h"
#include "vantor_wave/host_interface.h"

namespace vantor {

class AdpcmDecoder;
struct AudioFormat;

inline constexpr int64_t noPosition = -1000000;  // matches no real position: the next read seeks

enum class ResamplerState { neverUsed, inUse, setAside };

struct ReaderContext {
    explicit ReaderContext(std::unique_ptr<FileReader> fileReader);
    ~ReaderContext();

    std::unique_ptr<FileReader> reader;

    // Kept by the idle list, under the state's lock.
    const void* lastOwner = nullptr;  // the source that released it last
    uint32_t reservedUntil = 0;       // tick; 0 not reserved

    // Kept by ReadFrames.
    const void* lastServed = nullptr;  // continuity holds for this source only
    HostPtr<Resampler> resampler;
    ResamplerState resamplerState = ResamplerState::neverUsed;
    int64_t expectedByte = noPosition;      // file offset of the next frame; other than ADPCM
    int64_t expectedFrame = noPosition;     // ADPCM
    std::unique_ptr<AdpcmDecoder> decoder;  // for ADPCM only
    ConvertSamples converter = nullptr;     // for all other encodings
    StoredCoding converterCoding;           // what `converter` was chosen for
    int64_t bytesRead = 0;                  // by the current request
    std::vector<uint8_t> storedBytes;       // scratch
    std::vector<double> convertedSamples;   // scratch
};

// Gives back what can be had again: the reader's buffers and the scratch memory.
void ReleaseMemory(ReaderContext& context);

// What the source adds to a request.
struct ReadScope {
    const void* source = nullptr;
    int32_t sliceIndex = -1;
    intptr_t resampleMode = 0;
};

// The body of ReadSamples: fills the block's samples and framesProduced. The context is owned by the calling
// thread for the time of the call. Whatever the block and the file hold, at most block.frames frames are
// written; a request that cannot be served (no buffer, no frames, a time or rate that is not a finite number)
// produces none. A start before the first frame reads from the first frame.
void ReadFrames(TransferBlock& block, ReaderContext& context, AudioFormat& format, const ReadScope& scope);

// Frames that the file now holds between the data start and its end (for a growing file); of a block coding
// never fewer than were known.
[[nodiscard]] int64_t FramesPresent(const AudioFormat& format, int64_t fileSize);

}  // namespace vantor
