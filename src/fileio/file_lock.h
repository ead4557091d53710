// Those who edit a file take turns: a lock over reading, planning and writing.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/file_system.h"

namespace vantor {

class FileLock {
  public:
    // Waits `atMost` for the others that edit the file of that name (UTF-8). Where the system has no such
    // lock for the file nobody waits.
    FileLock(const std::string& name, std::chrono::milliseconds atMost);

    // False when the file cannot be opened or somebody else edited it all the time.
    [[nodiscard]] bool IsHeld() const { return isHeld_; }
    // True when `status` is of the file that is locked: another may have got its name meanwhile.
    [[nodiscard]] bool IsOf(const platform::FileStatus& status) const;

  private:
    std::unique_ptr<platform::File> file_;
    platform::FileStatus status_;
    bool isHeld_ = false;
};

}  // namespace vantor
