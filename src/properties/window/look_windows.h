// The user's font at the screen's resolution, and the controls' present look.
#pragma once

#include <windows.h>

#include <string>

namespace vantor {

// A function that the system has from some version on; null before.
template <typename Function>
[[nodiscard]] Function* SystemFunction(const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), name)));
}

[[nodiscard]] int DpiOf(HWND window);

class Font {
  public:
    Font() = default;
    explicit Font(const LOGFONTW& font) : handle_(CreateFontIndirectW(&font)) {}
    ~Font();
    Font(Font&& other) noexcept;
    Font& operator=(Font&& other) noexcept;
    [[nodiscard]] HFONT Handle() const { return handle_; }

  private:
    HFONT handle_ = nullptr;
};

// The font that the user has set for messages, at a resolution.
[[nodiscard]] Font MessageFont(HWND window, int dpi);

[[nodiscard]] SIZE TextSize(HWND window, const Font& font, const std::wstring& text);

// Controls in the system's present look while it lives, whatever look the host has chosen for itself.
class ControlLook {
  public:
    explicit ControlLook(HMODULE module);
    ~ControlLook();
    ControlLook(const ControlLook&) = delete;
    ControlLook& operator=(const ControlLook&) = delete;

  private:
    HANDLE context_ = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie_ = 0;
    bool isActive_ = false;
};

}  // namespace vantor
