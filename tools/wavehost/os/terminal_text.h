// Texts from files and their names on a terminal, which control characters in them must not steer.
#pragma once

#include <string>
#include <string_view>

namespace vantor::wavehost {

// Control characters as blanks: those of ASCII but for tab and line end, DEL, and those that UTF-8 has from
// U+0080 on. A return before a line end is one with it.
std::string TerminalText(std::string_view text);
// The same on one line: line ends are blanks too.
std::string TerminalLine(std::string_view text);

// To standard output byte for byte, to a terminal as TerminalText. False when not all of it was taken.
bool PutOut(std::string_view text);

}  // namespace vantor::wavehost
