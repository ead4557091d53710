#include "wavehost/commands/batch.h"
#include "wavehost/commands/command_line.h"
#include "wavehost/facts/report.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

struct SlicesOptions {
    FileArguments files;
    bool json = false;
};

int RunSlices(Session& session, const SlicesOptions& options) {
    const Module& module = ModuleOf(session);
    Results results(options.json ? ResultForm::jsonArray : ResultForm::text);
    return RunBatch(session, "slices", ListFiles(options.files), results, [&](const std::string& file) {
        const std::vector<SliceFact> slices = SlicesOf(*OpenSource(module, file).Get());
        if (options.json)
            results.Add(SlicesJson(file, slices));
        else
            PrintSlices(slices);
        return exitDone;
    });
}

}  // namespace

void AddSlices(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.app, "slices", "Slice positions in seconds and beats", &RunSlices);
    AddFiles(*command, options->files);
    command->add_flag("--json", options->json, jsonHelp);
}

}  // namespace vantor::wavehost
