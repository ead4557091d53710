#include "properties/window/look_windows.h"

#include <utility>

#include "properties/dialog_ids.h"

namespace vantor {

namespace {

class WindowContext {
  public:
    explicit WindowContext(HWND window) : window_(window), context_(GetDC(window)) {}
    ~WindowContext() { ReleaseDC(window_, context_); }
    WindowContext(const WindowContext&) = delete;
    WindowContext& operator=(const WindowContext&) = delete;
    operator HDC() const { return context_; }  // NOLINT: it stands for its handle

  private:
    HWND window_;
    HDC context_;
};

}  // namespace

int DpiOf(HWND window) {
    if (const auto dpiOfWindow = SystemFunction<UINT WINAPI(HWND)>("GetDpiForWindow"))
        if (const UINT dpi = dpiOfWindow(window)) return static_cast<int>(dpi);
    return GetDeviceCaps(WindowContext(window), LOGPIXELSY);
}

Font::~Font() {
    if (handle_) DeleteObject(handle_);
}

Font::Font(Font&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}

Font& Font::operator=(Font&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
}

Font MessageFont(HWND window, int dpi) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    LOGFONTW& font = metrics.lfMessageFont;
    const auto forDpi =
        SystemFunction<BOOL WINAPI(UINT, UINT, PVOID, UINT, UINT)>("SystemParametersInfoForDpi");
    if (forDpi && forDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, static_cast<UINT>(dpi)))
        return Font(font);
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    const int systemDpi = GetDeviceCaps(WindowContext(window), LOGPIXELSY);
    font.lfHeight = MulDiv(font.lfHeight, dpi, systemDpi);
    return Font(font);
}

SIZE TextSize(HWND window, const Font& font, const std::wstring& text) {
    const WindowContext context(window);
    const HGDIOBJ before = SelectObject(context, font.Handle());
    SIZE size{};
    GetTextExtentPoint32W(context, text.c_str(), static_cast<int>(text.size()), &size);
    SelectObject(context, before);
    return size;
}

ControlLook::ControlLook(HMODULE module) {
    ACTCTXW wanted{};
    wanted.cbSize = sizeof wanted;
    wanted.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
    wanted.lpResourceName = MAKEINTRESOURCEW(VANTOR_COMMON_CONTROLS);
    wanted.hModule = module;
    context_ = CreateActCtxW(&wanted);
    isActive_ = context_ != INVALID_HANDLE_VALUE && ActivateActCtx(context_, &cookie_);
}

ControlLook::~ControlLook() {
    if (isActive_) DeactivateActCtx(0, cookie_);
    if (context_ != INVALID_HANDLE_VALUE) ReleaseActCtx(context_);
}

}  // namespace vantor
