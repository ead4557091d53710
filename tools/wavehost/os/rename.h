// Giving a file another name, never one that is taken.
#pragma once

#include "wavehost/os/system.h"

namespace vantor::wavehost {

// In one step: what stands under the new name by then stays, and so does the old name. False with the reason.
bool RenameWithoutReplacing(const fs::path& from, const fs::path& to, std::string& error);

}  // namespace vantor::wavehost
