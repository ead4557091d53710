#include "wavehost/commands/batch.h"
#include "wavehost/commands/meta.h"
#include "wavehost/facts/report.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

struct MetaListOptions {
    FileArguments files;
    bool json = false;
};

int RunMetaList(Session& session, const MetaListOptions& options) {
    const Module& module = ModuleOf(session);
    Results results(options.json ? ResultForm::jsonArray : ResultForm::text);
    return RunBatch(session, "meta list", ListFiles(options.files), results, [&](const std::string& file) {
        const Metadata metadata = MetadataOf(*OpenSource(module, file).Get());
        if (options.json) results.Add(MetadataJson(file, metadata));
        for (const auto& [key, value] : metadata)
            if (!options.json) PrintLine(key + "=" + value);
        return exitDone;
    });
}

}  // namespace

void AddMetaList(CommandLine& line, CLI::App& meta) {
    auto [command, options] = AddCommand(line, meta, "list", "Every key and value", &RunMetaList);
    AddFiles(*command, options->files);
    command->add_flag("--json", options->json, jsonHelp);
}

}  // namespace vantor::wavehost
