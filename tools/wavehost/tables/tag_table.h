// The tags of many files as a table: one row a file, one column a key.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "wavehost/tables/csv.h"

namespace vantor::wavehost {

inline constexpr std::string_view fileColumn = "FileName";

struct TagRow {
    std::string file;
    std::vector<std::pair<std::string, std::string>> cells;  // key, value
};

// A table of comma-separated values whose first column is FileName (also with ";" or tabs, as spreadsheets of
// some countries write, with a byte-order mark, in UTF-16 with one, and with columns behind that hold
// nothing), or JSON as `meta export`, `meta list`, `info` and `scan` write it: objects with "file" and
// "metadata". A null stands for an empty value, objects without metadata are left out. Throws Failure with
// the reason and its place.
std::vector<TagRow> ReadTagTable(std::string_view text);

// The value as a table can hold it: bytes that are no UTF-8 are taken for Windows-1252.
std::string TableText(std::string_view value);
// Whether the cell says what the file has: spreadsheets change line ends within a cell, and a picture's place
// in the file moves with every edit.
bool IsSameCell(std::string_view key, std::string_view cell, std::string_view value);

// One object, without a line end.
std::string TagRowJson(const TagRow& row);

}  // namespace vantor::wavehost
