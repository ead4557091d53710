#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/tables/json_output.h"
#include "wavehost/tables/marker_table.h"
#include "wavehost/tables/text_output.h"

namespace vantor::wavehost {

namespace {

struct SlicesOptions {
    FileArguments files;
    bool json = false;
    bool csv = false;
};

int RunSlices(Session& session, const SlicesOptions& options) {
    const ResultForm form = options.json ? ResultForm::jsonArray : ResultForm::text;
    const Module& module = ModuleOf(session, form);
    const std::vector<ListedFile> files = ListFiles(options.files);
    Results results(form);
    if (options.csv) PrintRow(SliceHeadings());
    return RunBatch(session, "slices", files, results, [&](const std::string& file) {
        const HostPtr<PCM_source> source = OpenSource(module, file);
        const std::vector<SliceFact> slices = SlicesOf(*source.Get());
        if (options.json) {
            results.Add(SlicesJson(file, slices));
        } else if (options.csv) {
            for (const SliceFact& slice : slices)
                PrintRow(SliceRow(file, source->SampleRate(), slice));
        } else {
            if (files.size() > 1) PrintLine(file);
            PrintSlices(slices);
        }
        return exitDone;
    });
}

}  // namespace

void AddSlices(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "slices", "Slice positions in seconds and beats", &RunSlices);
    AddFiles(command, options->files);
    AddFlag(command, "--json", options->json, jsonHelp);
    AddFlag(command, "--csv", options->csv, "Print comma-separated values, a line a slice",
            {.excludes = "--json"});
}

}  // namespace vantor::wavehost
