#include "wavehost/picture/canvas.h"

#include <algorithm>

#include "wavehost/values/shown_text.h"

namespace vantor::wavehost {

namespace {

// Takes the last character of UTF-8 text away.
void PopCharacter(std::string& text) {
    while (!text.empty() && (text.back() & 0xC0) == 0x80)
        text.pop_back();
    if (!text.empty()) text.pop_back();
}

}  // namespace

std::string Drawable(const std::string& text) {
    std::string shown = ShownText(text);
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; };
    std::replace_if(shown.begin(), shown.end(), isControl, ' ');
    return shown;
}

std::string Shortened(Canvas& canvas, const std::string& text, double pixels, double width) {
    constexpr size_t longestShown = 1000;
    std::string whole = Drawable(text);
    if (whole.size() <= longestShown && canvas.TextWidth(whole, pixels) <= width) return whole;
    whole.resize(std::min(whole.size(), longestShown));
    do
        PopCharacter(whole);
    while (!whole.empty() && canvas.TextWidth(whole + "…", pixels) > width);
    return whole.empty() ? "" : whole + "…";
}

}  // namespace vantor::wavehost
