// What the commands' options have in common. For the files that declare a command.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <utility>

#include "wavehost/commands/commands.h"
#include "wavehost/files/file_list.h"

namespace vantor::wavehost {

struct CommandLine {
    CLI::App& app;
    std::function<int(Session&)> chosen;  // the command that stands on the line
};

inline constexpr const char* fileHelp = "An audio file";
inline constexpr const char* jsonHelp = "Print JSON and nothing else on standard output";
inline constexpr double mostSeconds = 1e9;

// A command below `parent` (the program, or a group of commands), with options that live as long as the
// parser. `run` returns the exit status.
template <typename Options>
std::pair<CLI::App*, std::shared_ptr<Options>> AddCommand(CommandLine& line, CLI::App& parent,
                                                          const char* name, const char* help,
                                                          int (*run)(Session&, const Options&)) {
    auto options = std::make_shared<Options>();
    CLI::App* command = parent.add_subcommand(name, help);
    command->callback([&line, options, run] {
        line.chosen = [options, run](Session& session) { return run(session, *options); };
    });
    return {command, options};
}

// FILE... with -r and -0.
CLI::Option* AddFiles(CLI::App& command, FileArguments& files);

// A check for numbers within bounds; "nan", which is neither too small nor too large, is not.
std::function<std::string(const std::string&)> Between(double least, double most);

}  // namespace vantor::wavehost
