#include <windows.h>

#include <string>

#include "wavehost/os/rename.h"

namespace vantor::wavehost {

bool RenameWithoutReplacing(const fs::path& from, const fs::path& to, std::string& error) {
    if (MoveFileExW(from.c_str(), to.c_str(), 0)) return true;
    const DWORD code = GetLastError();
    error = code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS ? "a file of that name is there"
                                                                      : LastReason();
    return false;
}

}  // namespace vantor::wavehost
