// Reads a file in large blocks: synchronously through a staging buffer, or by overlapped read-ahead with a
// small ring. The only way in which the module reads a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/file_system.h"

namespace vantor {

// How a file is read. Modes: -1 synchronous past the system's cache, 0 synchronous, 1 overlapped past the
// cache, 2 and above overlapped. The block size is rounded up to a multiple of 8192.
struct ReadParameters {
    int32_t mode = 0;
    int32_t blockBytes = 65536;
    int32_t blockCount = 1;
};

// The parameters that suit a reader's purpose, after the host has had its say: 0 playback, -1 one small
// block, any other value peak work.
ReadParameters PreferredReadParameters(int32_t purpose);

// One thread at a time. Construction never fails; IsOpen tells. Errors are short counts.
class FileReader {
  public:
    // Files up to `wholeFileLimit` bytes are held in memory in the synchronous modes, from `mapThreshold` on
    // by mapping. 0 and 0 switch that off. `name` is UTF-8.
    FileReader(const std::string& name, const ReadParameters& parameters, uint32_t mapThreshold = 0,
               uint32_t wholeFileLimit = 0);
    ~FileReader();
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    [[nodiscard]] bool IsOpen() const;
    // It is not, because the process or the system has no more handles to give.
    [[nodiscard]] bool LacksHandle() const;
    // Delivers up to `count` bytes at the position and moves it; 0 at the end, on error, or for a count
    // below 1.
    [[nodiscard]] int64_t Read(void* destination, int64_t count);
    // The same without a copy where the bytes lie together in a buffer of the reader: *bytes points to the
    // delivered bytes, in the reader's buffer or in `scratch`, which is grown when needed; valid until the
    // next call.
    [[nodiscard]] int64_t Borrow(const uint8_t** bytes, int64_t count, std::vector<uint8_t>& scratch);
    // The next `count` bytes without a copy, where they lie in a buffer already: valid until the next call.
    // Null, with nothing done, when the system would have to be asked.
    [[nodiscard]] const uint8_t* BorrowHeld(int64_t count);
    // True when all `count` bytes came.
    [[nodiscard]] bool ReadExactly(void* destination, int64_t count) {
        return Read(destination, count) == count;
    }
    // Sets the next byte to deliver, clamped to 0..size. False only when the file is not open.
    bool Seek(int64_t position);
    [[nodiscard]] int64_t Tell() const;
    // Bytes in the file: as at open, asked anew once another process is known to write it. Whether one does
    // is found out when somebody wants bytes beyond that size.
    [[nodiscard]] int64_t Size();
    // The same, found out now.
    [[nodiscard]] int64_t SizeNow();
    // Bytes from the position to the end of the file, at least 0.
    [[nodiscard]] int64_t Remaining();
    // An overlapped read has failed: this reader delivers no more than it holds; another one may do better.
    [[nodiscard]] bool HasFailed() const;
    // Some read has delivered less than the file holds: what was made of it may lack something.
    [[nodiscard]] bool HasMissedBytes() const;
    // Another process is writing the file, as told by opening it or, asked once, by the system.
    [[nodiscard]] bool IsWriteShared();
    // Where the first byte from the position on may stand that is not 0; found out without reading.
    [[nodiscard]] int64_t NextStored();
    // Delivered so far.
    [[nodiscard]] int64_t BytesRead() const;
    // The file as it was opened.
    [[nodiscard]] const platform::FileStatus& Status() const;
    // The same file as it is now, under whatever name.
    [[nodiscard]] platform::FileStatus StatusNow();
    // Gives the buffers' memory back until the next read. For a reader that goes idle.
    void ReleaseBuffers();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vantor
