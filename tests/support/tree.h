// Where the source tree and the build lie.
#pragma once

#include <string>

namespace vantor {

std::string SourceTree();
std::string BuildTree();

}  // namespace vantor
