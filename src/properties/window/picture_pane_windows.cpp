#include "properties/window/picture_pane_windows.h"

#include <cstdint>
#include <string>
#include <utility>

#include "host/host_services.h"
#include "properties/window/drawn_picture_windows.h"
#include "properties/window/picture_dialog_windows.h"
#include "properties/window/places_windows.h"
#include "properties/window/window_text_windows.h"

namespace vantor {

void LoadPicture(PropertiesView& view) {
    if (view.pictures.empty()) return;
    const HWND pane = Part(view, VANTOR_PICTURE);
    auto picture = Decode(view.pictures[view.picture], InsideOf(pane)).value_or(platform::Picture{});
    const PictureSize stored{picture.storedWidth, picture.storedHeight};
    view.thumbnail = OverBackground(std::move(picture), GetSysColor(COLOR_3DFACE));
    const std::string caption = PictureCaption(view.properties, view.picture, stored);
    SetText(Part(view, VANTOR_CAPTION), WithSystemLineBreaks(caption));
    EnableWindow(pane, !view.thumbnail.pixels.empty());
    InvalidateRect(pane, nullptr, TRUE);
}

void StepPicture(PropertiesView& view, size_t steps) {
    view.picture = (view.picture + steps) % view.pictures.size();
    LoadPicture(view);
}

void DrawPicture(const PropertiesView& view, const DRAWITEMSTRUCT& item) {
    const platform::Picture& picture = view.thumbnail;
    RECT frame = item.rcItem;
    FillRect(item.hDC, &frame, GetSysColorBrush(COLOR_3DFACE));
    const Box inside{frame.left, frame.top, frame.right - frame.left, frame.bottom - frame.top};
    if (!picture.pixels.empty())
        Draw(item.hDC, picture, FitInto(inside, picture.width, picture.height));
    else
        DrawEdge(item.hDC, &frame, BDR_SUNKENOUTER, BF_RECT);
    if (item.itemState & ODS_FOCUS) DrawFocusRect(item.hDC, &frame);
}

void OpenPicture(const PropertiesView& view) {
    if (view.thumbnail.pixels.empty()) return;
    const PictureBytes& bytes = view.pictures[view.picture];
    const std::string caption = PictureCaption(view.properties, view.picture, {});
    const std::string kind = caption.substr(0, caption.find('\n'));
    const std::string title = kind + ": " + std::string(BaseName(view.properties.fileName));
    const auto openByHost = Services().openImageModal;
    const auto size = static_cast<int32_t>(bytes.size());
    if (openByHost && openByHost(view.window, bytes.data(), size, title.c_str())) return;
    ShowPicture(bytes, title, view.window);
}

}  // namespace vantor
