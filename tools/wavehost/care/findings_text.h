// Findings as lines for a person and as JSON.
#pragma once

#include <string>

#include "wavehost/care/findings.h"

namespace vantor::wavehost {

// "error cut-off (data at 36): the file ends ..."
std::string FindingLine(const Finding& finding);
// {"file","findings":[{"name","severity","chunk","offset","text","mendable"}]}, one line. What only --force
// mends is not mendable here.
std::string FindingsJson(const std::string& file, const Findings& findings);

}  // namespace vantor::wavehost
