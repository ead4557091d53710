#include <windows.h>
// windows.h comes first: the headers below build on it.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "wavehost/os/folder.h"

namespace vantor::wavehost {

const bool expandsWildcards = true;

namespace {

FileKind KindOf(DWORD attributes) {
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) return FileKind::folder;
    return attributes & FILE_ATTRIBUTE_DEVICE ? FileKind::other : FileKind::file;
}

}  // namespace

FileStatus StatusOf(const fs::path& path) {
    if (path.empty()) return {FileKind::missing, emptyName, 0, 0};
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data))
        return {FileKind::missing, LastReason(), 0, 0};
    const auto joined = [](DWORD high, DWORD low) {
        return static_cast<int64_t>(uint64_t{high} << 32 | low);
    };
    return {KindOf(data.dwFileAttributes), "", joined(data.nFileSizeHigh, data.nFileSizeLow),
            joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
}

std::string WhyUnreadable(const fs::path& path) {
    const FileStatus status = StatusOf(path);
    if (status.kind == FileKind::missing) return status.reason;
    if (status.kind == FileKind::folder) return "is a folder";
    if (status.kind == FileKind::other) return "not a regular file";
    HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return LastReason();
    CloseHandle(file);
    return {};
}

std::vector<FolderEntry> ListFolder(const fs::path& folder, std::string& reason) {
    std::vector<FolderEntry> entries;
    // Through PathOf, which makes room for the names in a folder whose own name is nearly too long.
    WIN32_FIND_DATAW data{};
    HANDLE search = FindFirstFileW(PathOf(TextOf(folder / "*")).c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) {
        if (GetLastError() != ERROR_FILE_NOT_FOUND) reason = LastReason();
        return entries;
    }
    do {
        const std::wstring_view name = data.cFileName;
        if (name == L"." || name == L"..") continue;
        const bool isLink = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        entries.push_back({PathOf(TextOf(folder / name)), KindOf(data.dwFileAttributes), isLink});
    } while (FindNextFileW(search, &data));
    if (GetLastError() != ERROR_NO_MORE_FILES) reason = LastReason();
    FindClose(search);
    std::sort(entries.begin(), entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.path.native() < b.path.native(); });
    return entries;
}

}  // namespace vantor::wavehost
