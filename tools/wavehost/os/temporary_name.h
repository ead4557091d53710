// The names of files that are on their way, by which those that the killed have left are known.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantor::wavehost {

// ".vantor-", the process's number and one that nobody can foresee and lay a link under, as eight hexadecimal
// digits each, ".tmp".
std::string TemporaryName();
bool IsTemporaryName(std::string_view name);
// The number of the process that made such a name.
uint32_t OwnerIn(std::string_view temporaryName);

}  // namespace vantor::wavehost
