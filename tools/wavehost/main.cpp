// wavehost: a reference host on the command line. It loads the module through its exported entry and works
// only through what the entry registered.
#include "wavehost/commands/command_line.h"
#include "wavehost/commands/manual.h"
#include "wavehost/commands/version.h"
#include "wavehost/facts/report.h"
#include "wavehost/os/interruption.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

void AddCommands(CommandLine& line) {
    AddInfo(line);
    AddRender(line);
    AddMeta(line);
    AddMarkers(line);
    AddSlices(line);
    AddPeaks(line);
    AddState(line);
    AddRestore(line);
    AddScan(line);
    AddReport(line);
    AddProperties(line);
    AddCheck(line);
    AddRepair(line);
    AddHash(line);
    AddRename(line);
}

int Run(std::vector<std::string> arguments) {
    CLI::App app("Looks at, plays, tags and draws audio files through the vantor_wave module.", "wavehost");
    app.require_subcommand(1);
    app.allow_windows_style_options(false);  // "/takes/a.wav" is a name
    app.fallthrough();
    Session session;
    CommandLine line{app, {}};
    app.add_option(
        "--module", session.modulePath,
        "The module to load; by default the one beside this program, else the installed one, else that of "
        "the build folder");
    app.add_flag("-q,--quiet", session.quiet, "Errors alone on standard error");
    app.set_version_flag("--version", std::string("wavehost ") + productVersion);
    AddCommands(line);
    AddManual(app);
    try {
        std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitDone : exitUsage;
    }
    return line.chosen(session);
}

int RunWatched(int argc, char** argv) {
    try {
        const int status = Run(CommandArguments(argc, argv));
        if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return status;
        ReportFailure("standard output", "cannot be written");
    } catch (const Interrupted& interruption) {
        std::fflush(stdout);
        ReportFailure("", "interrupted");
        return interruption.exitStatus;
    } catch (const std::exception& failure) {
        ReportFailure("", failure.what());
    }
    return exitFailed;
}

}  // namespace

}  // namespace vantor::wavehost

int main(int argc, char** argv) {
    using namespace vantor::wavehost;
    PrepareConsole();
    WatchForInterruption();
    const int status = RunWatched(argc, argv);
    InterruptionHandled();
    return status;
}
