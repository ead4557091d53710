// A command over many files.
#pragma once

#include <functional>
#include <string>

#include "wavehost/commands/commands.h"
#include "wavehost/files/file_list.h"
#include "wavehost/tables/results.h"

namespace vantor::wavehost {

// Runs `work`, which returns an exit status, for every file in turn, with a bar where a person watches. A
// failure is told and does not stop the others; an interruption does, between two files. Returns the worst
// status.
int RunBatch(const Session& session, const std::string& title, const std::vector<ListedFile>& files,
             Results& results, const std::function<int(const std::string& file)>& work);

}  // namespace vantor::wavehost
