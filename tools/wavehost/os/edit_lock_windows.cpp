#include <windows.h>

#include "wavehost/os/edit_lock.h"
#include "wavehost/os/fnv_hash.h"
#include "wavehost/os/system.h"
#include "wavehost/os/waiting.h"

namespace vantor::wavehost {

namespace {

// The path that a name leads to through links, drive letters and short names; empty for what is not there.
std::wstring FinalPath(const fs::path& name) {
    std::wstring path(32768, L'\0');
    HANDLE handle = CreateFileW(name.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return {};
    const DWORD length = GetFinalPathNameByHandleW(handle, path.data(), static_cast<DWORD>(path.size()), 0);
    CloseHandle(handle);
    return path.substr(0, length < path.size() ? length : 0);
}

// The one path of a file. Between the two halves of a replacement nothing stands in its place; those who look
// just then still have to wait for the same turn.
std::wstring TurnPath(const fs::path& file) {
    if (auto path = FinalPath(file); !path.empty()) return path;
    const fs::path name = AbsolutePath(file);
    const auto folder = FinalPath(name.parent_path());
    return folder.empty() ? name.wstring() : (fs::path(folder) / name.filename()).wstring();
}

// Mutex names are short and hold no backslash: the path's hash stands for it. Should two paths share
// one, their edits wait for each other.
std::wstring LockName(const fs::path& file) {
    std::wstring path = TurnPath(file);
    CharLowerBuffW(path.data(), static_cast<DWORD>(path.size()));
    return L"Global\\vantor_wave.edit." + std::to_wstring(FnvHash(path));
}

}  // namespace

bool IsBeingRecorded(const fs::path& file) {
    HANDLE reading = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                 OPEN_EXISTING, 0, nullptr);
    if (reading == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(reading);
    return false;
}

// An open handle would stand in the way of the edit itself, so the lock is a mutex named after the file's
// path, which a file that is renamed over this one inherits.
EditLock::EditLock(const fs::path& file) {
    // No access list: another user, or another session of this one, may edit the file too.
    SECURITY_DESCRIPTOR open;
    InitializeSecurityDescriptor(&open, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&open, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &open, FALSE};
    mutex_ = CreateMutexW(&attributes, FALSE, LockName(file).c_str());
    // One that its owner left when it died is owned as well.
    WaitUntil(TextOf(file), [&] { return !mutex_ || WaitForSingleObject(mutex_, 0) != WAIT_TIMEOUT; });
    if (!mutex_ || !IsBeingRecorded(file)) return;
    ReleaseMutex(mutex_);
    CloseHandle(mutex_);
    throw Failure("is being recorded by another program");
}

EditLock::~EditLock() {
    if (!mutex_) return;
    ReleaseMutex(mutex_);
    CloseHandle(mutex_);
}

}  // namespace vantor::wavehost
