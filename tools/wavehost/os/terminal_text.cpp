#include "wavehost/os/terminal_text.h"

#include <algorithm>

#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

constexpr unsigned char deleteCharacter = 0x7F, c1Lead = 0xC2;

// Bytes of the control character at the start of `text`; 0 when there is none.
size_t ControlBytes(std::string_view text) {
    const auto at = [&](size_t index) { return static_cast<unsigned char>(text[index]); };
    if (at(0) == '\n' || at(0) == '\t' || text.starts_with("\r\n")) return 0;
    if (at(0) < ' ' || at(0) == deleteCharacter) return 1;
    return text.size() > 1 && at(0) == c1Lead && at(1) >= 0x80 && at(1) < 0xA0 ? 2 : 0;
}

bool HoldsControls(std::string_view text) {
    for (; !text.empty(); text.remove_prefix(1))
        if (ControlBytes(text) > 0) return true;
    return false;
}

}  // namespace

std::string TerminalText(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const size_t control = ControlBytes(text);
        shown += control > 0 ? ' ' : text.front();
        text.remove_prefix(std::max<size_t>(control, 1));
    }
    return shown;
}

std::string TerminalLine(std::string_view text) {
    std::string line = TerminalText(text);
    std::ranges::replace_if(
        line, [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line;
}

bool PutTo(std::FILE* stream, std::string_view text) {
    std::string shown;
    if (HoldsControls(text) && IsTerminal(stream)) text = shown = TerminalText(text);
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size();
}

void PutAll(std::FILE* stream, std::string_view text) {
    if (!PutTo(stream, text)) throw OutputLost{"cannot be written: " + LastReason()};
}

std::string WhyNotWritten(std::FILE* stream) {
    const bool isFlushed = std::fflush(stream) == 0;
    if (isFlushed && !std::ferror(stream)) return {};
    return "cannot be written" + (isFlushed ? "" : ": " + LastReason());
}

}  // namespace vantor::wavehost
