#include "properties/window/list_windows.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "host/host_services.h"
#include "properties/window/places_windows.h"
#include "properties/window/window_text_windows.h"

namespace vantor {

namespace {

int LineHeight(const PropertiesView& view) {
    return static_cast<int>(TextSize(view.window, view.font, L"Ag").cy);
}

int ListTextWidth(HWND list, std::string_view text) {
    const std::wstring wide = Wide(CellText(text));
    return static_cast<int>(
        SendMessageW(list, LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(wide.c_str())));
}

// place -1: every row
void Select(HWND list, int place, bool isSelected) {
    LVITEMW item{};
    item.stateMask = LVIS_SELECTED | (isSelected ? 0u : UINT{LVIS_FOCUSED});
    item.state = isSelected ? UINT{LVIS_SELECTED} : 0u;
    SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(place), reinterpret_cast<LPARAM>(&item));
}

// rows: in order of their index
void SelectAgain(const PropertiesView& view, const std::vector<uint32_t>& rows) {
    if (rows.empty()) return;
    const HWND list = Part(view, VANTOR_LIST);
    if (rows.size() == view.properties.rows.size()) return Select(list, -1, true);
    for (size_t place = 0; place < view.shown.size(); ++place)
        if (std::ranges::binary_search(rows, view.shown[place])) Select(list, static_cast<int>(place), true);
}

void ShowSortArrow(const PropertiesView& view) {
    const auto header = reinterpret_cast<HWND>(SendMessageW(Part(view, VANTOR_LIST), LVM_GETHEADER, 0, 0));
    for (int column = 0; column < 3; ++column) {
        HDITEMW item{};
        item.mask = HDI_FORMAT;
        SendMessageW(header, HDM_GETITEMW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
        item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
        if (column == static_cast<int>(view.order.column) && view.order.direction != SortDirection::none)
            item.fmt |= view.order.direction == SortDirection::up ? HDF_SORTUP : HDF_SORTDOWN;
        SendMessageW(header, HDM_SETITEMW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
    }
}

}  // namespace

void AddColumns(const PropertiesView& view) {
    constexpr const char* titles[] = {"Group", "Name", "Value"};
    const HWND list = Part(view, VANTOR_LIST);
    const DWORD style = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP;
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, style, style);
    for (int column = 0; column < 3; ++column) {
        std::wstring title = Wide(Localize(titles[column]));
        LVCOLUMNW added{};
        added.mask = LVCF_TEXT | LVCF_SUBITEM;
        added.pszText = title.data();
        added.iSubItem = column;
        SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&added));
    }
}

void SetColumnWidths(const PropertiesView& view) {
    constexpr size_t mostMeasured = 2000;
    const auto& rows = view.properties.rows;
    const HWND list = Part(view, VANTOR_LIST);
    const int line = LineHeight(view);
    for (const auto column : {PropertyColumn::group, PropertyColumn::label}) {
        int width = 5 * line;
        for (size_t row = 0; row < std::min(rows.size(), mostMeasured); ++row)
            width = std::max(width, ListTextWidth(list, ColumnText(rows[row], column)) + line);
        SendMessageW(list, LVM_SETCOLUMNWIDTH, static_cast<WPARAM>(column), std::min(width, 20 * line));
    }
    WidenLastColumn(view);
}

void WidenLastColumn(const PropertiesView& view) {
    const HWND list = Part(view, VANTOR_LIST);
    const LRESULT before =
        SendMessageW(list, LVM_GETCOLUMNWIDTH, 0, 0) + SendMessageW(list, LVM_GETCOLUMNWIDTH, 1, 0);
    const LRESULT least = 10 * LineHeight(view);
    SendMessageW(list, LVM_SETCOLUMNWIDTH, 2, std::max<LRESULT>(InsideOf(list).width - before, least));
}

void Refill(PropertiesView& view) {
    const HWND list = Part(view, VANTOR_LIST);
    auto selected = SelectedRows(view);
    std::ranges::sort(selected);
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    Select(list, -1, false);
    view.shown = ShownRows(view.properties, Utf8(WindowText(Part(view, VANTOR_FILTER))), view.order);
    SendMessageW(list, LVM_SETITEMCOUNT, view.shown.size(), 0);
    SelectAgain(view, selected);
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
    WidenLastColumn(view);  // a scroll bar may have come or gone
}

void SortByColumn(PropertiesView& view, PropertyColumn clicked) {
    view.order = OrderAfterClick(view.order, clicked);
    ShowSortArrow(view);
    Refill(view);
}

std::vector<uint32_t> SelectedRows(const PropertiesView& view) {
    std::vector<uint32_t> rows;
    const HWND list = Part(view, VANTOR_LIST);
    for (auto place = static_cast<WPARAM>(-1);;) {
        place = static_cast<WPARAM>(SendMessageW(list, LVM_GETNEXTITEM, place, LVNI_SELECTED));
        if (place >= view.shown.size()) return rows;
        rows.push_back(view.shown[place]);
    }
}

void SelectAll(const PropertiesView& view) {
    Select(Part(view, VANTOR_LIST), -1, true);
}

void FocusList(const PropertiesView& view) {
    const HWND list = Part(view, VANTOR_LIST);
    SetFocus(list);
    if (SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED) >= 0) return;
    LVITEMW first{};
    first.stateMask = first.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list, LVM_SETITEMSTATE, 0, reinterpret_cast<LPARAM>(&first));
}

void GiveCell(const PropertiesView& view, LVITEMW& item) {
    if (!(item.mask & LVIF_TEXT) || !item.pszText || item.cchTextMax < 1) return;
    const auto place = static_cast<size_t>(item.iItem);
    std::wstring text;
    if (item.iItem >= 0 && place < view.shown.size()) {
        const auto& row = view.properties.rows[view.shown[place]];
        text = Wide(CellText(ColumnText(row, PropertyColumn(item.iSubItem))));
    }
    lstrcpynW(item.pszText, text.c_str(), item.cchTextMax);
}

LRESULT FindItem(const PropertiesView& view, const NMLVFINDITEMW& wanted) {
    if (!(wanted.lvfi.flags & (LVFI_STRING | LVFI_PARTIAL)) || !wanted.lvfi.psz) return -1;
    const size_t start = wanted.iStart > 0 ? static_cast<size_t>(wanted.iStart) : 0;
    return FindByLabel(view.properties, view.shown, Utf8(wanted.lvfi.psz), start);
}

}  // namespace vantor
