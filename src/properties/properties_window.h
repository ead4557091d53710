// The window that shows a file's properties.
#pragma once

#include <cstdint>

#include "properties/file_properties.h"

namespace vantor {

// Shows the window, modal to `parentWindow` (an HWND; null: to none), on the calling thread until the user
// closes it. The pictures are read from the file first; after that the file is let go. 1 when it was shown;
// 0 when not: on a system without the module's window, or with a parent that is no window.
int32_t ShowPropertiesWindow(const FileProperties& properties, void* parentWindow);

}  // namespace vantor
