#include "properties/window/window_text_windows.h"

#include <algorithm>
#include <climits>

#include "text/text.h"

namespace vantor {

std::wstring Wide(std::string_view text) {
    const std::string valid = Utf8OrLatin1(text);
    const auto bytes = static_cast<int>(std::min<size_t>(valid.size(), INT_MAX));
    std::wstring wide(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, valid.data(), bytes, nullptr, 0)),
                      0);
    MultiByteToWideChar(CP_UTF8, 0, valid.data(), bytes, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string Utf8(const std::wstring& wide) {
    const auto units = static_cast<int>(wide.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<size_t>(bytes), 0);
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, text.data(), bytes, nullptr, nullptr);
    return text;
}

std::wstring WindowText(HWND window) {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, 0);
    text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

void SetText(HWND window, std::string_view text) {
    SetWindowTextW(window, Wide(text).c_str());
}

}  // namespace vantor
