// The command line as the commands declare it. The parser's header, which costs seconds a file, stays behind
// it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "wavehost/commands/commands.h"
#include "wavehost/files/file_list.h"

namespace CLI {  // NOLINT(readability-identifier-naming): the parser's own
class App;
}

namespace vantor::wavehost {

using Command = CLI::App;  // a command, or a group of commands, as the parser keeps it

struct CommandLine {
    Command& program;
    std::function<int(Session&)> chosen;  // the command that stands on the line
};

// Where the value of an option goes; its type says what is taken for one. A list takes several.
using Target = std::variant<std::string*, std::vector<std::string>*, double*, std::optional<double>*,
                            int32_t*, std::optional<int32_t>*>;

struct Bounds {
    double least, most;
};

// What is asked of an option beyond its type.
struct Rules {
    bool required = false;
    std::optional<Bounds> within = std::nullopt;
    std::vector<std::string> choices = {};                   // empty: any value
    std::string (*objection)(const std::string&) = nullptr;  // to a value; empty: none
    const char* excludes = nullptr;                          // the one that it does not stand beside
    char delimiter = 0;                                      // between the items of a list
    int leastItems = 1;                                      // of a list
};

inline constexpr const char* fileHelp = "An audio file";
inline constexpr const char* jsonHelp = "Print JSON and nothing else on standard output";
inline constexpr const char* filesHelp =
    "Audio files, and folders of them; - reads names from standard input, one a line";
inline constexpr Bounds anyTime{0, 1e9};  // seconds

// `names`: "-o,--output"; "FILE" is an argument without a name, by its place.
void AddOption(Command& command, const char* names, Target target, const char* help, const Rules& rules = {});
void AddFlag(Command& command, const char* names, bool& value, const char* help, const Rules& rules = {});
// FILE... with -r and -0.
void AddFiles(Command& command, FileArguments& files, const char* help = filesHelp,
              const Rules& rules = {.required = true});

// A group, of whose commands one must stand on the line.
Command& AddGroup(Command& parent, const char* name, const char* help);
// A command below `parent` (the program, or a group). `chosen` is called when it stands on the line.
Command& AddCommand(Command& parent, const char* name, const char* help, std::function<void()> chosen);

// The same with options that live as long as the parser. `run` returns the exit status.
template <typename Options>
std::pair<Command&, std::shared_ptr<Options>> AddCommand(CommandLine& line, Command& parent, const char* name,
                                                         const char* help,
                                                         int (*run)(Session&, const Options&)) {
    auto options = std::make_shared<Options>();
    Command& command = AddCommand(parent, name, help, [&line, options, run] {
        line.chosen = [options, run](Session& session) { return run(session, *options); };
    });
    return {command, options};
}

// Parses the arguments, without the program's name, and runs what they choose. Help, a version and wrong
// usage are printed. Returns the exit status.
int RunCommandLine(std::vector<std::string> arguments, void (*addCommands)(CommandLine&));

}  // namespace vantor::wavehost
