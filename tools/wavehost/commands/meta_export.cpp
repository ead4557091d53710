#include <algorithm>
#include <set>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/meta.h"
#include "wavehost/commands/write_result.h"
#include "wavehost/facts/messages.h"
#include "wavehost/facts/source_facts.h"
#include "wavehost/files/output_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/temporary_stream.h"
#include "wavehost/os/terminal_text.h"
#include "wavehost/tables/tag_table.h"
#include "wavehost/values/shown_text.h"

namespace vantor::wavehost {

namespace {

struct MetaExportOptions {
    FileArguments files;
    std::vector<std::string> keys;
    std::string output = "-";
    bool csv = false, json = false, mark = false;
};

// Where a table goes: standard output, or a file that takes its place when it is whole.
class TableFile {
  public:
    explicit TableFile(const std::string& name) {
        if (name == "-") return;
        file_ = std::make_unique<OutputFile>(PathOf(name));
        written_ = file_->Create();
    }

    [[nodiscard]] std::FILE* Stream() const { return written_ ? written_.get() : stdout; }
    void Put(const std::string& text) const { PutAll(Stream(), text); }

    void Finish() {
        if (!written_) return;  // told by the program, as for every result
        FinishStream(std::move(written_));
        file_->TakePlace();
    }

  private:
    std::unique_ptr<OutputFile> file_;
    wavehost::Stream written_;
};

// The tags of a file as a row: those under `keys`, or all.
TagRow RowOf(const Module& module, const std::string& file, const std::vector<std::string>& keys) {
    if (!IsUtf8(file)) throw Failure("its name is no UTF-8, so a table cannot name it");
    const HostPtr<PCM_source> source = OpenSource(module, file);
    TagRow row{file, {}};
    for (const std::string& key : keys)
        row.cells.emplace_back(key, TableText(ValueOf(*source.Get(), key)));
    if (!keys.empty()) return row;
    for (const auto& [key, value] : MetadataOf(*source.Get()))
        row.cells.emplace_back(TableText(key), TableText(value));
    return row;
}

CsvRow CellsOf(const TagRow& row, const std::vector<std::string>& columns) {
    CsvRow cells{row.file};
    for (const std::string& column : columns) {
        const auto found = std::ranges::find(row.cells, column, &std::pair<std::string, std::string>::first);
        cells.push_back(found == row.cells.end() ? "" : found->second);
    }
    return cells;
}

// The next line without its end; nothing behind the last.
bool TakeLine(std::FILE* stream, std::string& line) {
    line.clear();
    for (int letter = std::fgetc(stream); letter != EOF; letter = std::fgetc(stream)) {
        if (letter == '\n') return true;
        line += static_cast<char>(letter);
    }
    return false;
}

// The columns are known when the last file has been read. Until then the rows wait in a temporary file, so
// that memory stays flat however many there are.
class WaitingRows {
  public:
    // `columns`: those that are wanted, in their order; empty: all that come.
    explicit WaitingRows(std::vector<std::string> columns) : wanted_(std::move(columns)) {}

    void Add(const TagRow& row) {
        for (const auto& [key, value] : row.cells)
            columns_.insert(key);
        if (!PutTo(stream_.get(), TagRowJson(row) + "\n"))
            throw OutputLost{"the temporary file cannot be written: " + LastReason()};
    }

    void PutAll(const TableFile& table) {
        if (const auto reason = WhyNotWritten(stream_.get()); !reason.empty())
            throw Failure("the temporary file " + reason);
        std::vector<std::string> columns = wanted_;
        if (columns.empty()) columns.assign(columns_.begin(), columns_.end());
        CsvRow header{std::string(fileColumn)};
        header.insert(header.end(), columns.begin(), columns.end());
        table.Put(CsvLine(header));
        std::rewind(stream_.get());
        for (std::string line; TakeLine(stream_.get(), line);)
            for (const TagRow& row : ReadTagTable(line))
                table.Put(CsvLine(CellsOf(row, columns)));
        if (std::ferror(stream_.get())) throw Failure("the temporary folder cannot be read");
    }

  private:
    wavehost::Stream stream_ = TemporaryStream();
    std::vector<std::string> wanted_;
    std::set<std::string> columns_;
};

int ExportCsv(const Session& session, const Module& module, const MetaExportOptions& options,
              const TableFile& table) {
    WaitingRows rows(options.keys);
    Results results(ResultForm::text);
    const int status =
        RunBatch(session, "meta export", ListFiles(options.files), results, [&](const std::string& file) {
            rows.Add(RowOf(module, file, options.keys));
            return exitDone;
        });
    if (options.mark) table.Put("\xEF\xBB\xBF");
    rows.PutAll(table);
    return status;
}

int ExportJson(const Session& session, const Module& module, const MetaExportOptions& options,
               const TableFile& table) {
    Results results(ResultForm::jsonArray, table.Stream());
    return RunBatch(session, "meta export", ListFiles(options.files), results, [&](const std::string& file) {
        results.Add(TagRowJson(RowOf(module, file, options.keys)));
        return exitDone;
    });
}

int RunMetaExport(Session& session, const MetaExportOptions& options) {
    const bool isPrinted = options.output == "-";
    const Module& module =
        ModuleOf(session, options.json && isPrinted ? ResultForm::jsonArray : ResultForm::text);
    return ForFile(OutputName(options.output), [&] {
        try {
            TableFile table(options.output);
            const int status = options.json ? ExportJson(session, module, options, table)
                                            : ExportCsv(session, module, options, table);
            table.Finish();
            return status;
        } catch (const OutputLost& lost) {
            throw Failure(lost.reason);
        }
    });
}

}  // namespace

void AddMetaExport(CommandLine& line, Command& meta) {
    auto [command, options] =
        AddCommand(line, meta, "export", "A table of files and their tags", &RunMetaExport);
    AddFiles(command, options->files);
    AddFlag(command, "--csv", options->csv, "Comma-separated values, one row a file (the default)");
    AddFlag(command, "--json", options->json, "JSON, one object a file", {.excludes = "--csv"});
    AddOption(command, "--keys", &options->keys, keysHelp, {.delimiter = ','});
    AddOption(command, "-o,--output", &options->output,
              "The table to write; - is standard output (the default)");
    AddFlag(command, "--bom", options->mark,
            "Begin with a byte-order mark, by which some spreadsheets know UTF-8");
}

}  // namespace vantor::wavehost
