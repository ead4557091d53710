// What the ways of reading a file have in common, below FileReader.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/file_system.h"

namespace vantor {

// The open file and where its reader stands.
struct ReadState {
    std::unique_ptr<platform::File> file;
    int64_t size = 0;
    int64_t position = 0;  // next byte to deliver; 0..size after a seek
    bool isWriteShared = false;
    bool knowsWriters = false;  // whether another handle writes the file has been asked
    bool lacksHandle = false;   // it could not be opened for want of one
    bool hasFailed = false;     // an overlapped read; for good
    bool hasMissedBytes = false;

    bool IsWriteShared() {
        if (!isWriteShared && !knowsWriters) isWriteShared = file->IsBeingWritten();
        knowsWriters = true;
        return isWriteShared;
    }

    // Before bytes are wanted that lie beyond the known size, or not. Who wrote the file when it was opened
    // may have finished by the time that somebody asks.
    void RefreshSize(bool isBeyond) {
        const bool isFirstQuestion = isBeyond && !knowsWriters;
        if (!isWriteShared && !isFirstQuestion) return;
        if (isFirstQuestion) (void)IsWriteShared();
        if (const int64_t now = file->Size(); now >= 0) size = now;
    }
};

// One way of reading. Holds on to the ReadState it was made with.
class ReadStrategy {
  public:
    virtual ~ReadStrategy() = default;
    // As FileReader::Read; count is at least 1.
    virtual int64_t Read(uint8_t* destination, int64_t count) = 0;
    // The next `count` bytes (1 or more, within the file) where they lie together in a buffer, moving past
    // them; null, with nothing delivered, when they do not.
    virtual const uint8_t* Lend(int64_t count) = 0;
    // How many bytes at least Lend has without asking the system.
    [[nodiscard]] virtual int64_t Held() const { return 0; }
    // Moves to another position inside the file.
    virtual void MoveTo(int64_t position) = 0;
    // Frees what can be read again.
    virtual void ReleaseBuffers() = 0;
};

}  // namespace vantor
