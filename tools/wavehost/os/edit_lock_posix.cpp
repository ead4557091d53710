#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <optional>
#include <utility>

#include "wavehost/os/edit_lock.h"
#include "wavehost/os/system.h"
#include "wavehost/os/waiting.h"

namespace vantor::wavehost {

namespace {

using FileNumber = std::pair<dev_t, ino_t>;

std::optional<FileNumber> NumberOf(const fs::path& file) {
    struct stat status {};
    if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return FileNumber{status.st_dev, status.st_ino};
}

// A socket address without a file: one process at a time can have it, and it goes with the process. The
// file's own lock is the module's, which takes it while we hold this.
int BindTurn(const FileNumber& number) {
    const std::string name = std::string(1, '\0') + "wavehost-edits-" + std::to_string(number.first) + "-" +
                             std::to_string(number.second);
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    name.copy(address.sun_path, name.size());
    const int turn = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto bytes = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    if (turn < 0 || bind(turn, reinterpret_cast<const sockaddr*>(&address), bytes) == 0) return turn;
    close(turn);
    return -1;
}

// True when no host of the module edits the file at this moment.
bool IsFree(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return true;
    const bool isHeld = flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(descriptor);
    return !isHeld;
}

}  // namespace

// The kernel refuses a read lease while the file is open for writing. One that is being broken raises SIGIO,
// which ends a process; SIGURG does not.
bool IsBeingRecorded(const fs::path& file) {
    bool isWritten = false;
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) return false;
#ifdef F_SETLEASE
    if (fcntl(descriptor, F_SETSIG, SIGURG) == 0)
        isWritten = fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN;
#endif
    close(descriptor);  // and the lease with it
    return isWritten;
}

// A file that is renamed over the one that we wait for is another one, with another turn.
EditLock::EditLock(const fs::path& file) {
    WaitUntil(TextOf(file), [&] {
        const auto number = NumberOf(file);
        if (!number) return true;  // whoever opens it says why it cannot be edited
        if (socket_ < 0) socket_ = BindTurn(*number);
        if (socket_ < 0) return false;
        if (NumberOf(file) == number && IsFree(file)) return true;
        close(std::exchange(socket_, -1));
        return false;
    });
    if (socket_ < 0 || !IsBeingRecorded(file)) return;
    close(socket_);
    throw Failure("is being recorded by another program");
}

EditLock::~EditLock() {
    if (socket_ >= 0) close(socket_);
}

}  // namespace vantor::wavehost
