#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "wavehost/os/system.h"

namespace vantor::wavehost {

const char* const moduleFileName = "vantor_wave.so";

std::vector<std::string> CommandArguments(int argc, char** argv) {
    return {argv + 1, argv + argc};
}

fs::path PathOf(std::string_view utf8) {
    return fs::path(utf8);
}

std::string TextOf(const fs::path& path) {
    return path.native();
}

fs::path AbsolutePath(const fs::path& path) {
    std::error_code failed;
    const fs::path absolute = fs::absolute(path, failed);
    return failed ? path : absolute;
}

fs::path PlainPath(const fs::path& path) {
    return AbsolutePath(path).lexically_normal();
}

// A stream that whoever started us has closed would be the first file that is opened, and what is meant for
// the stream would be written into that. It fails as before: it is open the wrong way.
void PrepareConsole() {
    for (const auto& [descriptor, mode] :
         {std::pair{STDIN_FILENO, O_WRONLY}, {STDOUT_FILENO, O_RDONLY}, {STDERR_FILENO, O_RDONLY}})
        if (fcntl(descriptor, F_GETFD) < 0) [[maybe_unused]]
            const int opened = open("/dev/null", mode);
}

void UseScreenResolution() {}

std::string LastReason() {
    switch (errno) {
        case ENOENT:
        case ENOTDIR:
            return "no such file";
        case EACCES:
        case EPERM:
            return "permission denied";
        case EISDIR:
            return "is a folder";
        case ENOSPC:
        case EDQUOT:
            return "the disk is full";
        default:
            return std::strerror(errno);
    }
}

fs::path ExecutableFolder() {
    std::error_code failed;
    return fs::read_symlink("/proc/self/exe", failed).parent_path();
}

fs::path UserCacheFolder() {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    if (cache && *cache == '/') return fs::path(cache) / "vantor_wave";
    const char* home = std::getenv("HOME");
    return home && *home ? fs::path(home) / ".cache" / "vantor_wave" : fs::path();
}

void* OpenLibrary(const fs::path& path, std::string& error) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) error = dlerror();
    return library;
}

void* LibrarySymbol(void* library, const char* name) {
    return dlsym(library, name);
}

bool IsTerminal(std::FILE* stream) {
    return isatty(fileno(stream)) == 1;
}

void MakeBinary(std::FILE*) {}

std::FILE* OpenStream(const fs::path& path, const char* mode) {
    return std::fopen(path.c_str(), mode);
}

bool IsImmutable(const fs::path& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0) return errno == EPERM;
    close(file);
    return false;
}

bool SeekStream(std::FILE* stream, int64_t position) {
    return fseeko(stream, position, SEEK_SET) == 0;
}

bool FolderIsWritable(const fs::path& folder) {
    return access(folder.c_str(), W_OK) == 0;
}

bool SyncFile(const fs::path& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    const bool synced = fsync(file) == 0;
    close(file);
    return synced;
}

bool TakePlaceOf(const fs::path& from, const fs::path& target, std::string& error) {
    struct stat old {};
    if (stat(target.c_str(), &old) == 0) {
        // The owner first: changing it takes special permission bits away. Only root may give files away.
        [[maybe_unused]] const int owned = chown(from.c_str(), old.st_uid, old.st_gid);
        [[maybe_unused]] const int moded = chmod(from.c_str(), old.st_mode & 07777);
    }
    if (rename(from.c_str(), target.c_str()) != 0) {
        error = LastReason();
        return false;
    }
    SyncFile(target.has_parent_path() ? target.parent_path() : fs::path("."));
    return true;
}

int64_t ProcessNumber() {
    return getpid();
}

PrivateFiles::PrivateFiles(bool active) {
    if (active) before_ = static_cast<int>(umask(0077));
}

PrivateFiles::~PrivateFiles() {
    if (before_ >= 0) umask(static_cast<mode_t>(before_));
}

}  // namespace vantor::wavehost
