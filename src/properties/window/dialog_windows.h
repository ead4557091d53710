// Modal dialogs out of the module's resources. A dialog's state is a record with `HWND window` and `bool
// wasOpened`.
#pragma once

#include <windows.h>

#include "host/host_services.h"

namespace vantor {

inline constexpr INT_PTR dialogClosed = 1;

// The record of a dialog; null before it opens.
template <typename View>
[[nodiscard]] View* ViewOf(HWND dialog) {
    return reinterpret_cast<View*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
}

template <auto open, auto handle, typename View>
INT_PTR CALLBACK DialogProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) SetWindowLongPtrW(window, GWLP_USERDATA, lParam);
    auto* const view = ViewOf<View>(window);
    if (!view) return FALSE;
    view->window = window;
    try {
        if (message != WM_INITDIALOG) return handle(*view, message, wParam, lParam);
        open(*view);
        view->wasOpened = true;
    } catch (...) {  // out of memory: no exception may pass through the system
        EndDialog(window, 0);
    }
    return FALSE;  // the focus is set
}

// True when it was shown, once the user has closed it.
//   open(view)                              its parts exist, it is not on the screen yet
//   handle(view, message, wParam, lParam)   true when the message is dealt with
template <auto open, auto handle, typename View>
bool ShowDialog(View& view, int resource, HWND parent) {
    auto* const module = static_cast<HINSTANCE>(Services().moduleInstance);
    const INT_PTR result =
        DialogBoxParamW(module, MAKEINTRESOURCEW(resource), parent, DialogProcedure<open, handle, View>,
                        reinterpret_cast<LPARAM>(&view));
    return result == dialogClosed || view.wasOpened;
}

inline void CloseDialog(HWND dialog) {
    EndDialog(dialog, dialogClosed);
}

}  // namespace vantor
