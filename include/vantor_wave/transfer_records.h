// The records that pass through the slots and calls of an audio source. Standard layout, in 64-bit programs
// alone: the offsets below are the binary interface.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantor {

class PCM_source;

// One request for samples: PCM_source::ReadSamples. The caller fills all fields but framesProduced.
struct TransferBlock {
    double startSeconds;     // from the start of the source; a source starts at 0
    double sampleRate;       // Hz wanted; unlike the source's own, the host's resampler takes part
    int32_t channels;        // wanted, 1 or more
    int32_t frames;          // wanted
    double* samples;         // room for frames x channels, interleaved; full scale is 1.0. The caller's
    int32_t framesProduced;  // out: frames written to `samples`, fewer than wanted at the end of the source
    int32_t reserved;        // 0
    double absoluteSeconds;  // place on the host's timeline; notContinuation: see below
};
// In absoluteSeconds: the request does not go on where the last one of this source ended, so that nothing of
// that one may be used. Any other value leaves it to the module to see where it has to seek.
inline constexpr double notContinuation = -100000.0;
static_assert(offsetof(TransferBlock, startSeconds) == 0);
static_assert(offsetof(TransferBlock, sampleRate) == 8);
static_assert(offsetof(TransferBlock, channels) == 16);
static_assert(offsetof(TransferBlock, frames) == 20);
static_assert(offsetof(TransferBlock, samples) == 24);
static_assert(offsetof(TransferBlock, framesProduced) == 32);
static_assert(offsetof(TransferBlock, absoluteSeconds) == 40);
static_assert(sizeof(TransferBlock) == 48);

// One request for peaks: PCM_source::ReadPeaks, PeakReader::ReadPeaks and "HiresPeaksFromSource". The caller
// fills all fields but framesProduced. A column is the highest and the lowest sample of 1 / peaksPerSecond.
struct PeakRequest {
    double startSeconds;     // of the first column
    double peaksPerSecond;   // columns a second wanted
    int32_t channels;        // wanted
    int32_t frames;          // columns wanted
    double* peaks;           // room for 2 x frames x channels: all maxima (interleaved), then all minima
    int32_t framesProduced;  // out: columns written. The minima stand behind frames x channels maxima even so
    int32_t reserved;        // 0
};
static_assert(offsetof(PeakRequest, startSeconds) == 0);
static_assert(offsetof(PeakRequest, peaksPerSecond) == 8);
static_assert(offsetof(PeakRequest, channels) == 16);
static_assert(offsetof(PeakRequest, frames) == 20);
static_assert(offsetof(PeakRequest, peaks) == 24);
static_assert(offsetof(PeakRequest, framesProduced) == 32);
static_assert(sizeof(PeakRequest) == 40);

// A cue point or region: filled by callMarker, made by callAllocatedMarker.
struct MarkerRecord {
    int32_t id;            // the file's own; CAF: 1, 2, 3 ...
    int32_t isRegion;      // 0: a point, endSeconds means nothing
    double startSeconds;   // from the start of the file
    double endSeconds;     // of a region
    const char* name;      // null: none. The source's: valid until it is opened anew or destroyed
    int32_t namePriority;  // what gave the name: 0 none, 8 `ltxt`, 16 `note`, 24 `labl` (others: 0 or more)
    int32_t reserved;      // 0
};
static_assert(offsetof(MarkerRecord, id) == 0);
static_assert(offsetof(MarkerRecord, isRegion) == 4);
static_assert(offsetof(MarkerRecord, startSeconds) == 8);
static_assert(offsetof(MarkerRecord, endSeconds) == 16);
static_assert(offsetof(MarkerRecord, name) == 24);
static_assert(offsetof(MarkerRecord, namePriority) == 32);
static_assert(sizeof(MarkerRecord) == 40);

// One slice of a loop: callBeatSlices.
struct SliceRequest {
    PCM_source*
        source;  // out: a new source that plays the slice, owned by the caller; null with position only
    double positionBeats;  // out: where the slice starts
    int32_t flags;         // in: slicePositionOnly or 0
    int32_t reserved;      // 0
};
inline constexpr int32_t slicePositionOnly = 1;  // makes no source
static_assert(offsetof(SliceRequest, source) == 0);
static_assert(offsetof(SliceRequest, positionBeats) == 8);
static_assert(offsetof(SliceRequest, flags) == 16);
static_assert(sizeof(SliceRequest) == 24);

// One tag to write: callWriteMetadata takes an array that ends with the first pair that holds a null. Both
// texts are the caller's and copied. An empty value removes the key.
struct MetadataPair {
    const char* key;    // a common field ("TITLE") or a scheme's key ("BWF:Originator"): docs/metadata.md
    const char* value;  // text; line ends as the file shall hold them
};
static_assert(offsetof(MetadataPair, value) == 8);
static_assert(sizeof(MetadataPair) == 16);

}  // namespace vantor
