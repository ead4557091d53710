// The pane of a properties window that shows the file's pictures one by one.
#pragma once

#include <windows.h>

#include <cstddef>

#include "properties/window/properties_view_windows.h"

namespace vantor {

// Decodes the present picture to the pane's size, and tells what it is.
void LoadPicture(PropertiesView& view);

// Goes on by so many pictures, and around.
void StepPicture(PropertiesView& view, size_t steps);

void DrawPicture(const PropertiesView& view, const DRAWITEMSTRUCT& item);

// Opens the present picture through the host, or in a window of its own when the host does not.
void OpenPicture(const PropertiesView& view);

}  // namespace vantor
