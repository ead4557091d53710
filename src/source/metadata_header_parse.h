// A light pass over a WAV, RF64, BW64 or CAF file that collects its metadata and a few facts of its format,
// without the checks that playing needs.
#pragma once

#include <cstdint>

#include "fileio/file_reader.h"
#include "metadata/metadata_store.h"

namespace vantor {

struct MetadataHeader {
    MetadataStore metadata;
    double durationSeconds = 0;  // 0 unknown
    int32_t channels = 0;
    int32_t sampleRate = 0;     // Hz
    int32_t bitsPerSample = 0;  // RIFF alone
    int64_t validFrames = 0;    // CAF packet table, 0 absent
    int32_t primingFrames = 0;
    int32_t remainderFrames = 0;
};

// False, silently, when the file is of another kind or names no usable format.
[[nodiscard]] bool ParseMetadataHeader(FileReader& reader, MetadataHeader& header);

}  // namespace vantor
