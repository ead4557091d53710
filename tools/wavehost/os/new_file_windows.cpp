#include <windows.h>

#include <random>

#include "wavehost/os/edit_lock.h"
#include "wavehost/os/new_file.h"
#include "wavehost/os/system.h"
#include "wavehost/os/waiting.h"

namespace vantor::wavehost {

namespace {

constexpr std::wstring_view prefix = L".vantor-", suffix = L".tmp";
constexpr size_t nameLength = prefix.size() + 16 + suffix.size();

// Begins with its owner's number, by which the next one knows whether it still lives.
fs::path TemporaryName() {
    std::random_device random;
    char name[40];
    std::snprintf(name, sizeof name, ".vantor-%08x%08x.tmp", static_cast<unsigned>(ProcessNumber()),
                  random());
    return name;
}

bool IsOwnerGone(const std::wstring& name) {
    const std::wstring number = name.substr(prefix.size(), 8);
    wchar_t* end = nullptr;
    const unsigned long owner = std::wcstoul(number.c_str(), &end, 16);
    if (end != number.c_str() + 8) return false;
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
        const std::wstring name = entry.path().filename().wstring();
        if (name.size() == nameLength && name.starts_with(prefix) && name.ends_with(suffix) &&
            IsOwnerGone(name))
            DeleteFileW(entry.path().c_str());
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
