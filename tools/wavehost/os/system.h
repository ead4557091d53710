// What the tool needs of the operating system. Names and arguments are UTF-8 on every system.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantor::wavehost {

namespace fs = std::filesystem;

// The path of a UTF-8 name, and back. On Windows a long name gets the prefix that lifts the limit of 260
// characters, and loses it again.
fs::path PathOf(std::string_view utf8);
std::string TextOf(const fs::path& path);
// From the root on; names of shares and prefixed names are that already.
fs::path AbsolutePath(const fs::path& path);
// The same without "." and "..", whatever links it leads through.
fs::path PlainPath(const fs::path& path);

// The arguments after the program's name.
std::vector<std::string> CommandArguments(int argc, char** argv);
// Makes the console show UTF-8, and lets every byte of standard output and error through as it is. Streams
// that are closed stay so: no file takes their place.
void PrepareConsole();
// Windows that the module opens are drawn at the screen's own resolution, not drawn small and stretched.
void UseScreenResolution();
// Why the system refused this thread's last call: "no such file", "permission denied", "the disk is full", or
// the system's own words.
std::string LastReason();
fs::path ExecutableFolder();
// Where this user's programs keep what they can compute again; empty when it is not known.
fs::path UserCacheFolder();

extern const char* const moduleFileName;
// Null on failure, with the reason in `error`. A library stays loaded until the process ends: objects of the
// host that it still holds are destroyed by its own static destructors.
void* OpenLibrary(const fs::path& path, std::string& error);
void* LibrarySymbol(void* library, const char* name);

bool IsTerminal(std::FILE* stream);
// Standard output without any translation of line ends.
void MakeBinary(std::FILE* stream);
std::FILE* OpenStream(const fs::path& path, const char* mode);
// Nobody may write the file or take its place, whatever its permissions are.
bool IsImmutable(const fs::path& path);
bool SeekStream(std::FILE* stream, int64_t position);

bool FolderIsWritable(const fs::path& folder);
// Waits until what was written to the file is on the disk.
bool SyncFile(const fs::path& path);
// Gives `from` the owner and permissions of `target`, as far as this user may, and renames it over `target`
// in one step. On failure both stay as they are and `error` says why.
bool TakePlaceOf(const fs::path& from, const fs::path& target, std::string& error);
int64_t ProcessNumber();

// While it lives and `active`, new files of this process are for its user alone.
class PrivateFiles {
  public:
    explicit PrivateFiles(bool active);
    ~PrivateFiles();
    PrivateFiles(const PrivateFiles&) = delete;
    PrivateFiles& operator=(const PrivateFiles&) = delete;

  private:
    int before_ = -1;
};

struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

}  // namespace vantor::wavehost
