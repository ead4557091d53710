// Texts of the system's windows: UTF-16 there, UTF-8 everywhere else.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace vantor {

// What is not UTF-8 is taken for Latin-1.
[[nodiscard]] std::wstring Wide(std::string_view text);
[[nodiscard]] std::string Utf8(const std::wstring& wide);

[[nodiscard]] std::wstring WindowText(HWND window);
void SetText(HWND window, std::string_view text);

}  // namespace vantor
