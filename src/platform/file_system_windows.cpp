// Files of Windows, through the kernel's file calls.
#include <windows.h>
#include <winioctl.h>

#include <algorithm>
#include <new>
#include <utility>

#include "platform/file_system.h"

namespace vantor::platform {

namespace {

class Handle {
  public:
    explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    ~Handle() {
        if (handle_) CloseHandle(handle_);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}

    [[nodiscard]] HANDLE Get() const { return handle_; }  // null when it could not be had

  private:
    HANDLE handle_;
};

class WindowsView final : public MappedView {
  public:
    WindowsView(Handle mapping, const void* address) : mapping_(std::move(mapping)), address_(address) {}
    ~WindowsView() override { UnmapViewOfFile(address_); }
    WindowsView(const WindowsView&) = delete;
    WindowsView& operator=(const WindowsView&) = delete;

    [[nodiscard]] const uint8_t* Data() const override { return static_cast<const uint8_t*>(address_); }

  private:
    Handle mapping_;
    const void* address_;
};

struct WindowsRequest final : Request {
    OVERLAPPED overlapped{};
    Handle event{CreateEventA(nullptr, TRUE, TRUE, nullptr)};
    bool isInFlight = false;
    RequestResult result;  // once it is not

    void Prepare(int64_t offset) {
        ResetEvent(event.Get());
        overlapped = {};
        overlapped.Offset = static_cast<DWORD>(offset);
        overlapped.OffsetHigh = static_cast<DWORD>(offset >> 32);
        overlapped.hEvent = event.Get();
    }

    // Takes in what a call answered; its error is the thread's last one.
    RequestResult Settle(BOOL succeeded, DWORD bytes) {
        const DWORD error = succeeded ? NO_ERROR : GetLastError();
        isInFlight = error == ERROR_IO_PENDING || error == ERROR_IO_INCOMPLETE;
        result = {};
        result.bytes = bytes;
        if (isInFlight) {
            result = {.state = RequestState::pending};
        } else if (succeeded || error == ERROR_HANDLE_EOF) {
            result.state = RequestState::done;
        } else {
            result.writeError = error == ERROR_DISK_FULL ? WriteError::diskFull : WriteError::other;
        }
        return result;
    }
};

class WindowsFile final : public File {
  public:
    explicit WindowsFile(Handle handle) : handle_(std::move(handle)) {}

    [[nodiscard]] int64_t Size() override {
        DWORD high = 0;
        SetLastError(NO_ERROR);
        const DWORD low = GetFileSize(handle_.Get(), &high);
        if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) return -1;
        return static_cast<int64_t>(static_cast<uint64_t>(high) << 32 | low);
    }

    // Asked for when it is wanted: for as long as the handle is open it keeps writers out, but for those that
    // it had to let in.
    [[nodiscard]] FileStatus StatusAtOpen() override { return StatusNow(); }

    [[nodiscard]] FileStatus StatusNow() override {
        BY_HANDLE_FILE_INFORMATION found{};
        if (!GetFileInformationByHandle(handle_.Get(), &found)) return {.bytes = Size()};
        const auto joined = [](DWORD high, DWORD low) { return static_cast<uint64_t>(high) << 32 | low; };
        return {static_cast<int64_t>(joined(found.nFileSizeHigh, found.nFileSizeLow)),
                static_cast<int64_t>(
                    joined(found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime)),
                found.dwVolumeSerialNumber, joined(found.nFileIndexHigh, found.nFileIndexLow)};
    }

    // One byte far beyond any file's end stands for the file: locked bytes can neither be read nor written.
    [[nodiscard]] LockResult TryLock() override {
        OVERLAPPED place{};
        place.OffsetHigh = 0x7FFFFFFF;
        if (LockFileEx(handle_.Get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place))
            return LockResult::locked;
        return GetLastError() == ERROR_LOCK_VIOLATION ? LockResult::heldElsewhere : LockResult::unavailable;
    }

    [[nodiscard]] bool FlushToDisk() override { return FlushFileBuffers(handle_.Get()) != 0; }

    // A file system without holes, or without an answer, has all bytes stored.
    [[nodiscard]] int64_t NextStored(int64_t offset) override {
        const int64_t size = Size();
        if (size <= offset) return offset;
        FILE_ALLOCATED_RANGE_BUFFER asked{}, first{};
        asked.FileOffset.QuadPart = offset;
        asked.Length.QuadPart = size - offset;
        WindowsRequest question;
        question.Prepare(0);
        DWORD bytes = 0;
        BOOL answered = DeviceIoControl(handle_.Get(), FSCTL_QUERY_ALLOCATED_RANGES, &asked, sizeof asked,
                                        &first, sizeof first, &bytes, &question.overlapped);
        if (!answered && GetLastError() == ERROR_IO_PENDING)
            answered = GetOverlappedResult(handle_.Get(), &question.overlapped, &bytes, TRUE);
        if (!answered && GetLastError() != ERROR_MORE_DATA) return offset;
        return bytes < sizeof first ? size : std::clamp<int64_t>(first.FileOffset.QuadPart, offset, size);
    }

    [[nodiscard]] bool SetPosition(int64_t position) override {
        if (position < 0) return false;
        auto high = static_cast<LONG>(position >> 32);
        SetLastError(NO_ERROR);
        const DWORD low = SetFilePointer(handle_.Get(), static_cast<LONG>(position), &high, FILE_BEGIN);
        return low != INVALID_SET_FILE_POINTER || GetLastError() == NO_ERROR;
    }

    [[nodiscard]] int64_t Read(void* destination, uint32_t count) override {
        DWORD got = 0;
        if (!ReadFile(handle_.Get(), destination, count, &got, nullptr)) return -1;
        return got;
    }

