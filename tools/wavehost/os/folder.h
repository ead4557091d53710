// Folders and what stands in them, by names of any length.
#pragma once

#include "wavehost/os/system.h"

namespace vantor::wavehost {

enum class FileKind { missing, file, folder, other };
struct FileStatus {
    FileKind kind = FileKind::missing;
    std::string reason;  // why nothing more is known: "no such file", "permission denied" ...
    int64_t bytes = 0;
    int64_t writeTime = 0;  // of the last change, in the system's finest unit: to be compared alone
};
inline constexpr const char* emptyName = "an empty name is no file";
// Follows links.
FileStatus StatusOf(const fs::path& path);

// Why the file cannot be read, in the system's words ("no such file", "permission denied", "is a folder",
// "not a regular file"); empty when it can.
std::string WhyUnreadable(const fs::path& path);

struct FolderEntry {
    fs::path path;
    FileKind kind;  // of what a link leads to
    bool isLink;
};
// Sorted by name. On failure `reason` says why; what was found until then is returned.
std::vector<FolderEntry> ListFolder(const fs::path& folder, std::string& reason);

// Whether `*` and `?` in an argument are left for this program to expand.
extern const bool expandsWildcards;

}  // namespace vantor::wavehost
