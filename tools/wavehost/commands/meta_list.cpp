#include "wavehost/commands/batch.h"
#include "wavehost/commands/meta.h"
#include "wavehost/facts/messages.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

struct MetaListOptions {
    FileArguments files;
    bool json = false;
};

// Of several files each stands under its name.
void Print(const std::string& file, const Metadata& metadata, bool isOneOfSeveral) {
    if (isOneOfSeveral) PrintLine(file);
    for (const auto& [key, value] : metadata)
        PrintLine((isOneOfSeveral ? "  " : "") + key + "=" + value);
}

int RunMetaList(Session& session, const MetaListOptions& options) {
    const ResultForm form = options.json ? ResultForm::jsonArray : ResultForm::text;
    const Module& module = ModuleOf(session, form);
    Results results(form);
    const std::vector<ListedFile> files = ListFiles(options.files);
    return RunBatch(session, "meta list", files, results, [&](const std::string& file) {
        const Metadata metadata = MetadataOf(*OpenSource(module, file).Get());
        if (options.json)
            results.Add(MetadataJson(file, metadata));
        else
            Print(file, metadata, files.size() > 1);
        return exitDone;
    });
}

}  // namespace

void AddMetaList(CommandLine& line, Command& meta) {
    auto [command, options] = AddCommand(line, meta, "list", "Every key and value", &RunMetaList);
    AddFiles(command, options->files);
    AddFlag(command, "--json", options->json, jsonHelp);
}

}  // namespace vantor::wavehost
