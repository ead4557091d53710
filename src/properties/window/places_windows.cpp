#include "properties/window/places_windows.h"

#include <algorithm>

namespace vantor {

Box InsideOf(HWND window) {
    RECT inside{};
    GetClientRect(window, &inside);
    return {0, 0, inside.right, inside.bottom};
}

SIZE OutsideOf(HWND window) {
    RECT outside{};
    GetWindowRect(window, &outside);
    return {outside.right - outside.left, outside.bottom - outside.top};
}

SIZE OutsideSize(HWND window, const InsideSize& inside) {
    const SIZE outside = OutsideOf(window);
    const Box now = InsideOf(window);
    return {inside.width + outside.cx - now.width, inside.height + outside.cy - now.height};
}

RECT WorkArea(HWND window) {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
    return monitor.rcWork;
}

void PlaceOnScreen(HWND window, SIZE size) {
    const HWND owner = GetWindow(window, GW_OWNER);
    const RECT area = WorkArea(owner ? owner : window);
    RECT middle = area;
    if (owner && !IsIconic(owner)) GetWindowRect(owner, &middle);
    size.cx = std::min(size.cx, area.right - area.left);
    size.cy = std::min(size.cy, area.bottom - area.top);
    const LONG left = std::clamp((middle.left + middle.right - size.cx) / 2, area.left, area.right - size.cx);
    const LONG top = std::clamp((middle.top + middle.bottom - size.cy) / 2, area.top, area.bottom - size.cy);
    SetWindowPos(window, nullptr, left, top, size.cx, size.cy, SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace vantor
