// Texts from files and their names on a terminal, which control characters in them must not steer.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace vantor::wavehost {

// Control characters as blanks: those of ASCII but for tab and line end, DEL, and those that UTF-8 has from
// U+0080 on. A return before a line end is one with it.
std::string TerminalText(std::string_view text);
// The same on one line: line ends are blanks too.
std::string TerminalLine(std::string_view text);

// To a file byte for byte, to a terminal as TerminalText. False when not all of it was taken.
bool PutTo(std::FILE* stream, std::string_view text);
// Not a std::exception: where results go nothing more goes, whatever the next file would give.
struct OutputLost {
    std::string reason;
};
// The same. Throws OutputLost with the system's reason.
void PutAll(std::FILE* stream, std::string_view text);
// Empties the stream's buffer. "cannot be written", with the system's reason, when that or a write before it
// failed; else nothing.
std::string WhyNotWritten(std::FILE* stream);

}  // namespace vantor::wavehost
