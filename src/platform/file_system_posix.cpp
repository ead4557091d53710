// Files of a POSIX system. The hints `unbuffered` and `writeThrough` are not followed: the page cache is what
// makes reading fast here, many file systems refuse O_DIRECT, and a writer's caller needs no stronger promise
// than the one that any other program gives.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <optional>
#include <utility>

#include "platform/file_system.h"
#include "text/text.h"

namespace vantor::platform {

namespace {

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

    [[nodiscard]] int Number() const { return number_; }

  private:
    int number_;
};

class PosixView final : public MappedView {
  public:
    PosixView(void* address, size_t bytes) : address_(address), bytes_(bytes) {}
    ~PosixView() override { ::munmap(address_, bytes_); }
    PosixView(const PosixView&) = delete;
    PosixView& operator=(const PosixView&) = delete;

    [[nodiscard]] const uint8_t* Data() const override { return static_cast<const uint8_t*>(address_); }

  private:
    void* address_;
    size_t bytes_;
};

// A read is only remembered; the bytes are copied out of the page cache when somebody waits for them.
struct PosixRequest final : Request {
    int64_t offset = 0;
    void* buffer = nullptr;
    uint32_t count = 0;
    RequestResult result;
};

// Reads until `count` bytes or the end of the file; a short read at or behind `likelyEnd` is taken for it
// without asking again. Bytes read, -1 when the first read fails.
int64_t ReadFully(int descriptor, void* destination, uint32_t count, int64_t offset, int64_t likelyEnd) {
    uint32_t done = 0;
    while (done < count) {
        const ssize_t got =
            ::pread(descriptor, static_cast<uint8_t*>(destination) + done, count - done, offset + done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && done == 0) return -1;
        if (got <= 0) break;
        done += static_cast<uint32_t>(got);
        if (likelyEnd >= 0 && offset + done >= likelyEnd) break;
    }
    return done;
}

FileStatus StatusOf(const struct stat& status) {
    return {status.st_size, static_cast<int64_t>(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec,
            status.st_dev, status.st_ino};
}

// As long as a signal gets in between.
template <typename Call>
int Repeated(Call call) {
    int outcome = 0;
    do {
        outcome = call();
    } while (outcome != 0 && errno == EINTR);
    return outcome;
}

WriteResult WriteFully(int descriptor, const void* source, uint32_t count, int64_t offset) {
    WriteResult result;
    while (result.bytes < count) {
        const ssize_t put = ::pwrite(descriptor, static_cast<const uint8_t*>(source) + result.bytes,
                                     count - result.bytes, offset + result.bytes);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) {
            const bool full = put < 0 && (errno == ENOSPC || errno == EDQUOT);
            result.error = full ? WriteError::diskFull : WriteError::other;
            break;
        }
        result.bytes += static_cast<uint32_t>(put);
    }
    return result;
}

class PosixFile final : public File {
  public:
    PosixFile(Descriptor descriptor, const FileStatus& opened)
        : descriptor_(std::move(descriptor)), opened_(opened) {}

    [[nodiscard]] int64_t Size() override {
        struct stat status {};
        return ::fstat(descriptor_.Number(), &status) == 0 ? status.st_size : -1;
    }

    [[nodiscard]] FileStatus StatusAtOpen() override { return opened_; }

    [[nodiscard]] FileStatus StatusNow() override {
        struct stat status {};
        return ::fstat(descriptor_.Number(), &status) == 0 ? StatusOf(status) : FileStatus{};
    }

    [[nodiscard]] LockResult TryLock() override {
        if (Repeated([&] { return ::flock(descriptor_.Number(), LOCK_EX | LOCK_NB); }) == 0)
            return LockResult::locked;
        return errno == EWOULDBLOCK ? LockResult::heldElsewhere : LockResult::unavailable;
    }

    [[nodiscard]] bool FlushToDisk() override {
        return Repeated([&] { return ::fdatasync(descriptor_.Number()); }) == 0;
    }

    // The kernel refuses a read lease with EAGAIN while the file is open for writing anywhere. Any other
    // refusal (a file of another owner, a file system without leases) says nothing. Not asked of every file
    // that is opened: it takes a fifth of the time of an open, parse and close.
    [[nodiscard]] bool IsBeingWritten() override {
#ifdef F_SETLEASE
        // A lease being broken raises SIGIO, which ends the process by default; SIGURG is ignored by default.
        if (::fcntl(descriptor_.Number(), F_SETSIG, SIGURG) != 0) return false;
        if (::fcntl(descriptor_.Number(), F_SETLEASE, F_RDLCK) != 0) return errno == EAGAIN;
        ::fcntl(descriptor_.Number(), F_SETLEASE, F_UNLCK);
#endif
        return false;
    }

    [[nodiscard]] bool IsCached() const override {
        return true;
    }

    [[nodiscard]] int64_t ReadAt(int64_t offset, void* destination, uint32_t count) override {
        return ReadFully(descriptor_.Number(), destination, count, offset, opened_.bytes);
    }

    [[nodiscard]] int64_t NextStored(int64_t offset) override {
#ifdef SEEK_DATA
        const off_t stored = ::lseek(descriptor_.Number(), offset, SEEK_DATA);
        if (stored >= 0) return stored;
        if (errno == ENXIO) return std::max(offset, Size());  // nothing but a hole up to the end
#endif
        return offset;
    }

