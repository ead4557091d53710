// The services that a host offers: plain functions that the module looks up by name, once, while its entry
// runs.
//
// Five are mandatory: without one of them the entry answers 0. The module does without any other. All may be
// called from any thread that calls the module, several at a time; none may throw. Pointers handed to a
// service are valid for the call alone unless it says otherwise.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vantor {

class PCM_source;
class PeakBuilder;
class PeakReader;
class Resampler;
struct PeakRequest;

// The name that a function is looked up or registered by, and its type. void: kept, never called.
template <typename Signature>
struct Service {
    using Function = Signature*;
    const char* name;
};

// How the module shall read a file.
enum DiskReadMode : int32_t {
    readUncached = -1,      // in turn, past the system's cache
    readCached = 0,         // in turn
    readAheadUncached = 1,  // overlapped read-ahead, past the system's cache
    readAheadCached = 2,    // overlapped read-ahead
};

// In place of a count of bytes written ("update_disk_counters"): a write failed.
inline constexpr auto diskFull = static_cast<int32_t>(0xF9FAB541u);
inline constexpr auto diskWriteError = static_cast<int32_t>(0xF9FAB542u);

namespace service {

// -- Mandatory

// A new resampler, the module's to destroy. Null: none can be had; requests at other rates then give no
// frames.
inline constexpr Service<Resampler*()> createResampler{"Resampler_Create"};

// Writes a time as the host shows it, such as "1:02.500", cut to textBytes with its zero.
inline constexpr Service<void(double seconds, char* text, int32_t textBytes)> formatTime{"format_timestr"};

// A reader of the stored peaks of the file, the module's to destroy. Null: there are none (yet). sampleRate:
// the file's, rounded. extra: what the host gave to BeginPeakBuild, else 0. A host without peaks answers
// null.
inline constexpr Service<PeakReader*(const char* fileName, int32_t sampleRate, int32_t channels,
                                     intptr_t extra)>
    createPeakReader{"PeakGet_Create"};

// A builder of the file's peaks, the module's to destroy. It takes over `source`, a source of its own that
// reads the file, when it is not null; else the module destroys that. isFloat: the samples are floating
// point, peaks above 1.0 may come. A host without peaks answers null.
inline constexpr Service<PeakBuilder*(PCM_source* source, const char* fileName, int32_t sampleRate,
                                      int32_t channels, int32_t isFloat)>
    createPeakBuilder{"PeakBuild_CreateEx"};

// Turns a file name of a project file into an absolute one: copies it, cut to outBytes, when there is nothing
// to do. The module gives 4096 bytes.
inline constexpr Service<void(const char* in, char* out, int32_t outBytes)> resolveFileName{"resolve_fn"};

inline constexpr const char* mandatory[] = {createPeakReader.name, createPeakBuilder.name,
                                            createResampler.name, formatTime.name, resolveFileName.name};

// -- Not mandatory

// A new, empty source of the host's for a type name. Asked for "MP3" when a WAV file holds MPEG audio and is
// offered at lastResortPriority. Null: none.
inline constexpr Service<PCM_source*(const char* typeName)> createFromType{"PCM_Source_CreateFromType"};

// The way back of "resolve_fn": a name that suits the project file. The module gives 2048 bytes. Missing:
// saved names are absolute.
inline constexpr Service<void(const char* in, char* out, int32_t outBytes)> relativeFileName{"relative_fn"};

// The file that holds, or would hold, the peaks of fileName; empty: none. The module gives 2048 bytes,
// deletes the file in ClearPeaks(true), and asks again until the name repeats, eight times at most. Missing:
// none are deleted.
inline constexpr Service<void(const char* fileName, char* out, int32_t outBytes)> peakFileName{
    "GetPeakFileName"};

// Adds to the host's counters. One of the two is 0. bytesWritten may be diskFull or diskWriteError instead.
inline constexpr Service<void(int32_t bytesRead, int32_t bytesWritten)> updateDiskCounters{
    "update_disk_counters"};

// How a source reads its file to play. The three come filled with what the module would take, {1, 3, 262144};
// the service writes those that it wants otherwise: a DiskReadMode, blocks, and bytes a block (rounded up to
// 8192). {0, 0, 0}: every request by itself. Asked when a handle is opened. Which suits what:
// docs/performance.md.
inline constexpr Service<void(int32_t* mode, int32_t* blocks, int32_t* blockBytes)> preferredReadMode{
    "GetPreferredDiskReadMode"};

// The same for sources that build and draw peaks; the module would take {2, 2, 65536}.
inline constexpr Service<void(int32_t* mode, int32_t* blocks, int32_t* blockBytes)> preferredPeakReadMode{
    "GetPreferredDiskReadModePeak"};

// Fills a request for peaks from the samples of `source`, a source of the module's, through its ReadSamples:
// asked when the stored peaks are too coarse, or missing. Missing: the stored ones have to do.
inline constexpr Service<void(PCM_source* source, PeakRequest* request)> hiresPeaks{"HiresPeaksFromSource"};

// Shows an embedded picture in a window; the bytes are the picture's file (JPEG, PNG ...). parentWindow: the
// system's handle. Answers nonzero when it was shown. Missing: the properties window has one of its own.
inline constexpr Service<int32_t(void* parentWindow, const void* image, int32_t imageBytes,
                                 const char* title)>
    openImageModal{"OpenImageModal"};

// `text` in the user's language, or `text` itself; valid for ever. section: "wave", for note names
// "wave_notes". flags: 0. Missing: English.
inline constexpr Service<const char*(const char* text, const char* section, int32_t flags)> localize{
    "__localizeFunc"};

// Looked up and kept; no call is made.
inline constexpr Service<void> onMallocFail{"gOnMallocFail"};
inline constexpr Service<void> createGroupsFromTab{"vac_createGroupsFromTab"};
inline constexpr Service<void> localizeMenu{"__localizeMenu"};
inline constexpr Service<void> localizeInitializeDialog{"__localizeInitializeDialog"};
inline constexpr Service<void> localizePrepareDialog{"__localizePrepareDialog"};

}  // namespace service

// One entry of a host's table of services. Offer holds the function to the type that the module calls.
struct OfferedService {
    const char* name;
    void* function;
};
template <typename Signature>
OfferedService Offer(const Service<Signature>& service, Signature* function) {
    return {service.name, reinterpret_cast<void*>(function)};
}

// What LookupService answers: the function of that name in the table, null when it is not there.
template <std::size_t count>
void* FindService(const OfferedService (&table)[count], const char* name) {
    for (const OfferedService& offered : table)
        if (name && std::strcmp(offered.name, name) == 0) return offered.function;
    return nullptr;
}

}  // namespace vantor
