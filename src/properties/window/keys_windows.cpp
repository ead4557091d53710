#include "properties/window/keys_windows.h"

#include "properties/window/dialog_windows.h"
#include "properties/window/list_windows.h"
#include "properties/window/row_texts_windows.h"

namespace vantor {

namespace {

bool IsTextField(HWND part) {
    const int id = GetDlgCtrlID(part);
    return id == VANTOR_PATH || id == VANTOR_FILTER || id == VANTOR_VALUE;
}

// A text field with marked text.
bool CopiesItself(HWND part) {
    if (!IsTextField(part)) return false;
    DWORD from = 0, to = 0;
    SendMessageW(part, EM_GETSEL, reinterpret_cast<WPARAM>(&from), reinterpret_cast<LPARAM>(&to));
    return from != to;
}

// The functions below answer whether the key is dealt with.

bool SelectEverything(const PropertiesView& view, HWND part) {
    if (IsTextField(part))
        SendMessageW(part, EM_SETSEL, 0, -1);
    else
        SelectAll(view);
    return true;
}

bool CopyRows(const PropertiesView& view, HWND part) {
    if (CopiesItself(part)) return false;
    Copy(view);
    return true;
}

bool FocusFilter(const PropertiesView& view, HWND) {
    if (!HasRows(view)) return true;
    SetFocus(Part(view, VANTOR_FILTER));
    SendMessageW(Part(view, VANTOR_FILTER), EM_SETSEL, 0, -1);
    return true;
}

struct ControlKey {
    WPARAM key;
    bool (*press)(const PropertiesView& view, HWND part);
};
constexpr ControlKey controlKeys[] = {{'A', SelectEverything}, {'C', CopyRows}, {'F', FocusFilter}};

bool HandleKey(const PropertiesView& view, HWND part, WPARAM key) {
    if (GetKeyState(VK_CONTROL) >= 0 || GetKeyState(VK_MENU) < 0) {
        if (key != VK_DOWN || part != Part(view, VANTOR_FILTER)) return false;
        FocusList(view);
        return true;
    }
    for (const auto& controlKey : controlKeys)
        if (controlKey.key == key) return controlKey.press(view, part);
    return false;
}

// What the keys above become: Ctrl+A is character 1.
bool IsTakenCharacter(HWND part, WPARAM character) {
    for (const auto& controlKey : controlKeys)
        if (character == controlKey.key - 'A' + 1) return controlKey.press != CopyRows || !CopiesItself(part);
    return false;
}

LRESULT CALLBACK PartProcedure(HWND part, UINT message, WPARAM wParam, LPARAM lParam) {
    auto& view = *ViewOf<PropertiesView>(GetParent(part));
    if (message == WM_KEYDOWN && HandleKey(view, part, wParam)) return 0;
    if (message == WM_CHAR && IsTakenCharacter(part, wParam)) return 0;
    const LRESULT result = CallWindowProcW(view.partProcedures[part], part, message, wParam, lParam);
    // Tab, Enter and Esc are the dialog's in a text of several lines too.
    const bool isDialogCode = message == WM_GETDLGCODE && part == Part(view, VANTOR_VALUE);
    return isDialogCode ? result & ~(DLGC_WANTALLKEYS | DLGC_WANTTAB) : result;
}

}  // namespace

void ListenToKeys(PropertiesView& view) {
    for (HWND part = GetWindow(view.window, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT)) {
        const auto before = GetWindowLongPtrW(part, GWLP_WNDPROC);
        view.partProcedures[part] = reinterpret_cast<WNDPROC>(before);
        SetWindowLongPtrW(part, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(PartProcedure));
    }
}

}  // namespace vantor
