#include "wavehost/host/host_services.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "wavehost/host/peak_services.h"
#include "wavehost/host/resampler.h"

namespace vantor::wavehost {

void* LookupHostService(const char* name) {
    static const OfferedService services[] = {
        Offer(service::createResampler, &CreateResampler),
        Offer(service::formatTime, &FormatTime),
        Offer(service::createPeakReader, &CreatePeakReader),
        Offer(service::createPeakBuilder, &CreatePeakBuilder),
        Offer(service::resolveFileName, &ResolveFileName),
        Offer(service::relativeFileName, &RelativeFileName),
        Offer(service::peakFileName, &PeakFileName),
        Offer(service::updateDiskCounters, &UpdateDiskCounters),
        Offer(service::preferredReadMode, &PreferredReadMode),
        Offer(service::preferredPeakReadMode, &PreferredPeakReadMode),
        Offer(service::hiresPeaks, &HiresPeaksFromSource),
    };
    return FindService(services, name);
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
