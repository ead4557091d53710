#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/facts/source_facts.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

struct PropertiesOptions {
    std::string file;
};

int RunProperties(Session& session, const PropertiesOptions& options) {
    const Module& module = ModuleOf(session);
    return ForFile(options.file, [&] {
        const HostPtr<PCM_source> source = OpenSource(module, options.file);
        UseScreenResolution();
        if (source->ShowProperties(nullptr) != 0) return exitDone;
        throw Failure("the module shows no properties window on this system; 'info' prints the same");
    });
}

}  // namespace

void AddProperties(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "properties",
                   "Show a window with all that is known of a file (Windows)", &RunProperties);
    AddOption(command, "FILE", &options->file, fileHelp, {.required = true});
}

}  // namespace vantor::wavehost
