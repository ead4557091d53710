// Texts of files for people and tables, which take UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace vantor::wavehost {

bool IsUtf8(std::string_view text);
// As it stands when it is UTF-8; else taken for Windows-1252, in which old recorders and editors wrote. The
// five bytes without a letter there are taken for Latin-1 controls, so that no two texts look the same.
std::string ShownText(std::string_view text);

}  // namespace vantor::wavehost
