#include "wavehost/commands/batch.h"
#include "wavehost/commands/meta.h"
#include "wavehost/facts/messages.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/terminal_text.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

struct MetaGetOptions {
    FileArguments files;  // without --key a file and a key
    std::vector<std::string> keys;
    bool json = false;
};

// The bare value, of all lines that it has.
int GetOne(const Module& module, const std::string& file, const std::string& key) {
    return ForFile(file, [&] {
        const std::string value = ValueOf(*OpenSource(module, file).Get(), key);
        if (value.empty()) throw Failure("has no " + key);
        std::puts(TerminalText(value).c_str());
        return exitDone;
    });
}

// Those that the file has; each that is missing is told.
Metadata ValuesOf(const Module& module, const std::string& file, const std::vector<std::string>& keys) {
    const HostPtr<PCM_source> source = OpenSource(module, file);
    Metadata values;
    for (const std::string& key : keys) {
        const std::string value = ValueOf(*source.Get(), key);
        if (value.empty())
            ReportFailure(file, "has no " + key);
        else
            values.emplace_back(key, value);
    }
    return values;
}

int RunMetaGet(Session& session, const MetaGetOptions& options) {
    const ResultForm form = options.json ? ResultForm::jsonArray : ResultForm::text;
    const Module& module = ModuleOf(session, form);
    if (options.keys.empty()) {
        if (options.files.names.size() == 2 && !options.json)
            return GetOne(module, options.files.names[0], options.files.names[1]);
        ReportFailure("", "meta get takes FILE KEY, or --key KEY and files");
        return exitUsage;
    }
    Results results(form);
    return RunBatch(session, "meta get", ListFiles(options.files), results, [&](const std::string& file) {
        const Metadata values = ValuesOf(module, file, options.keys);
        if (options.json) results.Add(MetadataJson(file, values));
        for (const auto& [key, value] : values)
            if (!options.json) PrintLine(file + "\t" + key + "\t" + value);
        return values.size() == options.keys.size() ? exitDone : exitFailed;
    });
}

}  // namespace

void AddMetaGet(CommandLine& line, Command& meta) {
    auto [command, options] = AddCommand(line, meta, "get", "The values of some keys", &RunMetaGet);
    AddFiles(command, options->files,
             "With --key, audio files and folders of them; without, a file and a key");
    AddOption(command, "--key", &options->keys,
              "A common field (TITLE) or a scheme key (INFO:INAM); file, key and value are printed");
    AddFlag(command, "--json", options->json, jsonHelp);
}

}  // namespace vantor::wavehost
