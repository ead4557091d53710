// One picture in a window of its own, as large as the screen allows.
#pragma once

#include <windows.h>

#include <string>

#include "properties/picture_bytes.h"

namespace vantor {

// Modal to `parent`; returns when the user has closed it.
void ShowPicture(const PictureBytes& bytes, const std::string& title, HWND parent);

}  // namespace vantor
