// Files that are read and written as a whole.
#pragma once

#include <string>

namespace vantor::wavehost {

// "-": standard input. Throws Failure with the reason.
std::string ReadWhole(const std::string& name);
// "-": standard output; a file takes its place when it is whole. Throws Failure with the reason.
void WriteWhole(const std::string& name, const std::string& bytes);

}  // namespace vantor::wavehost
