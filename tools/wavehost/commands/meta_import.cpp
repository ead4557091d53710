#include <map>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/edit_files.h"
#include "wavehost/commands/meta.h"
#include "wavehost/facts/messages.h"
#include "wavehost/files/whole_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/tables/tag_table.h"
#include "wavehost/values/keys.h"

namespace vantor::wavehost {

namespace {

struct MetaImportOptions {
    std::string table;
    EditWays ways;
};

// A column that no scheme knows is a slip in the table's head, and concerns every row.
void CheckColumns(const std::vector<TagRow>& table) {
    if (table.empty()) return;
    for (const auto& [key, value] : table.front().cells)
        if (key.find(':') == key.npos && !IsKnown(key))
            throw Failure(KeyObjection(key) + " (--force writes it all the same)");
}

// Rows that say different things of one file: the last one would win, whichever the person meant.
void CheckFiles(const std::vector<TagRow>& table) {
    std::map<std::string_view, const TagRow*> rows;
    for (const TagRow& row : table)
        if (const auto [first, isFirst] = rows.emplace(row.file, &row);
            !isFirst && first->second->cells != row.cells)
            throw Failure("two rows say different things of " + row.file);
}

// The cells that say other than the file.
Assignments Differences(const TagRow& row, PCM_source& source) {
    Assignments wishes;
    for (const auto& [key, cell] : row.cells)
        if (!IsSameCell(key, cell, ValueOf(source, key))) wishes.push_back({key, cell});
    return wishes;
}

int Import(Session& session, const MetaImportOptions& options, const std::string& text) {
    const Module& module = ModuleOf(session);
    const std::vector<TagRow> table = ReadTagTable(text);
    if (!options.ways.force) CheckColumns(table);
    CheckFiles(table);
    std::vector<ListedFile> files;
    files.reserve(table.size());
    for (const TagRow& row : table)
        files.push_back({row.file, ""});
    size_t next = 0;
    Results results(ResultForm::text);
    const int status = RunBatch(session, "meta import", files, results, [&](const std::string& file) {
        const TagRow& row = table[next++];
        const auto wishes = [&](PCM_source& source, const Metadata&) { return Differences(row, source); };
        return EditFile(session, module, file, wishes, options.ways, false);
    });
    TellDryRun(session, options.ways);
    return status;
}

int RunMetaImport(Session& session, const MetaImportOptions& options) {
    const std::string text = ReadWhole(options.table);
    return ForFile(options.table, [&] { return Import(session, options, text); });
}

}  // namespace

void AddMetaImport(CommandLine& line, Command& meta) {
    auto [command, options] =
        AddCommand(line, meta, "import", "Write a table's cells that differ into its files", &RunMetaImport);
    AddOption(command, "TABLE", &options->table, "What 'meta export' wrote; - is standard input",
              {.required = true});
    AddEditWays(command, options->ways);
}

}  // namespace vantor::wavehost
