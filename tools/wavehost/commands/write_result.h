// The one result of a command, where its -o says.
#pragma once

#include <string>
#include <string_view>

namespace vantor::wavehost {

// How messages call it: its name, or "standard output" for "-".
std::string OutputName(const std::string& output);
// Writes it as a whole; a failure is told under the output's name. Returns the exit status.
int WriteResult(const std::string& output, std::string_view content);

}  // namespace vantor::wavehost
