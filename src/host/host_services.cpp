#include "host/host_services.h"

#include <algorithm>
#include <limits>

namespace vantor {

namespace {

int32_t CounterValue(int64_t bytes) {
    return static_cast<int32_t>(std::clamp<int64_t>(bytes, 0, std::numeric_limits<int32_t>::max()));
}

void UpdateDiskCounters(int32_t bytesRead, int32_t bytesWritten) {
    if (const auto update = Services().updateDiskCounters) update(bytesRead, bytesWritten);
}

}  // namespace

HostServices& Services() {
    static HostServices services{};
    return services;
}

const char* Localize(const char* text, const char* section, int32_t flags) {
    const auto localize = Services().localize;
    const char* translated = localize ? localize(text, section, flags) : text;
    return translated ? translated : text;
}

void ReportDiskRead(int64_t bytes) {
    UpdateDiskCounters(CounterValue(bytes), 0);
}

void ReportDiskWritten(int64_t bytes) {
    UpdateDiskCounters(0, CounterValue(bytes));
}

void ReportWriteFailure(bool isDiskFull) {
    UpdateDiskCounters(0, isDiskFull ? diskFull : diskWriteError);
}

std::string TimeText(double seconds) {
    const auto formatTime = Services().formatTime;
    if (!formatTime) return {};
    char text[128] = {};
    formatTime(seconds, text, static_cast<int32_t>(sizeof text));
    text[sizeof text - 1] = '\0';
    return text;
}

}  // namespace vantor
