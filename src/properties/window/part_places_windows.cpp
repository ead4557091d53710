#include "properties/window/part_places_windows.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>

#include "host/host_services.h"
#include "properties/window/list_windows.h"
#include "properties/window/places_windows.h"
#include "properties/window/window_text_windows.h"
#include "properties/window_layout.h"

namespace vantor {

namespace {

// Of the list's header and borders, and of a row.
void MeasureList(HWND list, LayoutInput& input) {
    const auto header = reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0));
    RECT row{LVIR_BOUNDS, 0, 0, input.lineHeight};
    SendMessageW(list, LVM_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&row));  // an empty list has no rows
    input.rowHeight = static_cast<int>(row.bottom - row.top);
    input.listExtra = OutsideOf(header).cy + OutsideOf(list).cy - InsideOf(list).height;
}

LayoutInput InputFor(const PropertiesView& view, const Box& inside) {
    const auto textWidth = [&](int part) {
        return static_cast<int>(TextSize(view.window, view.font, WindowText(Part(view, part))).cx);
    };
    LayoutInput input;
    input.width = inside.width;
    input.height = inside.height;
    input.lineHeight = TextSize(view.window, view.font, L"Ag").cy;
    input.filterLabelWidth = textWidth(VANTOR_FILTER_LABEL) + 1;
    MeasureList(Part(view, VANTOR_LIST), input);
    for (const int button : {VANTOR_COPY, IDCANCEL})
        input.buttonWidth = std::max(input.buttonWidth, textWidth(button) + 2 * input.lineHeight);
    if (!view.pictures.empty())
        input.pictures = view.pictures.size() > 1 ? PictureShare::several : PictureShare::one;
    input.statusOnly = !HasRows(view);
    return input;
}

}  // namespace

void SetTexts(const PropertiesView& view) {
    constexpr std::pair<int, const char*> texts[] = {
        {VANTOR_FILTER_LABEL, "Filter"}, {VANTOR_COPY, "Copy"}, {IDCANCEL, "Close"}};
    for (const auto& [part, text] : texts)
        SetText(Part(view, part), Localize(text));
    const std::string& fileName = view.properties.fileName;
    SetText(view.window, Localize("Properties") + (": " + std::string(BaseName(fileName))));
    SetText(Part(view, VANTOR_PATH), fileName);
}

void HideUnused(const PropertiesView& view) {
    const auto hide = [&](std::initializer_list<int> parts) {
        for (const int part : parts) {
            ShowWindow(Part(view, part), SW_HIDE);
            EnableWindow(Part(view, part), FALSE);
        }
    };
    if (!HasRows(view)) hide({VANTOR_FILTER_LABEL, VANTOR_FILTER, VANTOR_LIST});
    if (view.pictures.empty()) hide({VANTOR_PICTURE, VANTOR_CAPTION});
    if (view.pictures.size() < 2) hide({VANTOR_PREVIOUS, VANTOR_NEXT});
}

void SetFont(PropertiesView& view, int dpi) {
    Font font = MessageFont(view.window, dpi);
    for (HWND part = GetWindow(view.window, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT))
        SendMessageW(part, WM_SETFONT, reinterpret_cast<WPARAM>(font.Handle()), TRUE);
    view.font = std::move(font);
    SetColumnWidths(view);
}

void PlaceWindow(const PropertiesView& view) {
    PlaceOnScreen(view.window, OutsideSize(view.window, FirstSize(InputFor(view, {}))));
}

void LayOut(const PropertiesView& view) {
    const WindowLayout layout = LayOutWindow(InputFor(view, InsideOf(view.window)));
    const std::pair<int, const Box&> places[] = {
        {VANTOR_PATH, layout.path},       {VANTOR_FILTER_LABEL, layout.filterLabel},
        {VANTOR_FILTER, layout.filter},   {VANTOR_LIST, layout.list},
        {VANTOR_VALUE, layout.value},     {VANTOR_PICTURE, layout.picture},
        {VANTOR_CAPTION, layout.caption}, {VANTOR_PREVIOUS, layout.previous},
        {VANTOR_NEXT, layout.next},       {VANTOR_MESSAGE, layout.message},
        {VANTOR_COPY, layout.copy},       {IDCANCEL, layout.close},
    };
    for (const auto& [part, box] : places)
        SetWindowPos(Part(view, part), nullptr, box.left, box.top, box.width, box.height,
                     SWP_NOZORDER | SWP_NOACTIVATE);
    WidenLastColumn(view);
    InvalidateRect(view.window, nullptr, TRUE);
}

void SetLeastSize(const PropertiesView& view, MINMAXINFO& info) {
    if (!view.font.Handle()) return;  // on its way to the screen
    const SIZE least = OutsideSize(view.window, LeastSize(InputFor(view, {})));
    info.ptMinTrackSize = {least.cx, least.cy};
}

void ChangeDpi(PropertiesView& view, int dpi, const RECT& wanted) {
    SetFont(view, dpi);
    SetWindowPos(view.window, nullptr, wanted.left, wanted.top, wanted.right - wanted.left,
                 wanted.bottom - wanted.top, SWP_NOZORDER | SWP_NOACTIVATE);
    LayOut(view);
}

}  // namespace vantor
