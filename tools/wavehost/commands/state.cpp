#include "wavehost/commands/command_line.h"
#include "wavehost/commands/write_result.h"
#include "wavehost/facts/messages.h"
#include "wavehost/host/host_services.h"
#include "wavehost/host/project_text.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

struct StateOptions {
    std::string file;
    std::string output = "-";  // standard output
    std::optional<int32_t> slice;
};

HostPtr<PCM_source> WantedSource(Session& session, const StateOptions& options) {
    HostPtr<PCM_source> source = OpenSource(ModuleOf(session), options.file);
    if (!options.slice) return source;
    HostPtr<PCM_source> slice = SliceSource(*source.Get(), *options.slice);
    if (!slice) throw Failure("has no slice " + std::to_string(*options.slice));
    return slice;
}

std::string SavedBlock(PCM_source& source) {
    ProjectLines lines;
    if (source.WriteState(&lines) < 0) throw Failure("its state cannot be saved");
    std::string block = std::string(sourceBlockKeyword) + " " + source.TypeName() + "\n";
    for (const std::string& line : lines.Lines())
        block += "  " + line + "\n";
    return block + ">\n";
}

int RunState(Session& session, const StateOptions& options) {
    return ForFile(options.file, [&] {
        const HostPtr<PCM_source> source = WantedSource(session, options);
        if (options.output != "-") Host().stateFolder = AbsolutePath(PathOf(options.output)).parent_path();
        return WriteResult(options.output, SavedBlock(*source.Get()));
    });
}

}  // namespace

void AddState(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "state", "The lines that a project keeps of a source", &RunState);
    AddOption(command, "FILE", &options->file, fileHelp, {.required = true});
    AddOption(command, "--slice", &options->slice, "One slice of the file", {.within = Bounds{0, INT32_MAX}});
    AddOption(command, "-o,--output", &options->output,
              "Write them to this file, with names relative to its folder; on standard output (-) names "
              "are absolute");
}

}  // namespace vantor::wavehost