    [[nodiscard]] WriteResult Write(const void* source, uint32_t count) override {
        DWORD put = 0;
        if (WriteFile(handle_.Get(), source, count, &put, nullptr)) return {.bytes = put};
        const bool full = GetLastError() == ERROR_DISK_FULL;
        return {.bytes = put, .error = full ? WriteError::diskFull : WriteError::other};
    }

    [[nodiscard]] bool CutAtPosition() override { return SetEndOfFile(handle_.Get()) != 0; }

    [[nodiscard]] std::unique_ptr<MappedView> MapForReading() override {
        Handle mapping(CreateFileMappingA(handle_.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
        if (!mapping.Get()) return nullptr;
        const void* const address = MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0);
        if (!address) return nullptr;
        return std::make_unique<WindowsView>(std::move(mapping), address);
    }

    [[nodiscard]] std::unique_ptr<Request> NewRequest() override {
        auto request = std::make_unique<WindowsRequest>();
        if (!request->event.Get()) throw std::bad_alloc();  // nothing could tell when it is done
        return request;
    }

    [[nodiscard]] RequestResult StartRead(Request& request, int64_t offset, void* buffer,
                                          uint32_t count) override {
        auto& read = static_cast<WindowsRequest&>(request);
        read.Prepare(offset);
        DWORD got = 0;
        const BOOL succeeded = ReadFile(handle_.Get(), buffer, count, &got, &read.overlapped);
        return read.Settle(succeeded, got);
    }

    [[nodiscard]] RequestResult StartWrite(Request& request, int64_t offset, const void* buffer,
                                           uint32_t count) override {
        auto& write = static_cast<WindowsRequest&>(request);
        write.Prepare(offset);
        DWORD put = 0;
        const BOOL succeeded = WriteFile(handle_.Get(), buffer, count, &put, &write.overlapped);
        return write.Settle(succeeded, put);
    }

    [[nodiscard]] RequestResult Finish(Request& request, bool wait) override {
        auto& started = static_cast<WindowsRequest&>(request);
        if (!started.isInFlight) return started.result;
        DWORD bytes = 0;
        const BOOL succeeded =
            GetOverlappedResult(handle_.Get(), &started.overlapped, &bytes, wait ? TRUE : FALSE);
        return started.Settle(succeeded, bytes);
    }

    void Abandon(Request& request) override {
        auto& started = static_cast<WindowsRequest&>(request);
        if (started.isInFlight) WaitForSingleObject(started.event.Get(), INFINITE);
        started.isInFlight = false;
        started.result = {};
    }

  private:
    Handle handle_;
};

DWORD AccessOf(const OpenOptions& options) {
    switch (options.access) {
        case Access::read:
            return GENERIC_READ;
        case Access::write:
            return GENERIC_WRITE;
        case Access::readWrite:
            break;
    }
    return GENERIC_READ | GENERIC_WRITE;
}

DWORD SharingOf(const OpenOptions& options) {
    return options.shareWrite ? FILE_SHARE_READ | FILE_SHARE_WRITE : FILE_SHARE_READ;
}

DWORD CreationOf(const OpenOptions& options) {
    switch (options.creation) {
        case Creation::openExisting:
            return OPEN_EXISTING;
        case Creation::openAlways:
            return OPEN_ALWAYS;
        case Creation::createAlways:
            break;
    }
    return CREATE_ALWAYS;
}

DWORD FlagsOf(const OpenOptions& options) {
    DWORD flags = FILE_ATTRIBUTE_NORMAL;
    if (options.overlapped) flags |= FILE_FLAG_OVERLAPPED;
    if (options.unbuffered) flags |= FILE_FLAG_NO_BUFFERING;
    if (options.writeThrough) flags |= FILE_FLAG_WRITE_THROUGH;
    return flags;
}

// To be called directly after the open call, whose error is the thread's last one.
OpenResult TakeOpened(HANDLE opened, std::unique_ptr<File>& file) {
    const DWORD error = GetLastError();
    Handle handle(opened);
    if (!handle.Get()) {
        if (error == ERROR_TOO_MANY_OPEN_FILES) return OpenResult::outOfHandles;
        return error == ERROR_SHARING_VIOLATION ? OpenResult::sharingViolation : OpenResult::failed;
    }
    file = std::make_unique<WindowsFile>(std::move(handle));
    return OpenResult::opened;
}

const wchar_t* WideText(const std::u16string& name) {
    static_assert(sizeof(wchar_t) == sizeof(char16_t));
    return reinterpret_cast<const wchar_t*>(name.c_str());
}

class WindowsFileSystem final : public FileSystem {
  public:
    [[nodiscard]] OpenResult OpenWide(const std::u16string& name, const OpenOptions& options,
                                      std::unique_ptr<File>& file) override {
        return TakeOpened(CreateFileW(WideText(name), AccessOf(options), SharingOf(options), nullptr,
                                      CreationOf(options), FlagsOf(options), nullptr),
                          file);
    }

    [[nodiscard]] OpenResult OpenNarrow(const std::string& name, const OpenOptions& options,
                                        std::unique_ptr<File>& file) override {
        return TakeOpened(CreateFileA(name.c_str(), AccessOf(options), SharingOf(options), nullptr,
                                      CreationOf(options), FlagsOf(options), nullptr),
                          file);
    }

    [[nodiscard]] bool RemoveWide(const std::u16string& name) override {
        return DeleteFileW(WideText(name)) != 0;
    }

    [[nodiscard]] bool RemoveNarrow(const std::string& name) override {
        return DeleteFileA(name.c_str()) != 0;
    }
};

}  // namespace

FileSystem& SystemFileSystem() {
    static auto& fileSystem = *new WindowsFileSystem;  // there until the process is gone
    return fileSystem;
}

}  // namespace vantor::platform
