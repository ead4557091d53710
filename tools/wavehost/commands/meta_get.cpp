#include "wavehost/commands/meta.h"
#include "wavehost/facts/report.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

struct MetaGetOptions {
    std::string file;
    std::string key;
};

int RunMetaGet(Session& session, const MetaGetOptions& options) {
    const Module& module = ModuleOf(session);
    return ForFile(options.file, [&] {
        const std::string value = ValueOf(*OpenSource(module, options.file).Get(), options.key);
        if (value.empty()) throw Failure("has no " + options.key);
        std::puts(value.c_str());
        return exitDone;
    });
}

}  // namespace

void AddMetaGet(CommandLine& line, CLI::App& meta) {
    auto [command, options] = AddCommand(line, meta, "get", "One value", &RunMetaGet);
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_option("KEY", options->key, "A common field (TITLE) or a scheme key (INFO:INAM)")
        ->required();
}

}  // namespace vantor::wavehost
