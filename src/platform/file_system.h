// The operating-system seam for files. It starts and finishes requests and does nothing else: staging, rings,
// fall-backs and name forms lie above it, where one test covers both systems.
//
// A File belongs to one thread at a time. A Request in flight must be finished or abandoned before its buffer
// or its File goes away. Nothing here throws but for std::bad_alloc from the Open and New functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vantor::platform {

enum class Access { read, write, readWrite };
enum class Creation { openExisting, openAlways, createAlways };

struct OpenOptions {
    Access access = Access::read;
    Creation creation = Creation::openExisting;
    bool shareWrite = false;  // where the system keeps to it; reading is always shared
    bool overlapped = false;  // the Start functions will be used, not the synchronous ones
    bool unbuffered = false;  // past the system's cache; every request aligned to whole sectors
    bool writeThrough = false;
};

enum class OpenResult { opened, sharingViolation, outOfHandles, failed };
enum class RequestState { pending, done, failed };
enum class WriteError { none, diskFull, other };
enum class LockResult {
    locked,
    heldElsewhere,
    unavailable
};  // unavailable: the system has none for the file

struct RequestResult {
    RequestState state = RequestState::failed;
    uint32_t bytes = 0;                        // transferred; done with 0 is the end of the file
    WriteError writeError = WriteError::none;  // failed writes only
};

struct WriteResult {
    uint32_t bytes = 0;  // really written, also after a failure
    WriteError error = WriteError::none;
};

// One overlapped request and what the system needs to finish it (on Windows an OVERLAPPED and its
// manual-reset event, created signalled). Reusable once finished.
class Request {
  public:
    virtual ~Request() = default;
};

// Which file it is and what it was when asked; negative values could not be read.
struct FileStatus {
    int64_t bytes = -1;
    int64_t lastWriteTime = -1;  // in the system's finest unit: 100 ns on Windows, 1 ns elsewhere
    uint64_t volume = 0;         // with `number` one file and no other, whatever its name
    uint64_t number = 0;

    bool operator==(const FileStatus&) const = default;
};

// A file mapped whole for reading; unmapped by its destructor.
class MappedView {
  public:
    virtual ~MappedView() = default;
    [[nodiscard]] virtual const uint8_t* Data() const = 0;
};

class File {
  public:
    virtual ~File() = default;                 // closes
    [[nodiscard]] virtual int64_t Size() = 0;  // bytes now; negative when unreadable
    [[nodiscard]] virtual FileStatus StatusAtOpen() = 0;
    [[nodiscard]] virtual FileStatus StatusNow() = 0;
    // Takes the one lock that those who edit the file take in turn, until the file is closed. It keeps nobody
    // from reading or writing. Another File of this process is somebody else.
    [[nodiscard]] virtual LockResult TryLock() = 0;
    // Returns when all that was written, whoever did, is on the disk. False when it may not be.
    [[nodiscard]] virtual bool FlushToDisk() = 0;
    // Some other handle writes the file. For systems that let readers and writers meet; where opening refuses
    // (OpenResult::sharingViolation) it has told already.
    [[nodiscard]] virtual bool IsBeingWritten() { return false; }

    // Where the system holds what files contain in memory of its own (a page cache), a read is a copy, and
    // needs no request that goes ahead of it. Then ReadAt serves files opened with `overlapped` too.
    [[nodiscard]] virtual bool IsCached() const { return false; }
    // Bytes at a place in the file, as Read.
    [[nodiscard]] virtual int64_t ReadAt(int64_t, void*, uint32_t) { return -1; }
    // The first byte from `offset` on that is not known to be a zero the file system has no room for (a
    // hole).
    [[nodiscard]] virtual int64_t NextStored(int64_t offset) { return offset; }
    // The file is being read in order: the system may fetch more from a slow disk ahead of it.
    virtual void ExpectOrder() {}

    // At the file pointer. Read, Write and MapForReading are for files opened without `overlapped`.
    [[nodiscard]] virtual bool SetPosition(int64_t position) = 0;
    [[nodiscard]] virtual int64_t Read(void* destination,
                                       uint32_t count) = 0;  // bytes; 0 end of file; -1 failure
    [[nodiscard]] virtual WriteResult Write(const void* source, uint32_t count) = 0;
    [[nodiscard]] virtual bool CutAtPosition() = 0;  // ends the file at the file pointer
    [[nodiscard]] virtual std::unique_ptr<MappedView> MapForReading() = 0;  // null on failure

    // Overlapped (files opened with `overlapped`). Start returns `pending` when the request is in flight;
    // Finish with wait = false returns `pending` while it still is. A finished request answers Finish with
    // the same result again.
    [[nodiscard]] virtual std::unique_ptr<Request> NewRequest() = 0;
    [[nodiscard]] virtual RequestResult StartRead(Request& request, int64_t offset, void* buffer,
                                                  uint32_t count) = 0;
    [[nodiscard]] virtual RequestResult StartWrite(Request& request, int64_t offset, const void* buffer,
                                                   uint32_t count) = 0;
    [[nodiscard]] virtual RequestResult Finish(Request& request, bool wait) = 0;
    // Returns when the system will not touch the request's buffer any more; what it brought is lost.
    virtual void Abandon(Request& request) = 0;
};

// The two forms of a name that the system may be asked for.
class FileSystem {
  public:
    virtual ~FileSystem() = default;
    // `file` is set when the result is `opened`.
    [[nodiscard]] virtual OpenResult OpenWide(const std::u16string& name, const OpenOptions& options,
                                              std::unique_ptr<File>& file) = 0;
    [[nodiscard]] virtual OpenResult OpenNarrow(const std::string& name, const OpenOptions& options,
                                                std::unique_ptr<File>& file) = 0;
    [[nodiscard]] virtual bool RemoveWide(const std::u16string& name) = 0;
    [[nodiscard]] virtual bool RemoveNarrow(const std::string& name) = 0;
};

// The file system in use: the operating system's, unless a test has put another behind the seam.
FileSystem& CurrentFileSystem();
FileSystem& SystemFileSystem();

// Puts `fileSystem` behind the seam for as long as the object lives. For tests; set before other threads
// start.
class ScopedFileSystem {
  public:
    explicit ScopedFileSystem(FileSystem& fileSystem);
    ~ScopedFileSystem();
    ScopedFileSystem(const ScopedFileSystem&) = delete;
    ScopedFileSystem& operator=(const ScopedFileSystem&) = delete;

  private:
    FileSystem* previous_;
};

}  // namespace vantor::platform
