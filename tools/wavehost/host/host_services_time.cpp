#include <cmath>
#include <cstdio>

#include "wavehost/host/host_services.h"

namespace vantor::wavehost {

void FormatTime(double seconds, char* text, int32_t textBytes) {
    if (!std::isfinite(seconds) || std::fabs(seconds) > 1e12) seconds = 0;
    const long long milliseconds = std::llround(std::fabs(seconds) * 1000);
    char line[48];
    std::snprintf(line, sizeof line, "%s%lld:%02lld.%03lld", seconds < 0 && milliseconds > 0 ? "-" : "",
                  milliseconds / 60000, milliseconds / 1000 % 60, milliseconds % 1000);
    CopyText(line, text, textBytes);
}

}  // namespace vantor::wavehost
