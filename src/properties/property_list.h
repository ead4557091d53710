// The list of a properties window: which rows it shows, in which order, and their text for the clipboard.
// Rows go by their index in FileProperties::rows.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "properties/file_properties.h"

namespace vantor {

enum class PropertyColumn { group, label, value };
enum class SortDirection { none, up, down };  // none: as in the file

struct ListOrder {
    PropertyColumn column = PropertyColumn::group;
    SortDirection direction = SortDirection::none;
};

// The order after a click on a column's header: up, down, and none in turn.
[[nodiscard]] ListOrder OrderAfterClick(const ListOrder& order, PropertyColumn clicked);

// The rows whose group, label or value hold every word of the filter, in any case. Equal rows stay as in the
// file; numbers go by their value.
[[nodiscard]] std::vector<uint32_t> ShownRows(const FileProperties& properties, std::string_view filter,
                                              const ListOrder& order);

[[nodiscard]] const std::string& ColumnText(const PropertyRow& row, PropertyColumn column);

// The beginning of a text as one line for a cell of the list: control characters become blanks.
[[nodiscard]] std::string CellText(std::string_view text);

// The place in `shown`, from `start` on and around, of a row whose label begins with `prefix`, in any case;
// -1 when there is none.
[[nodiscard]] int FindByLabel(const FileProperties& properties, std::span<const uint32_t> shown,
                              std::string_view prefix, size_t start);

// Lines as in the file information text; all rows in file order, or the status, give that text.
[[nodiscard]] std::string ClipboardText(const FileProperties& properties, std::span<const uint32_t> rows);

// Every line break, LF and CR alone too, as CRLF: what the system's text fields and clipboard want.
[[nodiscard]] std::string WithSystemLineBreaks(std::string_view text);

}  // namespace vantor
