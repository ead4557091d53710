// wavehost: a reference host on the command line. It loads the module through its exported entry and works
// only through what the entry registered.
#include <exception>

#include "wavehost/commands/command_line.h"
#include "wavehost/facts/messages.h"
#include "wavehost/os/interruption.h"
#include "wavehost/os/system.h"
#include "wavehost/os/terminal_text.h"

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

int RunWatched(int argc, char** argv) {
    try {
        const int status = RunCommandLine(CommandArguments(argc, argv), AddCommands);
        const std::string reason = WhyNotWritten(stdout);
        if (reason.empty()) return status;
        ReportFailure("standard output", reason);
    } catch (const Interrupted& interruption) {
        std::fflush(stdout);
        ReportFailure("", "interrupted");
        return interruption.exitStatus;
    } catch (const OutputLost& lost) {
        ReportFailure("standard output", lost.reason);
    } catch (const ToldFailure&) {
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
