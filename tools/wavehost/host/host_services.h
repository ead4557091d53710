// The services that this host offers to the module. All of them may be called from any thread, and none
// throws.
#pragma once

#include <atomic>
#include <cstdint>

#include "vantor_wave/host_interface.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

// The service of that name; null when this host does not offer it.
void* LookupHostService(const char* name);

// How the module shall read files: a mode of its reader (0: in turn, through the system's cache), and how
// much at a time.
struct ReadMode {
    int32_t mode;
    int32_t blocks;
    int32_t blockBytes;
};
// A file played from end to end wants large pieces; one that is looked at, or visited here and there, small.
inline constexpr ReadMode playingReads{0, 1, 128 * 1024};
inline constexpr ReadMode lookingReads{0, 1, 16 * 1024};

// The services are plain functions; what they need to know between calls stands here. Set by a command before
// it opens its first source.
struct HostState {
    ReadMode readMode = lookingReads;
    ReadMode peakReadMode = playingReads;
    fs::path stateFolder;  // names in saved state are relative to it; empty: they are absolute
    std::atomic<int64_t> diskReads = 0;
    std::atomic<int64_t> bytesRead = 0;
    std::atomic<int64_t> bytesWritten = 0;
    std::atomic<int32_t> writeFailure = 0;      // of the write that failed last; 0: none did
    std::atomic<double> peakBuildFraction = 0;  // of the build that ran last
};
HostState& Host();

// Copies a text into a caller's buffer, cut to fit and always terminated.
void CopyText(std::string_view text, char* out, int32_t outBytes);

// host_services_time.cpp
void FormatTime(double seconds, char* text, int32_t textBytes);  // m:ss.mmm
// host_services_names.cpp
void ResolveFileName(const char* in, char* out, int32_t outBytes);
void RelativeFileName(const char* in, char* out, int32_t outBytes);
// host_services_disk.cpp
// A negative count of bytes written is a failure's code: diskFull or diskWriteError.
void UpdateDiskCounters(int32_t bytesRead, int32_t bytesWritten);
void PreferredReadMode(int32_t* mode, int32_t* blocks, int32_t* blockBytes);
void PreferredPeakReadMode(int32_t* mode, int32_t* blocks, int32_t* blockBytes);

}  // namespace vantor::wavehost
