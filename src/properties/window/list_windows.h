// The list of a properties window: its columns, the rows it shows, and which of them are selected.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "properties/window/properties_view_windows.h"

namespace vantor {

void AddColumns(const PropertiesView& view);

// As wide as the longest text of some thousand rows, within reason.
void SetColumnWidths(const PropertiesView& view);

// The value has what the other columns leave.
void WidenLastColumn(const PropertiesView& view);

// Shows the rows of the filter in their order. What was selected stays selected where it is still shown.
void Refill(PropertiesView& view);

// Refills in the order that a click on a column's header asks for.
void SortByColumn(PropertiesView& view, PropertyColumn clicked);

// By their index in the properties, from the top.
[[nodiscard]] std::vector<uint32_t> SelectedRows(const PropertiesView& view);
void SelectAll(const PropertiesView& view);

// Gives the list the focus, and a selected row when it has none.
void FocusList(const PropertiesView& view);

// The texts and places that the list asks for.
void GiveCell(const PropertiesView& view, LVITEMW& item);
[[nodiscard]] LRESULT FindItem(const PropertiesView& view, const NMLVFINDITEMW& wanted);

}  // namespace vantor
