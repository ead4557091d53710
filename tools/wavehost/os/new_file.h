// A file on its way to its place: nobody sees it until it is whole, and none stays behind.
#pragma once

#include <filesystem>
#include <string>

namespace vantor::wavehost {

// Whether a file can be replaced while somebody, this program included, has it open.
#if defined(_WIN32)
inline constexpr bool openFilesAreReplaced = false;
#else
inline constexpr bool openFilesAreReplaced = true;
#endif

// Removes what the killed have left in the folder; the second, unless it is the folder that was swept last.
void SweepUp(const std::filesystem::path& folder);
void SweepUpOnce(const std::filesystem::path& folder);

// Whether other names lead to the file (hard links). What takes its place leaves those with the old one.
bool HasOtherNames(const std::filesystem::path& file);

// Whether who calls holds the lock of the file whose place is taken already; a second one would wait for it.
enum class TargetLock { toBeTaken, held };

// Where the system has files without a name it has none. Elsewhere its name begins with a dot, and when its
// owner is killed the next one made in the folder removes it.
class NewFile {
  public:
    // Where none can be made, opening it fails.
    explicit NewFile(const std::filesystem::path& folder);
    // Removes it, unless it took a place.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    // What it is opened by.
    [[nodiscard]] const std::filesystem::path& Path() const { return path_; }
    // Brings it to the disk and renames it over `target`, in one step, with the owner, permissions and
    // extended attributes of what stands there, as far as this user may. Throws Failure, and then all is as
    // before, when that cannot be done, when another program edits the file or when one is recording it.
    void TakePlaceOf(const std::filesystem::path& target, TargetLock lock);

  private:
    std::filesystem::path folder_;
    std::filesystem::path path_;
    std::filesystem::path name_;  // what is to be removed; empty: it has none
#if !defined(_WIN32)
    int descriptor_ = -1;
#endif
};

}  // namespace vantor::wavehost
