// A picture of a file on its way to the screen.
#pragma once

#include <windows.h>

#include <optional>

#include "platform/picture_decoder.h"
#include "properties/picture_bytes.h"
#include "properties/window_layout.h"

namespace vantor {

// Scaled down to fit into the box; nothing when the system cannot decode it, as it lies there or without an
// ID3 tag's unsynchronisation.
[[nodiscard]] std::optional<platform::Picture> Decode(const PictureBytes& bytes, const Box& box);

// The picture over a plain background.
[[nodiscard]] platform::Picture OverBackground(platform::Picture picture, COLORREF background);

void Draw(HDC context, const platform::Picture& picture, const Box& place);

}  // namespace vantor
