#include <windows.h>
// windows.h comes first: the headers below build on it.
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <shellapi.h>
#include <winioctl.h>

#include <cstdlib>

#include "wavehost/os/system.h"

namespace vantor::wavehost {

const char* const moduleFileName = "vantor_wave.dll";

namespace {

constexpr std::wstring_view longPrefix = L"\\\\?\\", longShare = L"\\\\?\\UNC\\", devicePrefix = L"\\\\.\\";
// Names shorter than this are passed as they are: with what a temporary file beside them adds, and the twelve
// characters that folders may have fewer than files, they stay below 260.
constexpr size_t shortNames = 215;

// What is no valid text becomes replacement characters: a name that nothing answers to, but one to show.
std::wstring WideOf(std::string_view utf8) {
    const auto bytes = static_cast<int>(utf8.size());
    std::wstring wide(utf8.size(), L'\0');
    wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(), bytes)));
    return wide;
}

std::string Utf8Of(std::wstring_view wide) {
    const auto units = static_cast<int>(wide.size());
    std::string utf8(wide.size() * 3, '\0');
    const int room = static_cast<int>(utf8.size());
    utf8.resize(static_cast<size_t>(
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, utf8.data(), room, nullptr, nullptr)));
    return utf8;
}

}  // namespace

// Not fs::absolute, which takes the double backslash of shares and prefixes for a slip.
fs::path AbsolutePath(const fs::path& path) {
    const std::wstring& name = path.native();
    if (name.empty() || name.starts_with(longPrefix)) return path;
    std::wstring full(GetFullPathNameW(name.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(name.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    if (full.size() < shortNames || full.starts_with(devicePrefix)) return full;
    const bool share = full.starts_with(L"\\\\");
    return share ? std::wstring(longShare) + full.substr(2) : std::wstring(longPrefix) + full;
}

fs::path PlainPath(const fs::path& path) {
    return AbsolutePath(path);
}

fs::path PathOf(std::string_view utf8) {
    const std::wstring name = WideOf(utf8);
    const bool isLong = GetFullPathNameW(name.c_str(), 0, nullptr, nullptr) > shortNames;
    return isLong ? AbsolutePath(name) : fs::path(name);
}

std::string TextOf(const fs::path& path) {
    std::wstring name = path.native();
    if (name.size() >= shortNames && name.starts_with(longShare))
        name = L"\\\\" + name.substr(longShare.size());
    else if (name.size() >= shortNames && name.starts_with(longPrefix))
        name = name.substr(longPrefix.size());
    return Utf8Of(name);
}

std::string LastReason() {
    const DWORD code = GetLastError();
    switch (code) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
            return "no such file";
        case ERROR_ACCESS_DENIED:
            return "permission denied";
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
            return "in use by another program";
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return "the disk is full";
        default:
            break;
    }
    wchar_t text[256] = L"";
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text,
                   static_cast<DWORD>(std::size(text)), nullptr);
    std::string message = TextOf(fs::path(text));
    while (!message.empty() && static_cast<unsigned char>(message.back()) <= ' ')
        message.pop_back();
    return message.empty() ? "error " + std::to_string(code) : message;
}

std::vector<std::string> CommandArguments(int, char**) {
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; wide && i < count; ++i)
        arguments.push_back(TextOf(fs::path(wide[i])));
    LocalFree(wide);
    return arguments;
}

void PrepareConsole() {
    SetConsoleOutputCP(CP_UTF8);
    MakeBinary(stdout);
    MakeBinary(stderr);
}

void UseScreenResolution() {
    using Use = BOOL WINAPI(HANDLE);
    auto* const place = GetProcAddress(GetModuleHandleW(L"user32.dll"), "SetProcessDpiAwarenessContext");
    const auto perMonitor = reinterpret_cast<HANDLE>(intptr_t{-4});  // version 2
    if (auto* const use = reinterpret_cast<Use*>(reinterpret_cast<void*>(place))) use(perMonitor);
}

fs::path ExecutableFolder() {
    std::wstring name(32768, L'\0');
    name.resize(GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return fs::path(name).parent_path();
}

fs::path UserCacheFolder() {
    const wchar_t* local = _wgetenv(L"LOCALAPPDATA");
    return local && *local ? fs::path(local) / "vantor_wave" : fs::path();
}

void* OpenLibrary(const fs::path& path, std::string& error) {
    HMODULE library = LoadLibraryW(path.c_str());
    if (!library) error = LastReason();
    return library;
}

void* LibrarySymbol(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

bool IsTerminal(std::FILE* stream) {
    return _isatty(_fileno(stream)) != 0;
}

void MakeBinary(std::FILE* stream) {
    _setmode(_fileno(stream), _O_BINARY);
}

std::FILE* OpenStream(const fs::path& path, const char* mode) {
    return _wfopen(path.c_str(), fs::path(mode).c_str());
}

bool IsImmutable(const fs::path&) {
    return false;  // what is read-only can be replaced
}

bool SeekStream(std::FILE* stream, int64_t position) {
    return _fseeki64(stream, position, SEEK_SET) == 0;
}

bool FolderIsWritable(const fs::path& folder) {
    // The access rights of a folder are told by using them alone.
    const fs::path probe = folder / (".vantor-" + std::to_string(ProcessNumber()) + ".probe");
    HANDLE file = CreateFileW(probe.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                              FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    CloseHandle(file);
    return true;
}

bool SyncFile(const fs::path& path) {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    const bool synced = FlushFileBuffers(file) != 0;
    CloseHandle(file);
    return synced;
}

bool TakePlaceOf(const fs::path& from, const fs::path& target, std::string& error) {
    const auto isReplaced = [&] {
        // ReplaceFileW keeps attributes and access rights; it wants a target that exists.
        return ReplaceFileW(target.c_str(), from.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr,
                            nullptr) ||
               MoveFileExW(from.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    };
    // Others may have the file open for a moment: an edit that waits for this one, a virus scanner.
    constexpr DWORD pause = 20;  // milliseconds
    for (int attempts = 50; !isReplaced(); --attempts) {
        const DWORD code = GetLastError();
        error = LastReason();
        if (attempts == 0 || (code != ERROR_ACCESS_DENIED && code != ERROR_SHARING_VIOLATION)) return false;
        Sleep(pause);
    }
    return true;
}

int64_t ProcessNumber() {
    return _getpid();
}

// A new file takes the access rights of its folder, and ReplaceFileW those of the file it replaces.
PrivateFiles::PrivateFiles(bool) {}
PrivateFiles::~PrivateFiles() = default;

}  // namespace vantor::wavehost
