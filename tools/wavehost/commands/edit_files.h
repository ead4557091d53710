// What the commands that write tags have in common.
#pragma once

#include "wavehost/commands/command_line.h"
#include "wavehost/edits/tag_edit.h"

namespace vantor::wavehost {

// --dry-run, --preserve-time and --force.
void AddEditWays(Command& command, EditWays& ways);
// Prints what became of the keys, and on standard error what else changed and what fell short. A file that
// was not touched is left out unless `tellsUnchanged`. Returns the exit status.
int TellEdit(const Session& session, const std::string& file, const EditResult& result, const EditWays& ways,
             bool tellsUnchanged = true);
// Edits one file and tells.
int EditFile(const Session& session, const Module& module, const std::string& file, const WishesOf& wishesOf,
             const EditWays& ways, bool tellsUnchanged = true);
// Said once, behind the files.
void TellDryRun(const Session& session, const EditWays& ways);

}  // namespace vantor::wavehost
