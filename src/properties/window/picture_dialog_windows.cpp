#include "properties/window/picture_dialog_windows.h"

#include <algorithm>
#include <utility>

#include "properties/dialog_ids.h"
#include "properties/window/dialog_windows.h"
#include "properties/window/drawn_picture_windows.h"
#include "properties/window/look_windows.h"
#include "properties/window/places_windows.h"
#include "properties/window/window_text_windows.h"

namespace vantor {

namespace {

struct PictureView {
    const PictureBytes& bytes;
    const std::string& title;
    platform::Picture picture{};  // empty when it cannot be decoded
    HWND window = nullptr;
    bool wasOpened = false;
};

void Open(PictureView& view) {
    SetText(view.window, view.title);
    const RECT area = WorkArea(view.window);
    auto picture = Decode(view.bytes, {0, 0, area.right - area.left, area.bottom - area.top});
    if (picture) view.picture = OverBackground(std::move(*picture), GetSysColor(COLOR_WINDOW));
    const int least = 2 * DpiOf(view.window);  // two inches
    const InsideSize inside{std::max(view.picture.width, least), std::max(view.picture.height, least)};
    PlaceOnScreen(view.window, OutsideSize(view.window, inside));
}

void Paint(const PictureView& view) {
    PAINTSTRUCT paint;
    const HDC context = BeginPaint(view.window, &paint);
    const Box place = FitInto(InsideOf(view.window), view.picture.width, view.picture.height);
    FillRect(context, &paint.rcPaint, GetSysColorBrush(COLOR_WINDOW));
    if (!view.picture.pixels.empty()) Draw(context, view.picture, place);
    EndPaint(view.window, &paint);
}

bool Handle(PictureView& view, UINT message, WPARAM wParam, LPARAM) {
    if (message == WM_SIZE) InvalidateRect(view.window, nullptr, TRUE);
    if (message == WM_PAINT) Paint(view);
    if (message == WM_CLOSE || (message == WM_COMMAND && LOWORD(wParam) == IDCANCEL))
        CloseDialog(view.window);
    return message == WM_PAINT || message == WM_CLOSE || message == WM_COMMAND;
}

}  // namespace

void ShowPicture(const PictureBytes& bytes, const std::string& title, HWND parent) {
    PictureView view{bytes, title};
    ShowDialog<Open, Handle>(view, VANTOR_PICTURE_DIALOG, parent);
}

}  // namespace vantor
