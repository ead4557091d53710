// A file that is written under another name beside its place, and takes that place when it is whole.
#pragma once

#include "wavehost/os/edit_lock.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

// The file that a chain of symbolic links leads to.
fs::path FollowLinks(fs::path path);
bool IsSameFile(const fs::path& one, const fs::path& other);

class OutputFile {
  public:
    // A link stays a link: its target's place is taken. A device is written to as it is.
    explicit OutputFile(const fs::path& target);
    // Removes what was written, unless it took its place.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    [[nodiscard]] const fs::path& WriteTo() const { return written_; }
    [[nodiscard]] const fs::path& Target() const { return target_; }
    // A stream that writes it anew. Throws Failure with the system's reason.
    [[nodiscard]] Stream Create() const;
    // Syncs the file and renames it into place. Throws Failure; what stood there then still stands.
    void TakePlace();

  private:
    fs::path target_;
    fs::path written_;  // the same as target_ for a device
};

// Writes a whole file that takes its place, or, when `target` is "-", standard output. Throws Failure.
void WriteOutput(const std::string& target, std::string_view content);

}  // namespace vantor::wavehost
