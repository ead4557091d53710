// The columns of a sound report: what stands in them, for the page and for a table.
#pragma once

#include <span>
#include <string>

#include "wavehost/report/take.h"

namespace vantor::wavehost {

struct ReportColumn {
    const char* name;
    const char* kind;  // how the page sets it: "text", "number", "time", "long"
    std::string (*text)(const Take& take);
};

// Name to findings; the waveform is the page's alone.
std::span<const ReportColumn> ReportColumns();

// The takes as comma-separated values, a line each under the names of the columns.
std::string ReportCsv(const std::vector<Take>& takes);

}  // namespace vantor::wavehost
