#include "wavehost/tables/tag_table.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "wavehost/os/failure.h"
#include "wavehost/values/keys.h"
#include "wavehost/values/shown_text.h"

namespace vantor::wavehost {

namespace {

using Json = nlohmann::ordered_json;

// What stands behind the name of the first column.
char SeparatorOf(std::string_view text) {
    const std::string_view rest = text.substr(fileColumn.size() + (text.starts_with('"') ? 2 : 0));
    if (rest.empty()) return ',';
    return rest.front() == ';' || rest.front() == '\t' ? rest.front() : ',';
}

bool NamesFiles(std::string_view text) {
    if (text.starts_with('"')) text.remove_prefix(1);
    return text.starts_with(fileColumn);
}

void CheckHeader(const CsvRow& header) {
    if (header.empty() || header.front() != fileColumn)
        throw Failure("the first column is not " + std::string(fileColumn));
    std::set<std::string> seen;
    for (const std::string& name : header) {
        if (name.empty()) throw Failure("a column has no name");
        if (!seen.insert(name).second) throw Failure("two columns are called " + name);
    }
}

// A spreadsheet that was wider once keeps columns without a name and without a cell.
void DropEmptyColumns(std::vector<CsvRow>& rows) {
    size_t width = 0;
    for (const CsvRow& row : rows)
        for (size_t column = width; column < row.size(); ++column)
            if (!row[column].empty()) width = column + 1;
    if (rows.empty() || rows.front().size() <= width) return;
    for (CsvRow& row : rows)
        row.resize(std::min(row.size(), width));
}

std::vector<TagRow> ReadCsvTable(std::string_view text) {
    std::vector<CsvRow> rows = ReadCsv(text, SeparatorOf(text));
    DropEmptyColumns(rows);
    CheckHeader(rows.empty() ? CsvRow() : rows.front());
    const CsvRow& header = rows.front();
    std::vector<TagRow> table;
    for (size_t i = 1; i < rows.size(); ++i) {
        const CsvRow& row = rows[i];
        if (std::ranges::all_of(row, [](const std::string& cell) { return cell.empty(); })) continue;
        if (row.size() != header.size())
            throw Failure("row " + std::to_string(i + 1) + " has " + std::to_string(row.size()) +
                          " cells, and the first row " + std::to_string(header.size()));
        if (row.front().empty()) throw Failure("row " + std::to_string(i + 1) + " names no file");
        TagRow& taken = table.emplace_back(TagRow{row.front(), {}});
        for (size_t column = 1; column < row.size(); ++column)
            taken.cells.emplace_back(header[column], row[column]);
    }
    return table;
}

void AddObject(const Json& object, std::vector<TagRow>& table) {
    if (!object.is_object()) throw Failure("an entry is no object");
    const auto file = object.find("file"), metadata = object.find("metadata");
    if (metadata == object.end() && object.contains("error")) return;
    if (file == object.end() || !file->is_string() || metadata == object.end() || !metadata->is_object())
        throw Failure(R"(an entry has no "file" or no "metadata")");
    TagRow& row = table.emplace_back(TagRow{file->get<std::string>(), {}});
    for (const auto& [key, value] : metadata->items()) {
        if (!value.is_string() && !value.is_null()) throw Failure(row.file + ": " + key + " is no text");
        row.cells.emplace_back(key, value.is_null() ? "" : value.get<std::string>());
    }
}

// With the place, but without the number that the library puts in front.
Failure NoJson(const Json::exception& failure, const std::string& place = {}) {
    const std::string_view text = failure.what();
    return Failure(place + std::string(text.substr(text.find("] ") == text.npos ? 0 : text.find("] ") + 2)));
}

void ReadJsonLines(std::string_view text, std::vector<TagRow>& table) {
    for (size_t number = 1; !text.empty(); ++number)
        try {
            const std::string_view line = text.substr(0, text.find('\n'));
            text.remove_prefix(std::min(line.size() + 1, text.size()));
            if (line.find_first_not_of(" \t\r") != line.npos) AddObject(Json::parse(line), table);
        } catch (const Json::exception& failure) {
            throw NoJson(failure, "line " + std::to_string(number) + ": ");
        }
}

// An array, or an object a line.
std::vector<TagRow> ReadJsonTable(std::string_view text) {
    std::vector<TagRow> table;
    if (text[text.find_first_not_of(" \t\r\n")] != '[') {
        ReadJsonLines(text, table);
        return table;
    }
    try {
        const Json entries = Json::parse(text);
        for (const Json& entry : entries)
            AddObject(entry, table);
    } catch (const Json::exception& failure) {
        throw NoJson(failure);
    }
    return table;
}

std::string WithPlainLineEnds(std::string_view text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] != '\r')
            plain += text[i];
        else if (i + 1 == text.size() || text[i + 1] != '\n')
            plain += '\n';
    return plain;
}

// "mime:image/png type:3 offset:1234 length:5678" without the offset.
std::string WithoutPlace(std::string text) {
    constexpr std::string_view place = " offset:";
    const size_t start = text.rfind(place);
    if (start != text.npos) text.erase(start, text.find(' ', start + 1) - start);
    return text;
}

}  // namespace

std::vector<TagRow> ReadTagTable(std::string_view bytes) {
    const auto whole = MarkedText(bytes);
    if (!whole) throw Failure("is no UTF-8; save it as such, so that no letter is lost");
    const std::string_view text = *whole;
    if (NamesFiles(text)) return ReadCsvTable(text);
    const size_t start = text.find_first_not_of(" \t\r\n");
    if (start != text.npos && (text[start] == '[' || text[start] == '{')) return ReadJsonTable(text);
    throw Failure("is neither JSON nor a table whose first column is " + std::string(fileColumn));
}

std::string TableText(std::string_view value) {
    return ShownText(value);
}

bool IsSameCell(std::string_view key, std::string_view cell, std::string_view value) {
    const std::string shown = ShownText(value);
    if (cell == shown || WithPlainLineEnds(cell) == WithPlainLineEnds(shown)) return true;
    return IsDescriptionOnly(key) && WithoutPlace(std::string(cell)) == WithoutPlace(shown);
}

std::string TagRowJson(const TagRow& row) {
    Json metadata = Json::object();
    // The keys of a row are unique: no search for each among all before it.
    for (const auto& [key, value] : row.cells)
        static_cast<Json::object_t::Container&>(metadata.get_ref<Json::object_t&>()).emplace_back(key, value);
    return Json{{"file", row.file}, {"metadata", std::move(metadata)}}.dump();
}

}  // namespace vantor::wavehost
