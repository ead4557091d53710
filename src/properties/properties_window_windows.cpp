// The properties window on this system: what each message, notification and command is for.
#include <utility>

#include "host/host_services.h"
#include "properties/properties_window.h"
#include "properties/window/dialog_windows.h"
#include "properties/window/keys_windows.h"
#include "properties/window/list_windows.h"
#include "properties/window/look_windows.h"
#include "properties/window/part_places_windows.h"
#include "properties/window/picture_pane_windows.h"
#include "properties/window/properties_view_windows.h"
#include "properties/window/row_texts_windows.h"

namespace vantor {

namespace {

constexpr UINT pictureWanted = WM_APP + 1;  // the window stands: time to decode
constexpr UINT valueWanted = WM_APP + 2;    // the selection has changed, in thousands of rows maybe

void FilterRows(PropertiesView& view) {
    if (!view.font.Handle()) return;  // on its way to the screen
    Refill(view);
    ShowMessage(view);
}

void SortRows(PropertiesView& view, const NMLISTVIEW& click) {
    SortByColumn(view, PropertyColumn(click.iSubItem));
    ShowMessage(view);
}

bool HandleList(PropertiesView& view, UINT code, LPARAM lParam) {
    switch (code) {
        case LVN_GETDISPINFOW:
            GiveCell(view, reinterpret_cast<NMLVDISPINFOW*>(lParam)->item);
            return true;
        case LVN_ITEMCHANGED:
        case LVN_ODSTATECHANGED:
            if (!std::exchange(view.valueIsStale, true)) PostMessageW(view.window, valueWanted, 0, 0);
            return true;
        case LVN_COLUMNCLICK:
            SortRows(view, *reinterpret_cast<const NMLISTVIEW*>(lParam));
            return true;
        case LVN_ODFINDITEMW:
            SetWindowLongPtrW(view.window, DWLP_MSGRESULT,
                              FindItem(view, *reinterpret_cast<const NMLVFINDITEMW*>(lParam)));
            return true;
        default:
            return false;
    }
}

bool HandleClick(PropertiesView& view, int part) {
    switch (part) {
        case IDCANCEL:
            CloseDialog(view.window);
            return true;
        case IDOK:  // Enter
            if (GetFocus() == Part(view, VANTOR_FILTER)) FocusList(view);
            return true;
        case VANTOR_COPY:
            Copy(view);
            return true;
        case VANTOR_PREVIOUS:
            StepPicture(view, view.pictures.size() - 1);
            return true;
        case VANTOR_NEXT:
            StepPicture(view, 1);
            return true;
        case VANTOR_PICTURE:
            OpenPicture(view);
            return true;
        default:
            return false;
    }
}

bool HandleCommand(PropertiesView& view, int part, int event) {
    if (part != VANTOR_FILTER) return event == BN_CLICKED && HandleClick(view, part);
    if (event == EN_CHANGE) FilterRows(view);
    return event == EN_CHANGE;
}

void Open(PropertiesView& view) {
    if (const auto leaveToMe = SystemFunction<BOOL WINAPI(HWND, int, int)>("SetDialogDpiChangeBehavior"))
        leaveToMe(view.window, 1, 1);  // DDC_DISABLE_ALL: the places are set here
    SetTexts(view);
    HideUnused(view);
    ListenToKeys(view);
    AddColumns(view);
    SetFont(view, DpiOf(view.window));
    PlaceWindow(view);
    FilterRows(view);
    ShowValue(view);
    LayOut(view);
    SetFocus(Part(view, HasRows(view) ? VANTOR_LIST : VANTOR_VALUE));
    PostMessageW(view.window, pictureWanted, 0, 0);
}

bool Handle(PropertiesView& view, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_SIZE:
            LayOut(view);
            return true;
        case WM_GETMINMAXINFO:
            SetLeastSize(view, *reinterpret_cast<MINMAXINFO*>(lParam));
            return true;
        case WM_DPICHANGED:
            ChangeDpi(view, HIWORD(wParam), *reinterpret_cast<const RECT*>(lParam));
            LoadPicture(view);
            return true;
        case WM_NOTIFY: {
            const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
            return header.idFrom == VANTOR_LIST && HandleList(view, header.code, lParam);
        }
        case WM_COMMAND:
            return HandleCommand(view, LOWORD(wParam), HIWORD(wParam));
        case WM_DRAWITEM:
            DrawPicture(view, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
            return true;
        case valueWanted:
            ShowValue(view);
            return true;
        case pictureWanted:
            LoadPicture(view);
            return true;
        case WM_CLOSE:
            CloseDialog(view.window);
            return true;
        default:
            return false;
    }
}

}  // namespace

int32_t ShowPropertiesWindow(const FileProperties& properties, void* parentWindow) {
    auto* const parent = static_cast<HWND>(parentWindow);
    if (parent && !IsWindow(parent)) return 0;
    const auto pictures = ReadPictures(properties);
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES};
    const ControlLook look(static_cast<HMODULE>(Services().moduleInstance));
    InitCommonControlsEx(&controls);
    PropertiesView view{properties, pictures};
    return ShowDialog<Open, Handle>(view, VANTOR_PROPERTIES_DIALOG, parent) ? 1 : 0;
}

}  // namespace vantor
