// The manual page and the shells' completions, from what the command line itself knows of its commands.
#pragma once

#include <string>
#include <vector>

#include "wavehost/commands/command_line.h"

namespace vantor::wavehost {

struct OptionFacts {
    std::vector<std::string> names;    // "-o", "--output"; of a positional argument "FILE"
    bool takesValue = false;           // a positional argument always does
    std::vector<std::string> choices;  // the values it takes; empty: any
    bool isRequired = false;
    bool isRepeated = false;  // takes several values
    std::string help;
};

struct CommandFacts {
    std::string path;  // "wavehost meta set"
    std::string help;
    std::vector<OptionFacts> positionals;
    std::vector<OptionFacts> options;
    std::vector<CommandFacts> commands;
};

// Hidden commands and options are left out.
CommandFacts FactsOf(const Command& app, const std::string& path);
// The last word of the path.
std::string NameOf(const CommandFacts& command);

// troff with the macros of man(7); the version is the product's.
std::string ManualPage(const CommandFacts& program);
std::string BashCompletion(const CommandFacts& program);
std::string ZshCompletion(const CommandFacts& program);
std::string FishCompletion(const CommandFacts& program);

// --manual FORM, which stands in no help: prints one of the above and ends the program.
void AddManual(Command& app);

}  // namespace vantor::wavehost
