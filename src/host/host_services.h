// The host's services: one process-wide table, filled once by the entry and read-only
// afterwards, with wrappers that are safe when the host does not offer a service.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "vantor_wave/host_interface.h"

namespace vantor {

// The type of a service's function.
template <const auto& service>
using Slot = typename std::remove_cvref_t<decltype(service)>::Function;

// In the order in which they are looked up. Every slot may be null but for the mandatory ones.
struct HostServices {
    Slot<service::createFromType> createFromType;
    Slot<service::createResampler> createResampler;
    Slot<service::formatTime> formatTime;
    Slot<service::createPeakReader> createPeakReader;
    Slot<service::createPeakBuilder> createPeakBuilder;
    Slot<service::resolveFileName> resolveFileName;
    Slot<service::relativeFileName> relativeFileName;
    Slot<service::peakFileName> peakFileName;
    Slot<service::updateDiskCounters> updateDiskCounters;
    Slot<service::preferredReadMode> preferredReadMode;
    Slot<service::preferredPeakReadMode> preferredPeakReadMode;
    Slot<service::hiresPeaks> hiresPeaks;
    Slot<service::openImageModal> openImageModal;
    Slot<service::onMallocFail> onMallocFail;
    Slot<service::createGroupsFromTab> createGroupsFromTab;
    Slot<service::localize> localize;
    Slot<service::localizeMenu> localizeMenu;
    Slot<service::localizeInitializeDialog> localizeInitializeDialog;
    Slot<service::localizePrepareDialog> localizePrepareDialog;
    void* moduleInstance;  // the handle given to the entry
};

// The process-wide table. Written by the entry alone, before any source exists.
HostServices& Services();

// `text` in the user's language; `text` itself when the host does not translate. Never null.
const char* Localize(const char* text, const char* section = "wave", int32_t flags = 0);

// Adds to the host's disk counters, when it keeps any.
void ReportDiskRead(int64_t bytes);
void ReportDiskWritten(int64_t bytes);
// Tells the host that a write failed.
void ReportWriteFailure(bool isDiskFull);

// A time as the host shows it to the user ("format_timestr").
std::string TimeText(double seconds);

}  // namespace vantor
