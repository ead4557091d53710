// The texts on the parts of a properties window, their font and where they stand.
#pragma once

#include <windows.h>

#include "properties/window/properties_view_windows.h"

namespace vantor {

void SetTexts(const PropertiesView& view);

// Parts that have nothing to show of this file.
void HideUnused(const PropertiesView& view);

void SetFont(PropertiesView& view, int dpi);

// Gives the window its first size and place.
void PlaceWindow(const PropertiesView& view);

// Puts every part where the window's present size wants it.
void LayOut(const PropertiesView& view);

void SetLeastSize(const PropertiesView& view, MINMAXINFO& info);

// Follows the window to a screen of another resolution: `wanted` is what it shall cover there.
void ChangeDpi(PropertiesView& view, int dpi, const RECT& wanted);

}  // namespace vantor
