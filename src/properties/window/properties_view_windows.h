// All that an open properties window knows. What is done with it: list_windows.h, row_texts_windows.h,
// part_places_windows.h, keys_windows.h and picture_pane_windows.h.
#pragma once

// The controls' header leans on the system's.
// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

#include <cstdint>
#include <map>
#include <vector>

#include "platform/picture_decoder.h"
#include "properties/dialog_ids.h"
#include "properties/file_properties.h"
#include "properties/picture_bytes.h"
#include "properties/property_list.h"
#include "properties/window/look_windows.h"

namespace vantor {

struct PropertiesView {
    const FileProperties& properties;
    const std::vector<PictureBytes>& pictures;

    HWND window = nullptr;
    bool wasOpened = false;
    Font font{};

    std::vector<uint32_t> shown{};  // the list's rows from the top, by their index in the properties
    ListOrder order{};
    bool valueIsStale = false;  // a message that brings it up to date is on its way

    size_t picture = 0;             // the one in the pane
    platform::Picture thumbnail{};  // it, decoded; empty when it cannot be

    std::map<HWND, WNDPROC>
        partProcedures{};  // what each part did with messages before its keys were listened to
};

// VANTOR_LIST ...
[[nodiscard]] inline HWND Part(const PropertiesView& view, int id) {
    return GetDlgItem(view.window, id);
}

// A file without rows shows its status alone.
[[nodiscard]] inline bool HasRows(const PropertiesView& view) {
    return view.properties.status.empty();
}

}  // namespace vantor
