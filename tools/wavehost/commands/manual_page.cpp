#include "wavehost/commands/manual.h"
#include "wavehost/commands/version.h"

namespace vantor::wavehost {

namespace {

// Text between macros: what troff would take for its own is escaped.
std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    const bool isControl = !escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'');
    return isControl ? "\\&" + escaped : escaped;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + Escaped(text) + "\\fR";
}

std::string ValueText(const OptionFacts& option) {
    if (option.choices.empty()) return Italic("VALUE");
    std::string text;
    for (const auto& choice : option.choices)
        text += (text.empty() ? "" : "|") + Bold(choice);
    return text;
}

std::string Paragraph(const std::string& heading, const std::string& help) {
    return ".TP\n" + heading + "\n" + Escaped(help) + "\n";
}

std::string OptionText(const OptionFacts& option) {
    std::string heading;
    for (const auto& name : option.names)
        heading += (heading.empty() ? "" : ", ") + Bold(name);
    if (option.takesValue) heading += " " + ValueText(option);
    return Paragraph(heading, option.help);
}

std::string Synopsis(const CommandFacts& command) {
    std::string line = ".B " + Escaped(command.path) + "\n";
    if (!command.options.empty()) line += "[" + Italic("OPTION") + "...]\n";
    for (const auto& positional : command.positionals) {
        const std::string name = Italic(positional.names[0]) + (positional.isRepeated ? "..." : "");
        line += (positional.isRequired ? name : "[" + name + "]") + "\n";
    }
    return line;
}

// A command that only groups others has no section of its own.
std::string CommandSections(const CommandFacts& command) {
    std::string text;
    for (const auto& sub : command.commands)
        text += CommandSections(sub);
    if (!text.empty()) return text;
    text = ".SS " + Escaped(command.path.substr(command.path.find(' ') + 1)) + "\n" + Synopsis(command) +
           ".PP\n" + Escaped(command.help) + ".\n";
    for (const auto& positional : command.positionals)
        text += Paragraph(Italic(positional.names[0]), positional.help);
    for (const auto& option : command.options)
        if (option.names[0] != "-h") text += OptionText(option);
    return text;
}

constexpr const char* closing = R"(.SH EXIT STATUS
.TP
.B 0
Done.
.TP
.B 1
Something could not be opened, read, written, or was found wrong; a line on standard error says what.
.TP
.B 2
Wrong usage.
.TP
.BR 130 ", " 143 ", " 129
Interrupted by SIGINT, SIGTERM or SIGHUP; nothing temporary stays behind.
.SH FILES
.TP
.I FILE.vwpeaks
The computed peaks of an audio file, beside it or in
.IR $XDG_CACHE_HOME/vantor_wave .
May be deleted at any time.
.SH EXAMPLES
.nf
wavehost info take.wav
wavehost render take.aif \-o take.wav \-\-rate 48000
wavehost meta set take.wav TITLE="Night, take 3" BWF:Originator=me
wavehost peaks take.wav \-\-png take.png
.fi
)";

}  // namespace

std::string ManualPage(const CommandFacts& program) {
    std::string text =
        ".TH WAVEHOST 1 \"\" \"vantor_wave " + std::string(productVersion) +
        "\" \"User Commands\"\n.SH NAME\nwavehost \\- look at, play, tag and draw audio files\n"
        ".SH SYNOPSIS\n.B wavehost\n[" +
        Italic("OPTION") + "...] " + Italic("COMMAND") + " [" + Italic("ARGUMENT") +
        "...]\n.SH DESCRIPTION\n" + Escaped(program.help) +
        "\nResults go to standard output, messages and progress to standard error.\n.SH OPTIONS\n";
    for (const auto& option : program.options)
        text += OptionText(option);
    text += ".SH COMMANDS\n";
    for (const auto& command : program.commands)
        text += CommandSections(command);
    return text + closing;
}

}  // namespace vantor::wavehost
