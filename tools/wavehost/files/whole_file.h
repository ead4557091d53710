// Files that are read as a whole.
#pragma once

#include <string>

namespace vantor::wavehost {

// "-": standard input. Throws Failure with the reason.
std::string ReadWhole(const std::string& name);

}  // namespace vantor::wavehost
