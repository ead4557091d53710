// A sound report as one self-contained page: HTML, its style and a little script, with no reference to
// anything outside. Without the script it is a plain table that reads and prints the same.
#pragma once

#include <string>
#include <vector>

#include "wavehost/report/overview.h"
#include "wavehost/report/take.h"

namespace vantor::wavehost {

std::string ReportPage(const std::string& title, const std::vector<OverviewRow>& overview,
                       const std::vector<Take>& takes);

}  // namespace vantor::wavehost
