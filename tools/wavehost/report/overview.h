// The head of a sound report: what production reports say of a whole day.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "wavehost/report/take.h"

namespace vantor::wavehost {

using OverviewRow = std::pair<std::string, std::string>;  // name, value

// Project, roll, date, rate, depth and frame rate as the files say (several values side by side where they
// differ), takes and length; then what `additions` say (location, mixer ...), which also replaces what the
// files say under the same name.
std::vector<OverviewRow> OverviewOf(const std::vector<Take>& takes,
                                    const std::vector<OverviewRow>& additions);

}  // namespace vantor::wavehost
