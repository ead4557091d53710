#include "wavehost/commands/command_line.h"

namespace vantor::wavehost {

const Module& ModuleOf(Session& session) {
    if (!session.module) session.module = LoadModule(session.modulePath);
    return *session.module;
}

CLI::Option* AddFiles(CLI::App& command, FileArguments& files) {
    command.add_flag("-r,--recursive", files.recursive, "Folders with all that is below them");
    command.add_flag("-0,--null", files.nulTerminated,
                     "Names on standard input end with NUL, not a line end");
    return command
        .add_option("FILE", files.names,
                    "Audio files, and folders of them; - reads names from standard input, one a line")
        ->required();
}

std::function<std::string(const std::string&)> Between(double least, double most) {
    return [=](const std::string& text) {
        double number = 0;
        const bool read = CLI::detail::lexical_cast(text, number);
        return read && number >= least && number <= most ? std::string() : "'" + text + "' is out of range";
    };
}

}  // namespace vantor::wavehost
