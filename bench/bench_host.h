// The smallest host that the module accepts, with a read mode that the benchmarks set.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "vantor_wave/host_interface.h"

namespace vantor::bench {

// How the module shall read files: a mode of its reader, and how much at a time.
struct ReadMode {
    int32_t mode;
    int32_t blocks;
    int32_t blockBytes;
};
using ReadSetting = std::optional<ReadMode>;  // none: what the module chooses by itself
inline constexpr ReadMode playingReads{0, 1, 128 * 1024};
inline constexpr ReadMode visitingReads{0, 0, 0};    // each request by itself
inline constexpr ReadMode openingReads{2, 1, 8192};  // through a window, as the module itself would

// Loads the module from beside the executable and has it register. Throws std::runtime_error.
void LoadModule();
// For readers opened from now on, to play and to build peaks.
void SetReadSetting(const ReadSetting& setting);

// An open source. Throws std::runtime_error when the file cannot be played.
HostPtr<PCM_source> OpenSource(const std::string& fileName);
// Opens a name, whatever comes of it, and closes it.
void LookInto(const std::string& fileName);
// Null when the file has no header that can be read.
HostPtr<PCM_source> OpenMetadataSource(const std::string& fileName);

// The module gives back what sources that do not play keep open.
void ReduceOpenFiles();

// What the module has told the host's disk counters.
struct DiskCounts {
    int64_t read = 0;
    int64_t written = 0;
};
DiskCounts ReportedDiskCounts();

}  // namespace vantor::bench