    void ExpectOrder() override {
        ::posix_fadvise(descriptor_.Number(), 0, 0, POSIX_FADV_SEQUENTIAL);
    }

    [[nodiscard]] bool SetPosition(int64_t position) override {
        if (position < 0) return false;
        position_ = position;
        return true;
    }

    [[nodiscard]] int64_t Read(void* destination, uint32_t count) override {
        const int64_t got = ReadFully(descriptor_.Number(), destination, count, position_, opened_.bytes);
        if (got > 0) position_ += got;
        return got;
    }

    [[nodiscard]] WriteResult Write(const void* source, uint32_t count) override {
        const auto result = WriteFully(descriptor_.Number(), source, count, position_);
        position_ += result.bytes;
        return result;
    }

    [[nodiscard]] bool CutAtPosition() override {
        return Repeated([&] { return ::ftruncate(descriptor_.Number(), position_); }) == 0;
    }

    [[nodiscard]] std::unique_ptr<MappedView> MapForReading() override {
        const int64_t bytes = Size();
        if (bytes < 1) return nullptr;
        void* const address =
            ::mmap(nullptr, static_cast<size_t>(bytes), PROT_READ, MAP_PRIVATE, descriptor_.Number(), 0);
        if (address == MAP_FAILED) return nullptr;
        return std::make_unique<PosixView>(address, static_cast<size_t>(bytes));
    }

    [[nodiscard]] std::unique_ptr<Request> NewRequest() override {
        return std::make_unique<PosixRequest>();
    }

    [[nodiscard]] RequestResult StartRead(Request& request, int64_t offset, void* buffer,
                                          uint32_t count) override {
        auto& read = static_cast<PosixRequest&>(request);
        read.offset = offset;
        read.buffer = buffer;
        read.count = count;
        read.result = {.state = RequestState::pending};
        return read.result;
    }

    [[nodiscard]] RequestResult StartWrite(Request& request, int64_t offset, const void* buffer,
                                           uint32_t count) override {
        const auto written = WriteFully(descriptor_.Number(), buffer, count, offset);
        auto& result = static_cast<PosixRequest&>(request).result;
        result.state = written.error == WriteError::none ? RequestState::done : RequestState::failed;
        result.bytes = written.bytes;
        result.writeError = written.error;
        return result;
    }

    [[nodiscard]] RequestResult Finish(Request& request, bool wait) override {
        auto& read = static_cast<PosixRequest&>(request);
        if (read.result.state != RequestState::pending || !wait) return read.result;
        const int64_t got =
            ReadFully(descriptor_.Number(), read.buffer, read.count, read.offset, opened_.bytes);
        read.result.state = got < 0 ? RequestState::failed : RequestState::done;
        read.result.bytes = got < 0 ? 0 : static_cast<uint32_t>(got);
        return read.result;
    }

    void Abandon(Request& request) override {
        static_cast<PosixRequest&>(request).result = {};
    }

  private:
    Descriptor descriptor_;
    FileStatus opened_;
    int64_t position_ = 0;
};

int OpenFlags(const OpenOptions& options) {
    int flags = O_CLOEXEC | O_NOCTTY;
    switch (options.access) {
        case Access::read:
            flags |= O_RDONLY;
            break;
        case Access::write:
            flags |= O_WRONLY;
            break;
        case Access::readWrite:
            flags |= O_RDWR;
            break;
    }
    if (options.creation != Creation::openExisting) flags |= O_CREAT;
    if (options.creation == Creation::createAlways) flags |= O_TRUNC;
    return flags;
}

// Without waiting for the other end of a pipe. A regular file answers so only while another process's lease
// on it is being broken; that one is worth waiting for.
Descriptor OpenDescriptor(const char* name, int flags) {
    int number = ::open(name, flags | O_NONBLOCK, 0666);
    if (number < 0 && errno == EWOULDBLOCK) number = ::open(name, flags, 0666);
    return Descriptor(number);
}

// None when it is not a regular file.
std::optional<FileStatus> RegularFileStatus(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return StatusOf(status);
}

class PosixFileSystem final : public FileSystem {
  public:
    [[nodiscard]] OpenResult OpenWide(const std::u16string& name, const OpenOptions& options,
                                      std::unique_ptr<File>& file) override {
        const auto narrow = NarrowText(name);
        return narrow ? OpenNarrow(*narrow, options, file) : OpenResult::failed;
    }

    [[nodiscard]] OpenResult OpenNarrow(const std::string& name, const OpenOptions& options,
                                        std::unique_ptr<File>& file) override {
        auto descriptor = OpenDescriptor(name.c_str(), OpenFlags(options));
        if (descriptor.Number() < 0 && (errno == EMFILE || errno == ENFILE)) return OpenResult::outOfHandles;
        const auto status = RegularFileStatus(descriptor.Number());
        if (!status) return OpenResult::failed;
        file = std::make_unique<PosixFile>(std::move(descriptor), *status);
        return OpenResult::opened;
    }

    [[nodiscard]] bool RemoveWide(const std::u16string& name) override {
        const auto narrow = NarrowText(name);
        return narrow && RemoveNarrow(*narrow);
    }

    [[nodiscard]] bool RemoveNarrow(const std::string& name) override { return ::unlink(name.c_str()) == 0; }
};

}  // namespace

FileSystem& SystemFileSystem() {
    static auto& fileSystem = *new PosixFileSystem;  // there until the process is gone
    return fileSystem;
}

}  // namespace vantor::platform
