#include "wavehost/commands/edit_files.h"

#include <cstdio>

#include "wavehost/facts/messages.h"

namespace vantor::wavehost {

namespace {

std::string Quoted(const std::string& value) {
    return value.empty() ? "(none)" : '"' + value + '"';
}

std::string Line(const KeyChange& change) {
    return change.key + ": " + Quoted(change.before) + " -> " + Quoted(change.after);
}

std::string FateText(Fate fate, const EditWays& ways) {
    switch (fate) {
        case Fate::unchanged:
            return "unchanged";
        case Fate::updatedInPlace:
            return "updated in place";
        case Fate::rewritten:
            break;
    }
    return "rewritten" + (ways.output.empty() ? "" : " to " + ways.output);
}

}  // namespace

void AddEditWays(Command& command, EditWays& ways) {
    AddFlag(command, "--dry-run", ways.dryRun, "Print what would change; write nothing");
    AddFlag(command, "--preserve-time", ways.preserveTime, "Keep the time of the file's last change");
    AddFlag(command, "--force", ways.force,
            "Write unknown keys and values that their fields cannot hold, and replace files that are\n"
            "write-protected or have other names (hard links)");
}

int EditFile(const Session& session, const Module& module, const std::string& file, const WishesOf& wishesOf,
             const EditWays& ways, bool tellsUnchanged) {
    return TellEdit(session, file, EditTags(module, file, wishesOf, ways), ways, tellsUnchanged);
}

int TellEdit(const Session& session, const std::string& file, const EditResult& result, const EditWays& ways,
             bool tellsUnchanged) {
    if (tellsUnchanged || result.fate != Fate::unchanged) {
        PrintLine(file + ": " + FateText(result.fate, ways));
        for (const KeyChange& change : result.told.asked)
            PrintLine("  " + Line(change));
    }
    for (const KeyChange& change : result.told.besides)
        ReportFailure(file, "also changed: " + Line(change));
    for (const std::string& chunk : result.told.chunks)
        ReportFailure(file, "also changed: " + chunk);
    for (const std::string& note : result.told.notes)
        if (!session.quiet) ReportFailure(file, note);
    for (const std::string& shortfall : result.told.shortfalls)
        ReportFailure(file, shortfall);
    return result.told.shortfalls.empty() ? exitDone : exitFailed;
}

void TellDryRun(const Session& session, const EditWays& ways) {
    if (ways.dryRun && !session.quiet) std::fputs("dry run: nothing was written\n", stderr);
}

}  // namespace vantor::wavehost
