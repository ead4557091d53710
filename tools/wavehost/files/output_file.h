// A file that is written beside its place, where nobody sees it, and takes that place when it is whole.
#pragma once

#include <memory>

#include "wavehost/os/edit_lock.h"
#include "wavehost/os/new_file.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

// The file that a chain of symbolic links leads to.
fs::path FollowLinks(fs::path path);
bool IsSameFile(const fs::path& one, const fs::path& other);

// A copy that takes a file's place leaves the file's other names with the old one: throws Failure when it has
// some.
void RefuseOtherNames(const fs::path& file);

class OutputFile {
  public:
    // A link stays a link: its target's place is taken. A device is written to as it is.
    explicit OutputFile(const fs::path& target);

    // What is written goes, unless it took its place.
    [[nodiscard]] const fs::path& WriteTo() const { return written_ ? written_->Path() : target_; }
    [[nodiscard]] const fs::path& Target() const { return target_; }
    // A stream that writes it anew. Throws Failure with the system's reason.
    [[nodiscard]] Stream Create() const;
    // Syncs the file and renames it into place; WriteTo is the target from then on. Throws Failure; what
    // stood there then still stands.
    void TakePlace(TargetLock lock = TargetLock::toBeTaken);

  private:
    fs::path target_;
    std::unique_ptr<NewFile> written_;  // none for a device
};

// Closes it. Throws Failure when not all that was written to it is there.
void FinishStream(Stream stream);

// Writes a whole file that takes its place, or, when `target` is "-", standard output. Throws Failure.
void WriteOutput(const std::string& target, std::string_view content);

}  // namespace vantor::wavehost
