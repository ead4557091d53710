#include "wavehost/host/host_services.h"

#include <algorithm>
#include <cstring>

#include "wavehost/host/peak_services.h"
#include "wavehost/host/resampler.h"

namespace vantor::wavehost {

namespace {

struct Service {
    std::string_view name;
    void* function;
};

template <typename Function>
Service Offer(std::string_view name, Function* function) {
    return {name, reinterpret_cast<void*>(function)};
}

}  // namespace

void* LookupHostService(const char* name) {
    static const Service services[] = {
        Offer("Resampler_Create", &CreateResampler),
        Offer("format_timestr", &FormatTime),
        Offer("PeakGet_Create", &CreatePeakReader),
        Offer("PeakBuild_CreateEx", &CreatePeakBuilder),
        Offer("resolve_fn", &ResolveFileName),
        Offer("relative_fn", &RelativeFileName),
        Offer("GetPeakFileName", &PeakFileName),
        Offer("update_disk_counters", &UpdateDiskCounters),
        Offer("GetPreferredDiskReadMode", &PreferredReadMode),
        Offer("GetPreferredDiskReadModePeak", &PreferredPeakReadMode),
        Offer("HiresPeaksFromSource", &HiresPeaksFromSource),
    };
    const auto* found = std::find_if(std::begin(services), std::end(services),
                                     [&](const Service& service) { return name && service.name == name; });
    return found == std::end(services) ? nullptr : found->function;
}

HostState& Host() {
    static HostState state;
    return state;
}

void CopyText(std::string_view text, char* out, int32_t outBytes) {
    if (!out || outBytes < 1) return;
    const size_t length = std::min(text.size(), static_cast<size_t>(outBytes) - 1);
    std::memcpy(out, text.data(), length);
    out[length] = 0;
}

}  // namespace vantor::wavehost
