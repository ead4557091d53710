#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/report.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

struct MarkersOptions {
    FileArguments files;
    bool json = false;
};

int RunMarkers(Session& session, const MarkersOptions& options) {
    const Module& module = ModuleOf(session);
    Results results(options.json ? ResultForm::jsonArray : ResultForm::text);
    return RunBatch(session, "markers", ListFiles(options.files), results, [&](const std::string& file) {
        const std::vector<MarkerFact> markers = MarkersOf(*OpenSource(module, file).Get());
        if (options.json)
            results.Add(MarkersJson(file, markers));
        else
            PrintMarkers(markers);
        return exitDone;
    });
}

}  // namespace

void AddMarkers(CommandLine& line) {
    auto [command, options] = AddCommand(line, line.app, "markers", "Cue points and regions", &RunMarkers);
    AddFiles(*command, options->files);
    command->add_flag("--json", options->json, jsonHelp);
}

}  // namespace vantor::wavehost
