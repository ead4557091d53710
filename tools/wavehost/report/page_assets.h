// The style and the script of the page, from the files in page/ (made part of the program by the build).
#pragma once

#include <string_view>

namespace vantor::wavehost {

extern const std::string_view pageStyle;
extern const std::string_view pageScript;

}  // namespace vantor::wavehost
