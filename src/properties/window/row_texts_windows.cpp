#include "properties/window/row_texts_windows.h"

#include <algorithm>
#include <cstdint>

#include "host/host_services.h"
#include "properties/window/list_windows.h"
#include "properties/window/window_text_windows.h"

namespace vantor {

namespace {

constexpr size_t mostValueBytes = size_t{1} << 20;  // a text field lays out its whole text at once

std::string SelectedValue(const PropertiesView& view) {
    const HWND list = Part(view, VANTOR_LIST);
    const auto none = static_cast<WPARAM>(-1);
    LRESULT place = SendMessageW(list, LVM_GETNEXTITEM, none, LVNI_SELECTED | LVNI_FOCUSED);
    if (place < 0) place = SendMessageW(list, LVM_GETNEXTITEM, none, LVNI_SELECTED);
    if (place < 0 || static_cast<size_t>(place) >= view.shown.size())
        return Localize("Select a row to read its whole value here.");
    return view.properties.rows[view.shown[static_cast<size_t>(place)]].value;
}

bool OpenClipboardOf(HWND window) {
    for (int attempt = 0; attempt < 10; ++attempt) {  // another program may have it for a moment
        if (attempt > 0) Sleep(20);
        if (OpenClipboard(window)) return true;
    }
    return false;
}

bool PutOnClipboard(HWND window, const std::wstring& text) {
    if (!OpenClipboardOf(window)) return false;
    const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (void* const place = memory ? GlobalLock(memory) : nullptr) {
        std::copy_n(reinterpret_cast<const uint8_t*>(text.c_str()), bytes, static_cast<uint8_t*>(place));
        GlobalUnlock(memory);
    }
    const bool isPut = memory && EmptyClipboard() && SetClipboardData(CF_UNICODETEXT, memory);
    if (memory && !isPut) GlobalFree(memory);
    CloseClipboard();
    return isPut;
}

}  // namespace

void ShowValue(PropertiesView& view) {
    view.valueIsStale = false;
    std::string text = HasRows(view) ? SelectedValue(view) : view.properties.status;
    if (text.size() > mostValueBytes) text = text.substr(0, mostValueBytes) + " ...";
    SetText(Part(view, VANTOR_VALUE), WithSystemLineBreaks(text));
}

void ShowMessage(const PropertiesView& view, const std::string& addition) {
    if (!HasRows(view)) return SetText(Part(view, VANTOR_MESSAGE), addition);
    const size_t all = view.properties.rows.size();
    std::string text = std::to_string(view.shown.size());
    if (view.shown.size() != all) text += " / " + std::to_string(all);
    text += std::string(" ") + Localize("rows");
    if (!addition.empty()) text += ", " + addition;
    SetText(Part(view, VANTOR_MESSAGE), text);
}

void Copy(const PropertiesView& view) {
    const auto selected = SelectedRows(view);
    const std::string text = ClipboardText(view.properties, selected.empty() ? view.shown : selected);
    const bool isPut = PutOnClipboard(view.window, Wide(WithSystemLineBreaks(text)));
    ShowMessage(view, Localize(isPut ? "copied" : "the clipboard cannot be written"));
}

}  // namespace vantor
