// Texts of files for people and tables, which take UTF-8.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantor::wavehost {

bool IsUtf8(std::string_view text);
// As it stands when it is UTF-8; else taken for Windows-1252, in which old recorders and editors wrote. The
// five bytes without a letter there are taken for Latin-1 controls, so that no two texts look the same.
std::string ShownText(std::string_view text);

// A file of text as UTF-8, without the byte-order mark in front of it: what is UTF-8, and UTF-16 with a mark.
// Nothing for what is neither.
std::optional<std::string> MarkedText(std::string_view bytes);

}  // namespace vantor::wavehost
