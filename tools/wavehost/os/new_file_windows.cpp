#include <windows.h>

#include "wavehost/os/edit_lock.h"
#include "wavehost/os/new_file.h"
#include "wavehost/os/system.h"
#include "wavehost/os/temporary_name.h"
#include "wavehost/os/waiting.h"

namespace vantor::wavehost {

namespace {

bool HasEnded(uint32_t owner) {
    HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, owner);
    if (!process) return GetLastError() == ERROR_INVALID_PARAMETER;
    const bool hasEnded = WaitForSingleObject(process, 0) == WAIT_OBJECT_0;
    CloseHandle(process);
    return hasEnded;
}

}  // namespace

// The library's own count of links is 1 for every file here.
bool HasOtherNames(const fs::path& file) {
    constexpr DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE handle =
        CreateFileW(file.c_str(), 0, shared, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return false;
    BY_HANDLE_FILE_INFORMATION facts{};
    const bool known = GetFileInformationByHandle(handle, &facts) != 0;
    CloseHandle(handle);
    return known && facts.nNumberOfLinks > 1;
}

void SweepUp(const fs::path& folder) {
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(folder, failed)) {
        const std::string name = TextOf(entry.path().filename());
        // It begins with its owner's number.
        if (IsTemporaryName(name) && HasEnded(OwnerIn(name))) DeleteFileW(entry.path().c_str());
    }
}

NewFile::NewFile(const fs::path& folder) : folder_(folder) {
    SweepUpOnce(folder_.empty() ? fs::path(L".") : folder_);
    path_ = name_ = folder_ / TemporaryName();
}

NewFile::~NewFile() {
    std::error_code ignored;
    if (!name_.empty()) fs::remove(name_, ignored);
}

void NewFile::TakePlaceOf(const fs::path& target, TargetLock) {
    if (IsBeingRecorded(target)) throw Failure("is being recorded by another program");
    if (!SyncFile(path_)) throw Failure("cannot be written to the disk");
    std::string error;
    if (!wavehost::TakePlaceOf(path_, target, error)) throw Failure("cannot be replaced: " + error);
    name_.clear();
}

}  // namespace vantor::wavehost
