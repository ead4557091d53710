#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "wavehost/os/rename.h"

namespace vantor::wavehost {

namespace {

// Where the file system does not know the better way: a second name, which cannot replace one either, and
// then the first one goes.
bool Relink(const fs::path& from, const fs::path& to) {
    if (link(from.c_str(), to.c_str()) != 0) return false;
    return unlink(from.c_str()) == 0;
}

}  // namespace

bool RenameWithoutReplacing(const fs::path& from, const fs::path& to, std::string& error) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
    if ((errno == EINVAL || errno == ENOSYS) && Relink(from, to)) return true;
    error = errno == EEXIST ? "a file of that name is there" : LastReason();
    return false;
}

}  // namespace vantor::wavehost
