// Numbers in texts, whatever the user's language settings.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vantor::wavehost {

// Digits alone, below 2^64.
std::optional<uint64_t> UnsignedOf(std::string_view text);
// "-12.5", "3e2": a whole text that is a finite number.
std::optional<double> DecimalOf(std::string_view text);
// Without blanks, tabs and line ends around it.
std::string_view Trimmed(std::string_view text);

}  // namespace vantor::wavehost
