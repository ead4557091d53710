// The limits of the machine: what any program pays for the bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantor::bench {

class RawFile {
  public:
    explicit RawFile(const std::string& fileName);  // throws std::runtime_error
    ~RawFile();
    RawFile(const RawFile&) = delete;
    RawFile& operator=(const RawFile&) = delete;

    // Bytes read: fewer at the end of the file.
    int64_t ReadAt(int64_t position, void* bytes, int64_t count) const;
    [[nodiscard]] int64_t Size() const;

  private:
    int descriptor_;
};

// Has the system write the file out and forget what its cache holds of it. False when it keeps its start.
bool DropFromCache(const std::string& fileName);

// Reads the file from end to end in pieces of `pieceBytes`; for every `frames` frames of `frameBytes` stored
// bytes it then writes that many frames of doubles, always to the same place (none when `frames` is 0).
void ReadBytes(const RawFile& file, int64_t pieceBytes, double frameBytes, int32_t frames, int32_t channels);

}  // namespace vantor::bench
