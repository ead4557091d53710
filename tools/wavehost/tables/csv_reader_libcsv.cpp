#include "wavehost/tables/csv.h"

#include <csv.h>

#include <memory>
#include <utility>

#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

struct Reading {
    std::vector<CsvRow> rows;
    CsvRow row;
};

void TakeField(void* field, size_t bytes, void* reading) {
    static_cast<Reading*>(reading)->row.emplace_back(static_cast<const char*>(field), bytes);
}

void TakeRow(int, void* reading) {
    auto& taken = *static_cast<Reading*>(reading);
    taken.rows.push_back(std::move(taken.row));
    taken.row.clear();
}

int NothingIsBlank(unsigned char) {
    return 0;
}

struct FreeParser {
    void operator()(csv_parser* parser) const { csv_free(parser); }
};

}  // namespace

std::vector<CsvRow> ReadCsv(std::string_view text, char separator) {
    csv_parser parser;
    if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0) throw Failure("no memory for the table");
    const std::unique_ptr<csv_parser, FreeParser> owner(&parser);
    csv_set_delim(&parser, static_cast<unsigned char>(separator));
    csv_set_space_func(&parser, NothingIsBlank);
    Reading reading;
    const size_t read = csv_parse(&parser, text.data(), text.size(), TakeField, TakeRow, &reading);
    const bool isWhole = read == text.size() && csv_fini(&parser, TakeField, TakeRow, &reading) == 0;
    if (!isWhole)
        throw Failure("row " + std::to_string(reading.rows.size() + 1) + " has a quote out of place");
    return std::move(reading.rows);
}

}  // namespace vantor::wavehost
