#include "wavehost/commands/manual.h"

namespace vantor::wavehost {

namespace {

std::string Joined(const std::vector<std::string>& words, const std::string& between) {
    std::string text;
    for (const auto& word : words)
        text += (text.empty() ? "" : between) + word;
    return text;
}

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

// Within '...' of a POSIX shell.
std::string Quoted(const std::string& text) {
    return "'" + Replaced(text, "'", R"('\'')") + "'";
}

// What follows the program's name: "meta set".
std::string PathBelow(const CommandFacts& command) {
    const size_t blank = command.path.find(' ');
    return blank == std::string::npos ? "" : command.path.substr(blank + 1);
}

void Flatten(const CommandFacts& command, std::vector<const CommandFacts*>& all) {
    all.push_back(&command);
    for (const auto& sub : command.commands)
        Flatten(sub, all);
}

std::vector<const CommandFacts*> AllCommands(const CommandFacts& program) {
    std::vector<const CommandFacts*> all;
    Flatten(program, all);
    return all;
}

std::vector<std::string> SubcommandNames(const CommandFacts& command) {
    std::vector<std::string> names;
    for (const auto& sub : command.commands)
        names.push_back(NameOf(sub));
    return names;
}

std::vector<std::string> OptionNames(const CommandFacts& command) {
    std::vector<std::string> names;
    for (const auto& option : command.options)
        names.insert(names.end(), option.names.begin(), option.names.end());
    return names;
}

// "'info'|'meta'|'meta set'": what leads to a command.
std::string PathPattern(const std::vector<const CommandFacts*>& commands, const std::string& between) {
    std::vector<std::string> paths;
    for (const CommandFacts* command : commands)
        if (!PathBelow(*command).empty()) paths.push_back(Quoted(PathBelow(*command)));
    return Joined(paths, between);
}

// A line for each option that takes one of a few values: 'command|option') choices='...'.
std::string ChoiceCases(const std::vector<const CommandFacts*>& commands) {
    std::string cases;
    for (const CommandFacts* command : commands)
        for (const auto& option : command->options) {
            if (option.choices.empty()) continue;
            std::vector<std::string> patterns;
            for (const auto& name : option.names)
                patterns.push_back(Quoted(PathBelow(*command) + "|" + name));
            cases += "        " + Joined(patterns, "|") + ") choices=" + Quoted(Joined(option.choices, " ")) +
                     " ;;\n";
        }
    return cases;
}

// In the loop over the words of the line: which command stands there, and behind it what the option before
// the cursor takes. bash and zsh differ in how they name that word alone.
std::string PlaceAndChoices(const std::vector<const CommandFacts*>& commands, const std::string& lastWord) {
    return "        case \"$word\" in\n        " + PathPattern(commands, "|") +
           ") place=$word ;;\n"
           "        esac\n"
           "    done\n"
           "    case \"$place|" +
           lastWord + "\" in\n" + ChoiceCases(commands) +
           "    esac\n"
           "    case \"$place\" in\n";
}

// An item of zsh's _describe.
std::string Described(const std::string& word, const std::string& help) {
    return Quoted(Replaced(word, ":", "\\:") + ":" + help);
}

std::string ZshCase(const CommandFacts& command) {
    std::vector<std::string> commands;
    std::vector<std::string> options;
    for (const auto& sub : command.commands)
        commands.push_back(Described(NameOf(sub), sub.help));
    for (const auto& option : command.options)
        for (const auto& name : option.names)
            options.push_back(Described(name, option.help));
    return "        " + Quoted(PathBelow(command)) + ")\n            commands=(" + Joined(commands, " ") +
           ")\n            options=(" + Joined(options, " ") + ") ;;\n";
}

// What stands between '...' in fish.
std::string FishQuoted(const std::string& text) {
    return "'" + Replaced(Replaced(text, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string FishOption(const OptionFacts& option) {
    std::string line;
    for (const auto& name : option.names)
        line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    if (!option.choices.empty())
        line += " -x -a " + FishQuoted(Joined(option.choices, " "));
    else if (option.takesValue)
        line += " -r";
    return line + " -d " + FishQuoted(option.help);
}

}  // namespace

std::string BashCompletion(const CommandFacts& program) {
    const auto commands = AllCommands(program);
    std::string text =
        "# bash completion of wavehost\n"
        "_wavehost() {\n"
        "    local current=${COMP_WORDS[COMP_CWORD]} place='' choices='' commands='' options='' word i\n"
        "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
        "        word=\"${place:+$place }${COMP_WORDS[i]}\"\n" +
        PlaceAndChoices(commands, "${COMP_WORDS[COMP_CWORD - 1]}");
    for (const CommandFacts* command : commands)
        text += "        " + Quoted(PathBelow(*command)) +
                ") commands=" + Quoted(Joined(SubcommandNames(*command), " ")) +
                " options=" + Quoted(Joined(OptionNames(*command), " ")) + " ;;\n";
    return text +
           "    esac\n"
           "    if [ -z \"$choices\" ]; then\n"
           "        case \"$current\" in -*) choices=$options ;; *) choices=$commands ;; esac\n"
           "    fi\n"
           "    mapfile -t COMPREPLY < <(compgen -W \"$choices\" -- \"$current\")\n"
           "}\n"
           "complete -o bashdefault -o default -F _wavehost wavehost\n";
}

std::string ZshCompletion(const CommandFacts& program) {
    const auto commands = AllCommands(program);
    std::string text =
        "#compdef wavehost\n"
        "_wavehost() {\n"
        "    local place='' choices='' word\n"
        "    local -a commands options\n"
        "    local -i i\n"
        "    for ((i = 2; i < CURRENT; i++)); do\n"
        "        word=\"${place:+$place }${words[i]}\"\n" +
        PlaceAndChoices(commands, "${words[CURRENT-1]}");
    for (const CommandFacts* command : commands)
        text += ZshCase(*command);
    return text +
           "    esac\n"
           "    if [[ -n $choices ]]; then\n"
           "        compadd -- ${=choices}\n"
           "    elif [[ $PREFIX == -* ]]; then\n"
           "        _describe -o option options\n"
           "    elif (( $#commands )); then\n"
           "        _describe command commands\n"
           "    else\n"
           "        _files\n"
           "    fi\n"
           "}\n"
           "_wavehost \"$@\"\n";
}

std::string FishCompletion(const CommandFacts& program) {
    const auto commands = AllCommands(program);
    std::string text =
        "# fish completion of wavehost\n"
        "function __wavehost_at\n"
        "    set -l place\n"
        "    for word in (commandline -opc)[2..]\n"
        "        switch (string trim \"$place $word\")\n"
        "            case " +
        Replaced(PathPattern(commands, " "), "'", "\"") +
        "\n"
        "                set place (string trim \"$place $word\")\n"
        "        end\n"
        "    end\n"
        "    test \"$place\" = \"$argv\"\n"
        "end\n";
    for (const CommandFacts* command : commands) {
        const std::string at = "complete -c wavehost -n '__wavehost_at " + PathBelow(*command) + "'";
        for (const auto& sub : command->commands)
            text += at + " -f -a " + NameOf(sub) + " -d " + FishQuoted(sub.help) + "\n";
        for (const auto& option : command->options)
            text += at + FishOption(option) + "\n";
    }
    return text;
}

}  // namespace vantor::wavehost
