// The commands. Each stands in a file of its own, which declares its options and runs it.
#pragma once

#include <optional>
#include <string>

#include "wavehost/host/module_loader.h"
#include "wavehost/tables/results.h"

namespace vantor::wavehost {

inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitUsage = 2;

// What is said once for all commands, and the module that they work through.
struct Session {
    std::string modulePath;        // --module
    bool quiet = false;            // -q: errors alone on standard error
    std::optional<Module> module;  // loaded when the first command asks
};
// Throws Failure when there is no module; when JSON is wanted that is a result, and ToldFailure is thrown.
const Module& ModuleOf(Session& session, ResultForm form = ResultForm::text);
struct ToldFailure {};

// Each adds its command to the line.
struct CommandLine;
void AddInfo(CommandLine& line);
void AddRender(CommandLine& line);
void AddMeta(CommandLine& line);
void AddMarkers(CommandLine& line);
void AddSlices(CommandLine& line);
void AddPeaks(CommandLine& line);
void AddState(CommandLine& line);
void AddRestore(CommandLine& line);
void AddScan(CommandLine& line);
void AddReport(CommandLine& line);
void AddProperties(CommandLine& line);
void AddCheck(CommandLine& line);
void AddRepair(CommandLine& line);
void AddHash(CommandLine& line);
void AddRename(CommandLine& line);

}  // namespace vantor::wavehost
