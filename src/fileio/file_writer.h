// Writes a file at any position: synchronously, or overlapped with a ring of blocks in flight. The only way
// in which the module writes a file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/file_system.h"

namespace vantor {

struct WriteParameters {
    int32_t mode =
        0;  // 0 synchronous; 1 overlapped; 2 write-through; 3 unbuffered, write-through, whole sectors
    int32_t blockBytes = 8192;
    int32_t minBlocks = 16;
    int32_t maxBlocks = 16;
    bool openExisting = false;  // keep what the file holds; else it is created or emptied
    bool shareWrite = false;
    bool mustExist = false;  // with openExisting: a file that is not there is not created
};

// One thread at a time. Destroying it flushes, waits and closes; it never truncates and never deletes. A
// write that fails is told to the host ("update_disk_counters") and shows as a short count.
class FileWriter {
  public:
    // `name` is UTF-8; null leaves the writer closed.
    FileWriter(const char* name, const WriteParameters& parameters);
    ~FileWriter();
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    [[nodiscard]] bool IsOpen() const;
    // Bytes taken; fewer than `count` after a failure; 0 when closed or count < 1.
    [[nodiscard]] int32_t Write(const void* bytes, int32_t count);
    [[nodiscard]] bool WriteUInt32(uint32_t value);  // little-endian
    // 0 is success.
    [[nodiscard]] int32_t Seek(int64_t position);
    [[nodiscard]] int64_t Tell() const;
    // The larger of the file's size and what has been written or is waiting to be.
    [[nodiscard]] int64_t Size();
    // Sends what is waiting; with `wait`, until all of it is written. False when any write so far has failed.
    [[nodiscard]] bool Flush(bool wait);
    // Until what was taken is on the disk. A synchronous write that failed before does not matter: it was
    // told.
    [[nodiscard]] bool FlushToDisk();
    // Of the open file; see platform::FileStatus.
    [[nodiscard]] platform::FileStatus Status();
    // Ends the file at the position. False on failure.
    [[nodiscard]] bool CutAtPosition();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vantor
