// The host's services: one process-wide table, filled once by the entry and read-only
// afterwards, with wrappers that are safe when the host does not offer a service.
#pragma once

#include <cstdint>
#include <string>

#include "vantor_wave/host_interface.h"

namespace vantor {

// Every slot may be null but for the five that the entry insists on. Names in the comments are those looked
// up.
struct HostServices {
    PCM_source* (*createFromType)(const char* typeName);                // "PCM_Source_CreateFromType"
    Resampler* (*createResampler)();                                    // "Resampler_Create", mandatory
    void (*formatTime)(double seconds, char* text, int32_t textBytes);  // "format_timestr", mandatory
    PeakReader* (*createPeakReader)(const char* fileName, int32_t sampleRate, int32_t channels,
                                    intptr_t extra);  // "PeakGet_Create", mandatory
    // Takes `source` over when it returns a builder.
    PeakBuilder* (*createPeakBuilder)(PCM_source* source, const char* fileName, int32_t sampleRate,
                                      int32_t channels, int32_t isFloat);   // "PeakBuild_CreateEx", mandatory
    void (*resolveFileName)(const char* in, char* out, int32_t outBytes);   // "resolve_fn", mandatory
    void (*relativeFileName)(const char* in, char* out, int32_t outBytes);  // "relative_fn"
    void (*peakFileName)(const char* fileName, char* out, int32_t outBytes);  // "GetPeakFileName"
    void (*updateDiskCounters)(int32_t bytesRead, int32_t bytesWritten);      // "update_disk_counters"
    void (*preferredReadMode)(int32_t* mode, int32_t* blocks,
                              int32_t* blockBytes);  // "GetPreferredDiskReadMode"
    void (*preferredPeakReadMode)(int32_t* mode, int32_t* blocks,
                                  int32_t* blockBytes);            // "GetPreferredDiskReadModePeak"
    void (*hiresPeaks)(PCM_source* source, PeakRequest* request);  // "HiresPeaksFromSource"
    void* openImageModal;                                          // "OpenImageModal"
    void* onMallocFail;                                            // "gOnMallocFail"; kept, not called
    void* createGroupsFromTab;  // "vac_createGroupsFromTab"; kept, not called
    const char* (*localize)(const char* text, const char* section, int32_t flags);  // "__localizeFunc"
    void* localizeMenu;                                                             // "__localizeMenu"; kept
    void* localizeInitializeDialog;  // "__localizeInitializeDialog"; kept
    void* localizePrepareDialog;     // "__localizePrepareDialog"; kept
    void* moduleInstance;            // the handle given to the entry
};

// The process-wide table. Written by the entry alone, before any source exists.
HostServices& Services();

// `text` in the user's language; `text` itself when the host does not translate. Never null.
const char* Localize(const char* text, const char* section = "wave", int32_t flags = 0);

// Adds to the host's disk counters, when it keeps any.
void ReportDiskRead(int64_t bytes);
void ReportDiskWritten(int64_t bytes);
// Tells the host that a write failed.
void ReportWriteFailure(bool diskFull);

// A time as the host shows it to the user ("format_timestr").
std::string TimeText(double seconds);

}  // namespace vantor
