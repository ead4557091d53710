// The commands below `meta`.
#pragma once

#include "wavehost/commands/command_line.h"

namespace vantor::wavehost {

void AddMetaList(CommandLine& line, CLI::App& meta);
void AddMetaGet(CommandLine& line, CLI::App& meta);
void AddMetaSet(CommandLine& line, CLI::App& meta);

}  // namespace vantor::wavehost
