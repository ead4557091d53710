// The library that reads tables elsewhere is not here.
#include <utility>

#include "wavehost/os/failure.h"
#include "wavehost/tables/csv.h"

namespace vantor::wavehost {

namespace {

class Reader {
  public:
    Reader(std::string_view text, char separator) : text_(text), separator_(separator) {}

    std::vector<CsvRow> Rows() {
        while (!text_.empty()) {
            if (IsLineEnd(text_.front()))
                text_.remove_prefix(1);  // an empty line, or the second half of CR LF
            else
                rows_.push_back(TakeRow());
        }
        return std::move(rows_);
    }

  private:
    static bool IsLineEnd(char letter) { return letter == '\r' || letter == '\n'; }

    CsvRow TakeRow() {
        CsvRow row;
        for (bool goesOn = true; goesOn;) {
            row.push_back(text_.starts_with('"') ? TakeQuoted() : TakePlain());
            goesOn = text_.starts_with(separator_);
            if (goesOn) text_.remove_prefix(1);
        }
        if (!text_.empty() && !IsLineEnd(text_.front())) Refuse();
        return row;
    }

    std::string TakePlain() {
        const char ends[] = {separator_, '\r', '\n', '\0'};
        const std::string_view field = text_.substr(0, text_.find_first_of(ends));
        if (field.find('"') != field.npos) Refuse();
        text_.remove_prefix(field.size());
        return std::string(field);
    }

    std::string TakeQuoted() {
        std::string field;
        do {
            text_.remove_prefix(1);
            const size_t quote = text_.find('"');
            if (quote == text_.npos) Refuse();
            field += text_.substr(0, quote);
            text_.remove_prefix(quote + 1);
            if (text_.starts_with('"')) field += '"';
        } while (text_.starts_with('"'));
        return field;
    }

    [[noreturn]] void Refuse() const {
        throw Failure("row " + std::to_string(rows_.size() + 1) + " has a quote out of place");
    }

    std::string_view text_;
    char separator_;
    std::vector<CsvRow> rows_;
};

}  // namespace

std::vector<CsvRow> ReadCsv(std::string_view text, char separator) {
    return Reader(text, separator).Rows();
}

}  // namespace vantor::wavehost
