// The names that the schemes define, as tables.
#pragma once

#include <span>
#include <string_view>

namespace vantor::wavehost {

struct SchemeNames {
    std::string_view prefix;  // "INFO:"
    std::span<const std::string_view> names;
    std::span<const std::string_view> openParts;  // names beginning so are free behind it
};

// Of the schemes that WAV, RF64 and BW64 files carry.
std::span<const SchemeNames> KnownNames();

}  // namespace vantor::wavehost
