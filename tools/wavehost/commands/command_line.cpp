#include "wavehost/commands/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <set>

#include "wavehost/commands/manual.h"
#include "wavehost/commands/version.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

// The parser's own check takes "nan", which is neither too small nor too large.
std::function<std::string(const std::string&)> Between(Bounds bounds) {
    return [bounds](const std::string& text) {
        double number = 0;
        const bool read = CLI::detail::lexical_cast(text, number);
        return read && number >= bounds.least && number <= bounds.most ? std::string()
                                                                       : "'" + text + "' is out of range";
    };
}

void Bind(CLI::Option& option, const Rules& rules) {
    option.required(rules.required);
    if (rules.objection) option.check(rules.objection);
    if (rules.excludes) option.excludes(rules.excludes);
    if (rules.delimiter) option.delimiter(rules.delimiter);
    if (!rules.choices.empty())
        option.check(CLI::IsMember(std::set<std::string>(rules.choices.begin(), rules.choices.end())));
}

// A list by a name takes one item each time; one by its place takes what stands there.
void BindList(CLI::Option& option, const Rules& rules) {
    if (option.nonpositional()) option.allow_extra_args(false);
    if (rules.leastItems > 1) option.expected(rules.leastItems, CLI::detail::expected_max_vector_size);
}

template <typename Value>
void Add(Command& command, const char* names, Value& value, const char* help, const Rules& rules) {
    CLI::Option& option = *command.add_option(names, value, help);
    if constexpr (std::is_same_v<Value, std::vector<std::string>>) BindList(option, rules);
    if constexpr (std::is_same_v<Value, int32_t> || std::is_same_v<Value, std::optional<int32_t>>) {
        if (rules.within)
            option.check(
                CLI::Range(static_cast<int>(rules.within->least), static_cast<int>(rules.within->most)));
    } else if (rules.within) {
        option.check(Between(*rules.within));
    }
    Bind(option, rules);
}

// A word that the parser could make nothing of says more than what it missed for that.
int Explain(const CLI::App& program, const CLI::ParseError& error) {
    const bool isMissing = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::RequiredError);
    const std::vector<std::string> unknown = program.remaining(true);
    const int status = isMissing && !unknown.empty() ? program.exit(CLI::ExtrasError("wavehost", unknown))
                                                     : program.exit(error);
    if (std::ranges::any_of(unknown, [](const std::string& word) {
            return word.starts_with('-') && StatusOf(PathOf(word)).kind != FileKind::missing;
        }))
        std::fputs("A name that begins with - goes behind --\n", stderr);
    return status == 0 ? exitDone : exitUsage;
}

}  // namespace

const Module& ModuleOf(Session& session, ResultForm form) {
    if (session.module) return *session.module;
    const fs::path file = FindModule(session.modulePath);
    try {
        return session.module.emplace(LoadModule(file));
    } catch (const Failure& failure) {
        if (form == ResultForm::text) throw Failure(TextOf(file) + ": " + failure.what());
        Results(form).Failed(TextOf(file), failure.what());
        throw ToldFailure();
    }
}

void AddOption(Command& command, const char* names, Target target, const char* help, const Rules& rules) {
    std::visit([&](auto* value) { Add(command, names, *value, help, rules); }, target);
}

void AddFlag(Command& command, const char* names, bool& value, const char* help, const Rules& rules) {
    Bind(*command.add_flag(names, value, help), rules);
}

void AddFiles(Command& command, FileArguments& files, const char* help, const Rules& rules) {
    AddFlag(command, "-r,--recursive", files.recursive, "Folders with all that is below them");
    AddFlag(command, "-0,--null", files.nulTerminated,
            "Names on standard input end with NUL, not a line end");
    AddOption(command, "FILE", &files.names, help, rules);
}

Command& AddGroup(Command& parent, const char* name, const char* help) {
    Command& group = *parent.add_subcommand(name, help);
    group.require_subcommand(1);
    return group;
}

Command& AddCommand(Command& parent, const char* name, const char* help, std::function<void()> chosen) {
    Command& command = *parent.add_subcommand(name, help);
    command.callback(std::move(chosen));
    return command;
}

int RunCommandLine(std::vector<std::string> arguments, void (*addCommands)(CommandLine&)) {
    Command program("Looks at, plays, tags and draws audio files through the vantor_wave module.",
                    "wavehost");
    program.require_subcommand(1);
    program.allow_windows_style_options(false);  // "/takes/a.wav" is a name
    program.fallthrough();
    Session session;
    CommandLine line{program, {}};
    AddOption(
        program, "--module", &session.modulePath,
        "The module to load; by default the one beside this program, else the installed one, else that of "
        "the build folder");
    AddFlag(program, "-q,--quiet", session.quiet, "Errors alone on standard error");
    program.set_version_flag("--version", std::string("wavehost ") + productVersion);
    addCommands(line);
    AddManual(program);
    try {
        std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
        program.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return Explain(program, error);
    }
    return line.chosen(session);
}

}  // namespace vantor::wavehost
