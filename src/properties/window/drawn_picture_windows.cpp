#include "properties/window/drawn_picture_windows.h"

#include <algorithm>
#include <cstdint>

namespace vantor {

std::optional<platform::Picture> Decode(const PictureBytes& bytes, const Box& box) {
    auto picture = platform::DecodePicture(bytes, box.width, box.height);
    if (!picture) picture = platform::DecodePicture(Resynchronised(bytes), box.width, box.height);
    return picture;
}

platform::Picture OverBackground(platform::Picture picture, COLORREF background) {
    const int colours[3] = {GetBValue(background), GetGValue(background), GetRValue(background)};
    for (size_t at = 0; at + 3 < picture.pixels.size(); at += 4) {
        const int through = 255 - picture.pixels[at + 3];
        for (size_t i = 0; i < 3; ++i)
            picture.pixels[at + i] =
                static_cast<uint8_t>(std::min(255, picture.pixels[at + i] + colours[i] * through / 255));
    }
    return picture;
}

void Draw(HDC context, const platform::Picture& picture, const Box& place) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, picture.width, -picture.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    SetStretchBltMode(context, HALFTONE);
    SetBrushOrgEx(context, 0, 0, nullptr);
    StretchDIBits(context, place.left, place.top, place.width, place.height, 0, 0, picture.width,
                  picture.height, picture.pixels.data(), &info, DIB_RGB_COLORS, SRCCOPY);
}

}  // namespace vantor
