// Tables of comma-separated values (RFC 4180), in UTF-8.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantor::wavehost {

using CsvRow = std::vector<std::string>;

// Every row; blanks count, empty lines do not. Lines may end in any way, and a field in quotes may hold line
// ends and separators. Throws Failure for a quote out of place and for one that is never closed.
std::vector<CsvRow> ReadCsv(std::string_view text, char separator);

// One line with its end (CR LF). A field stands in quotes when it holds a comma, quote or line end, has
// blanks around it, or would be an empty line.
std::string CsvLine(const CsvRow& row);

}  // namespace vantor::wavehost
