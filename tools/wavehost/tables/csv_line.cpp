#include "wavehost/tables/csv.h"

namespace vantor::wavehost {

namespace {

bool IsBlank(char letter) {
    return letter == ' ' || letter == '\t';
}

bool WantsQuotes(const std::string& field) {
    return field.find_first_of(",;\"\r\n\t") != field.npos ||
           (!field.empty() && (IsBlank(field.front()) || IsBlank(field.back())));
}

void AppendField(const std::string& field, bool inQuotes, std::string& line) {
    if (!inQuotes) {
        line += field;
        return;
    }
    line += '"';
    for (const char letter : field)
        line.append(letter == '"' ? 2 : 1, letter);
    line += '"';
}

}  // namespace

std::string CsvLine(const CsvRow& row) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) {
        if (i > 0) line += ',';
        AppendField(row[i], WantsQuotes(row[i]) || (row.size() == 1 && row[i].empty()), line);
    }
    return line + "\r\n";
}

}  // namespace vantor::wavehost
