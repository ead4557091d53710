// The keys of a properties window, whatever part has the focus.
#pragma once

#include "properties/window/properties_view_windows.h"

namespace vantor {

// Ctrl+A, Ctrl+C, Ctrl+F, and Down in the filter; Tab, Enter and Esc in the value are the dialog's.
void ListenToKeys(PropertiesView& view);

}  // namespace vantor
