#include <exception>

#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/tables/json_output.h"
#include "wavehost/tables/text_output.h"

namespace vantor::wavehost {

namespace {

struct InfoOptions {
    FileArguments files;
    bool json = false;
    bool stats = false;
};

// What is known about a file of which no source can be made.
SourceFacts Unopened(const std::string& file, const std::string& status) {
    SourceFacts facts{};
    facts.positionSeconds = -1;
    facts.file = file;
    facts.infoText = status;
    return facts;
}

SourceFacts Look(const Module& module, const std::string& file) {
    try {
        const HostPtr<PCM_source> source = CreateSource(module, file);
        return FactsOf(*source.Get(), file);
    } catch (const std::exception& failure) {
        return Unopened(file, failure.what());
    }
}

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find_first_of("\r\n"));
}

int RunInfo(Session& session, const InfoOptions& options) {
    const ResultForm form = options.json ? ResultForm::jsonArray : ResultForm::text;
    const Module& module = ModuleOf(session, form);
    Results results(form);
    const int status =
        RunBatch(session, "info", ListFiles(options.files), results, [&](const std::string& file) {
            const SourceFacts facts = Look(module, file);
            if (!facts.online) ReportFailure(file, FirstLine(facts.infoText));
            if (options.json)
                results.Add(FactsJson(facts));
            else if (facts.online)
                PrintFacts(facts);
            return facts.online ? exitDone : exitFailed;
        });
    if (options.stats) ReportStatistics();
    return status;
}

}  // namespace

void AddInfo(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "info", "Format, length, tags, markers and slices", &RunInfo);
    AddFiles(command, options->files);
    AddFlag(command, "--json", options->json, jsonHelp);
    AddFlag(command, "--stats", options->stats, "Report what was read from the disk");
}

}  // namespace vantor::wavehost
