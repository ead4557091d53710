#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/tables/json_output.h"
#include "wavehost/tables/marker_table.h"
#include "wavehost/tables/text_output.h"

namespace vantor::wavehost {

namespace {

struct MarkersOptions {
    FileArguments files;
    bool json = false;
    bool csv = false;
};

int RunMarkers(Session& session, const MarkersOptions& options) {
    const ResultForm form = options.json ? ResultForm::jsonArray : ResultForm::text;
    const Module& module = ModuleOf(session, form);
    const std::vector<ListedFile> files = ListFiles(options.files);
    Results results(form);
    if (options.csv) PrintRow(MarkerHeadings());
    return RunBatch(session, "markers", files, results, [&](const std::string& file) {
        const HostPtr<PCM_source> source = OpenSource(module, file);
        const std::vector<MarkerFact> markers = MarkersOf(*source.Get());
        if (options.json) {
            results.Add(MarkersJson(file, markers));
        } else if (options.csv) {
            for (const MarkerFact& marker : markers)
                PrintRow(MarkerRow(file, source->SampleRate(), marker));
        } else {
            if (files.size() > 1) PrintLine(file);
            PrintMarkers(markers);
        }
        return exitDone;
    });
}

}  // namespace

void AddMarkers(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "markers", "Cue points and regions", &RunMarkers);
    AddFiles(command, options->files);
    AddFlag(command, "--json", options->json, jsonHelp);
    AddFlag(command, "--csv", options->csv, "Print comma-separated values, a line a marker",
            {.excludes = "--json"});
}

}  // namespace vantor::wavehost
