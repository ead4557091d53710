// A metadata edit tried on a copy: what it would do to the file, without a byte of it written.
#pragma once

#include <cstdint>

#include "wavehost/os/system.h"

namespace vantor::wavehost {

// The module's answer to a write request.
enum class Outcome : intptr_t { failed = 0, copied = 1, inPlace = 2 };

// Whether the file is of a container into which the module writes: WAV, RF64 or BW64.
bool TakesMetadata(const fs::path& file);

// A folder in the system's temporary folder with a copy of a file, which TakesMetadata, removed with all that
// is in it. Of a large file all is copied but the audio, in whose place is a hole.
class Rehearsal {
  public:
    explicit Rehearsal(const fs::path& file);
    ~Rehearsal();
    Rehearsal(const Rehearsal&) = delete;
    Rehearsal& operator=(const Rehearsal&) = delete;

    [[nodiscard]] fs::path Copy() const { return folder_ / ("copy" + extension_); }
    // Where a complete rewrite would go. Beside a copy with a hole it cannot be created, so that no gigabytes
    // of zeros are written.
    [[nodiscard]] fs::path Target() const;
    [[nodiscard]] bool IsWhole() const { return whole_; }
    // A rewrite that could not be written for the lack of a target counts as one.
    [[nodiscard]] Outcome Result(Outcome answered) const;

  private:
    fs::path folder_;
    std::string extension_;
    bool whole_;
};

}  // namespace vantor::wavehost
