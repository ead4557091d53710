#include "wavehost/care/repair.h"

#include <algorithm>

#include "wavehost/care/examine.h"
#include "wavehost/care/findings_text.h"
#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/os/interruption.h"

namespace vantor::wavehost {

namespace {

struct RepairCommandOptions {
    FileArguments files;
    bool dryRun = false;
    bool force = false;
};

void Print(const std::string& file, const char* fate, const Finding& finding) {
    PrintLine(file + ": " + fate + " " + FindingLine(finding));
}

// What is left: an error, or what would be mended if the person asked for it.
int ReportLeft(const std::string& file, const Findings& left) {
    int status = exitDone;
    for (const Finding& finding : left) {
        if (KindOf(finding.id).severity != Severity::error && finding.mending != Mending::forced) continue;
        ReportFailure(file, "not mended: " + FindingLine(finding));
        status = exitFailed;
    }
    return status;
}

int Rehearse(const std::string& file, const RepairOptions& options) {
    Findings left;
    for (const Finding& finding : ExamineFile(file)) {
        if (IsMended(finding, options))
            Print(file, "would mend", finding);
        else
            left.push_back(finding);
    }
    return ReportLeft(file, left);
}

int Apply(const std::string& file, const RepairOptions& options) {
    const Repair repair = RepairFile(file, options, CheckInterruption);
    for (const Finding& finding : repair.mended)
        Print(file, "mended", finding);
    return ReportLeft(file, repair.left);
}

int RunRepair(Session& session, const RepairCommandOptions& options) {
    Results results(ResultForm::text);
    const RepairOptions repair{options.force};
    return RunBatch(session, "repair", ListFiles(options.files), results, [&](const std::string& file) {
        return options.dryRun ? Rehearse(file, repair) : Apply(file, repair);
    });
}

}  // namespace

void AddRepair(CommandLine& line) {
    auto [command, options] = AddCommand(
        line, line.program, "repair", "Mend what check finds; no byte of the sound is changed", &RunRepair);
    AddFiles(command, options->files);
    AddFlag(command, "--dry-run", options->dryRun, "Print what would be mended; write nothing");
    AddFlag(command, "--force", options->force,
            "Mend also what is likely but not told by the file alone, and write-protected files");
}

}  // namespace vantor::wavehost
