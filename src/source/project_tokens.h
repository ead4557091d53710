// The host's project lines, split into tokens.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

// Tokens are separated by blanks and tabs. One that begins with ", ' or ` runs to the next such character,
// which is dropped with it, or to the end of the line.
[[nodiscard]] std::vector<std::string> ProjectTokens(std::string_view line);

// Signed decimal after "-", hexadecimal after "0x", else unsigned decimal; up to the first other character.
// 0 when there is no number.
[[nodiscard]] int32_t ProjectInteger(std::string_view token);

}  // namespace vantor
