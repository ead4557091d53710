#include "wavehost/care/examine.h"
#include "wavehost/care/findings_text.h"
#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"

namespace vantor::wavehost {

namespace {

struct CheckOptions {
    FileArguments files;
    bool audio = false;
    bool json = false;
};

void Show(const std::string& file, const Findings& findings, Results& results) {
    if (results.IsJson()) return results.Add(FindingsJson(file, findings));
    for (const Finding& finding : findings)
        PrintLine(file + ": " + FindingLine(finding));
}

int RunCheck(Session& session, const CheckOptions& options) {
    Results results(options.json ? ResultForm::jsonLines : ResultForm::text);
    FolderTally folders;
    int status = RunBatch(session, "check", ListFiles(options.files), results, [&](const std::string& file) {
        FileSummary summary;
        const Findings findings = ExamineFile(file, {options.audio}, &summary);
        folders.Add(file, summary);
        Show(file, findings, results);
        return IsWrong(findings) ? exitFailed : exitDone;
    });
    for (const auto& [folder, findings] : folders.Findings()) {
        Show(folder, findings, results);
        if (IsWrong(findings)) status = exitFailed;
    }
    return status;
}

}  // namespace

void AddCheck(CommandLine& line) {
    auto [command, options] = AddCommand(line, line.program, "check",
                                         "What is wrong with files, and whether repair mends it", &RunCheck);
    AddFiles(command, options->files);
    AddFlag(command, "--audio", options->audio, "Read the sound too: is it silent, is it clipped?");
    AddFlag(command, "--json", options->json, "Print one JSON object a line");
}

}  // namespace vantor::wavehost
