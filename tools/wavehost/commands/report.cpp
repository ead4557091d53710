#include <algorithm>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/commands/write_result.h"
#include "wavehost/facts/messages.h"
#include "wavehost/os/failure.h"
#include "wavehost/report/columns.h"
#include "wavehost/report/page.h"

namespace vantor::wavehost {

namespace {

struct ReportOptions {
    std::string folder;
    std::string output = "-";  // standard output
    std::vector<std::string> additions;
    bool csv = false;
};

std::vector<OverviewRow> AdditionsOf(const ReportOptions& options) {
    std::vector<OverviewRow> rows;
    for (const std::string& text : options.additions) {
        const size_t equals = text.find('=');
        rows.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    return rows;
}

std::string CheckAddition(const std::string& text) {
    const size_t equals = text.find('=');
    return equals == std::string::npos || equals == 0 ? "'" + text + "' is not NAME=VALUE" : "";
}

// Below the folder, with "/" on every system.
std::string NameBelow(const fs::path& folder, const std::string& file) {
    const auto name = PathOf(file).lexically_relative(folder).generic_u8string();
    return {name.begin(), name.end()};
}

std::vector<ListedFile> AudioFilesBelow(const fs::path& folder) {
    std::vector<ListedFile> files = FilesBelow(folder, true);
    std::erase_if(files, [](const ListedFile& file) {
        return file.obstacle.empty() && !IsAudioName(PathOf(file.name));
    });
    return files;
}

// "Sound report: Harbour", or the folder's name.
std::string TitleOf(const std::vector<OverviewRow>& overview, const fs::path& folder) {
    const bool hasProject = !overview.empty() && overview.front().first == "Project";
    const fs::path named = folder.has_filename() ? folder : folder.parent_path();
    return "Sound report: " + (hasProject ? overview.front().second : TextOf(named.filename()));
}

int RunReport(Session& session, const ReportOptions& options) {
    return ForFile(options.folder, [&] {
        const fs::path folder = PlainPath(PathOf(options.folder));
        const std::string reason = WhyNoFolder(folder);
        if (!reason.empty()) throw Failure(reason);
        const Module& module = ModuleOf(session);
        std::vector<Take> takes;
        Results results(ResultForm::text);
        const int status =
            RunBatch(session, "report", AudioFilesBelow(folder), results, [&](const std::string& file) {
                takes.push_back(TakeOf(module, file, NameBelow(folder, file)));
                const std::string& obstacle = takes.back().obstacle;
                if (!obstacle.empty()) ReportFailure(file, obstacle);
                return obstacle.empty() ? exitDone : exitFailed;
            });
        if (takes.empty()) ReportNote(session.quiet, options.folder, "holds no audio files");
        const auto overview = OverviewOf(takes, AdditionsOf(options));
        const int written =
            WriteResult(options.output, options.csv ? ReportCsv(takes)
                                                    : ReportPage(TitleOf(overview, folder), overview, takes));
        return std::max(status, written);
    });
}

}  // namespace

void AddReport(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "report", "A sound report of a folder as one page", &RunReport);
    AddOption(command, "DIR", &options->folder, "A folder; all audio files below it", {.required = true});
    AddOption(command, "-o,--output", &options->output, "The page to write; - is standard output");
    AddOption(command, "--set", &options->additions,
              "NAME=VALUE for the head of the report: Location, Sound mixer, Notes ...",
              {.objection = CheckAddition});
    AddFlag(command, "--csv", options->csv, "The takes as comma-separated values");
}

}  // namespace vantor::wavehost
