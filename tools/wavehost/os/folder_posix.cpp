#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>

#include "wavehost/os/folder.h"

namespace vantor::wavehost {

const bool expandsWildcards = false;

FileStatus StatusOf(const fs::path& path) {
    if (path.empty()) return {FileKind::missing, emptyName, 0, 0};
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return {FileKind::missing, LastReason(), 0, 0};
    const FileKind kind = S_ISREG(status.st_mode)   ? FileKind::file
                          : S_ISDIR(status.st_mode) ? FileKind::folder
                                                    : FileKind::other;
    return {kind, "", status.st_size,
            status.st_mtim.tv_sec * int64_t{1'000'000'000} + status.st_mtim.tv_nsec};
}

std::string WhyUnreadable(const fs::path& path) {
    const FileStatus status = StatusOf(path);
    if (status.kind == FileKind::missing) return status.reason;
    if (status.kind == FileKind::folder) return "is a folder";
    if (status.kind == FileKind::other) return "not a regular file";
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return LastReason();
    close(file);
    return {};
}

std::vector<FolderEntry> ListFolder(const fs::path& folder, std::string& reason) {
    std::vector<FolderEntry> entries;
    std::error_code failed, ignored;
    for (fs::directory_iterator entry(folder, failed), end; !failed && entry != end;
         entry.increment(failed)) {
        const FileKind kind = entry->is_regular_file(ignored) ? FileKind::file
                              : entry->is_directory(ignored)  ? FileKind::folder
                                                              : FileKind::other;
        entries.push_back({entry->path(), kind, entry->is_symlink(ignored)});
    }
    if (failed) {
        errno = failed.value();
        reason = LastReason();
    }
    std::sort(entries.begin(), entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.path.native() < b.path.native(); });
    return entries;
}

}  // namespace vantor::wavehost
