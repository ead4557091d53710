// What a properties window tells of its rows below the list and on the clipboard.
#pragma once

#include <string>

#include "properties/window/properties_view_windows.h"

namespace vantor {

// The whole value of the row with the focus among the selected ones, else of the first; without rows, the
// status.
void ShowValue(PropertiesView& view);

// How many rows there are, and an addition.
void ShowMessage(const PropertiesView& view, const std::string& addition = {});

// Puts the selected rows on the clipboard, else all that are shown, and says so.
void Copy(const PropertiesView& view);

}  // namespace vantor
