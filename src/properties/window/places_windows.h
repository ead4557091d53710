// Sizes and places of windows, in pixels.
#pragma once

#include <windows.h>

#include "properties/window_layout.h"

namespace vantor {

[[nodiscard]] Box InsideOf(HWND window);
[[nodiscard]] SIZE OutsideOf(HWND window);

// Of a whole window around an inside.
[[nodiscard]] SIZE OutsideSize(HWND window, const InsideSize& inside);

// What a window may cover of its screen.
[[nodiscard]] RECT WorkArea(HWND window);

// In the middle of the owner, or of the screen without one, and never beyond the screen.
void PlaceOnScreen(HWND window, SIZE size);

}  // namespace vantor
