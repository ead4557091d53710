#include <exception>
#include <fstream>

#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/host/host_services.h"
#include "wavehost/host/project_text.h"
#include "wavehost/os/failure.h"
#include "wavehost/tables/json_output.h"
#include "wavehost/tables/results.h"
#include "wavehost/tables/text_output.h"

namespace vantor::wavehost {

namespace {

constexpr int32_t projectPriority = 5;

struct RestoreOptions {
    std::string stateFile;
    bool json = false;
};

std::vector<std::string> ReadLines(const fs::path& file) {
    const std::string reason = WhyUnreadable(file);
    if (!reason.empty()) throw Failure(reason);
    std::ifstream stream(file, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) line.pop_back();
        lines.push_back(std::move(line));
    }
    return lines;
}

HostPtr<PCM_source> Restore(const Module& module, const std::string& stateFile) {
    std::vector<std::string> lines = ReadLines(PathOf(stateFile));
    if (lines.empty()) throw Failure("holds no saved source");
    const std::vector<std::string> first = SplitProjectLine(lines.front());
    if (first.size() < 2 || first[0] != sourceBlockKeyword) throw Failure("holds no saved source");
    HostPtr<PCM_source> source(module.sources->CreateByType(first[1].c_str(), projectPriority));
    if (!source) throw Failure("the module has no source of type " + first[1]);

    Host().stateFolder = AbsolutePath(PathOf(stateFile)).parent_path();
    const std::string firstLine = lines.front();
    lines.erase(lines.begin());
    ProjectLines context(std::move(lines));
    if (source->ReadState(firstLine.c_str(), &context) != 0)
        throw Failure("the block of the source does not end");
    return source;
}

int RunRestore(Session& session, const RestoreOptions& options) {
    const ResultForm form = options.json ? ResultForm::jsonArray : ResultForm::text;
    const Module& module = ModuleOf(session, form);
    Results results(form);
    try {
        const HostPtr<PCM_source> source = Restore(module, options.stateFile);
        SourceFacts facts = FactsOf(*source.Get(), source->FileName());
        // The system knows better than the source why a file was not opened.
        const std::string reason = facts.online ? "" : WhyUnreadable(PathOf(facts.file));
        if (!reason.empty()) facts.infoText = reason;
        if (!facts.online) ReportFailure(options.stateFile, facts.file + ": " + facts.infoText);
        if (options.json)
            results.Add(FactsJson(facts));
        else if (facts.online)
            PrintFacts(facts);
        return facts.online ? exitDone : exitFailed;
    } catch (const std::exception& failure) {
        results.Failed(options.stateFile, failure.what());
        return exitFailed;
    }
}

}  // namespace

void AddRestore(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "restore", "Make a source from saved lines and show it", &RunRestore);
    AddOption(command, "STATEFILE", &options->stateFile, "A file that 'state' wrote", {.required = true});
    AddFlag(command, "--json", options->json, jsonHelp);
}

}  // namespace vantor::wavehost
