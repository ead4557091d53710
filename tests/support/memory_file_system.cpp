#include "tests/support/memory_file_system.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "tests/support/plain_file.h"

namespace vantor::test {

using platform::OpenResult;
using platform::WriteError;
using platform::WriteResult;

namespace {

using Contents = MemoryFileSystem::Contents;
using Change = MemoryFileSystem::Change;

constexpr int64_t mostBytes = int64_t{64} << 20;  // the disk is full beyond that
constexpr uint8_t unwritten = 0xEE;  // behind the old end of a file: not every system writes zeros there

int64_t NextWriteTime() {
    static int64_t time = 0;  // across file systems: a name that comes back shall look changed
    return ++time;
}

struct MemoryView final : platform::MappedView {
    explicit MemoryView(std::shared_ptr<Contents> mapped) : contents(std::move(mapped)) {}
    [[nodiscard]] const uint8_t* Data() const override { return contents->bytes.data(); }
    std::shared_ptr<Contents> contents;
};

// What is done of a write that fails: of a header nothing.
Bytes Half(Bytes bytes) {
    bytes.resize(bytes.size() <= 8 ? 0 : bytes.size() / 2);
    return bytes;
}

class MemoryFile final : public PlainFile {
  public:
    MemoryFile(MemoryFileSystem& system, std::shared_ptr<Contents> contents)
        : system_(system), contents_(std::move(contents)) {}

    [[nodiscard]] int64_t Size() override { return static_cast<int64_t>(contents_->bytes.size()); }
    [[nodiscard]] platform::FileStatus StatusAtOpen() override { return StatusNow(); }
    [[nodiscard]] platform::FileStatus StatusNow() override {
        return {Size(), contents_->lastWriteTime, 0, contents_->number};
    }
    [[nodiscard]] platform::LockResult TryLock() override { return platform::LockResult::unavailable; }
    [[nodiscard]] bool FlushToDisk() override {
        const bool succeeds = !system_.Begin({.kind = Change::flush});
        if (system_.afterFlush) system_.afterFlush(contents_->bytes);
        return succeeds;
    }
    [[nodiscard]] bool CutAtPosition() override {
        if (Position() > mostBytes || system_.Begin({.kind = Change::cut, .offset = Position()}))
            return false;
        contents_->bytes.resize(static_cast<size_t>(Position()));
        contents_->lastWriteTime = NextWriteTime();
        return true;
    }
    [[nodiscard]] std::unique_ptr<platform::MappedView> MapForReading() override {
        return std::make_unique<MemoryView>(contents_);
    }

  private:
    [[nodiscard]] int64_t ReadAt(int64_t offset, void* destination, uint32_t count) override {
        const int64_t left = std::max<int64_t>(Size() - offset, 0);
        const int64_t bytes = std::min<int64_t>(left, count);
        if (bytes > 0)
            std::memcpy(destination, &contents_->bytes[static_cast<size_t>(offset)],
                        static_cast<size_t>(bytes));
        return bytes;
    }
    [[nodiscard]] WriteResult WriteAt(int64_t offset, const void* source, uint32_t count) override {
        if (offset > mostBytes - count) return {.bytes = 0, .error = WriteError::diskFull};
        const auto* const first = static_cast<const uint8_t*>(source);
        const bool fails =
            system_.Begin({.kind = Change::write, .offset = offset, .bytes = Bytes(first, first + count)});
        if (fails) count = static_cast<uint32_t>(Half(Bytes(count)).size());
        auto& bytes = contents_->bytes;
        const auto start = static_cast<size_t>(offset);
        if (bytes.size() < start) bytes.resize(start, unwritten);
        if (bytes.size() < start + count) bytes.resize(start + count);
        std::memcpy(bytes.data() + start, source, count);
        contents_->lastWriteTime = NextWriteTime();
        return {.bytes = count, .error = fails ? WriteError::diskFull : WriteError::none};
    }
    [[nodiscard]] bool HoldsRequests() const override { return true; }

    MemoryFileSystem& system_;
    std::shared_ptr<Contents> contents_;
};

std::string NarrowForm(const std::u16string& name) {
    std::string narrow;
    for (const char16_t unit : name)
        if (unit < 0x80) narrow += static_cast<char>(unit);
    return narrow;
}

}  // namespace

void MemoryFileSystem::Change::ApplyTo(Bytes& file) const {
    if (kind == cut) file.resize(static_cast<size_t>(offset));
    if (kind != write || bytes.empty()) return;
    const auto start = static_cast<size_t>(offset);
    if (file.size() < start) file.resize(start, unwritten);
    file.resize(std::max(file.size(), start + bytes.size()));
    std::ranges::copy(bytes, file.begin() + offset);
}

bool MemoryFileSystem::Begin(Change change) {
    const bool isReached = changesLeft == 0;
    const bool fails = isReached && (failing != Failing::writesForGood || change.kind == Change::write);
    if (changesLeft > 0) --changesLeft;
    if (isReached && failing == Failing::once) changesLeft = std::exchange(thenLeft, -1);
    if (fails)
        change = {.kind = Change::write, .offset = change.offset, .bytes = Half(std::move(change.bytes))};
    if (trace) trace->push_back(std::move(change));
    return fails;
}

void MemoryFileSystem::Put(const std::string& name, Bytes bytes) {
    files_[name] = std::make_shared<Contents>(Contents{std::move(bytes), NextWriteTime(), 0});
    files_[name]->number = static_cast<uint64_t>(files_[name]->lastWriteTime);
}

const Bytes* MemoryFileSystem::Find(const std::string& name) const {
    const auto found = files_.find(name);
    return found == files_.end() ? nullptr : &found->second->bytes;
}

OpenResult MemoryFileSystem::OpenWide(const std::u16string& name, const platform::OpenOptions& options,
                                      std::unique_ptr<platform::File>& file) {
    return OpenNarrow(NarrowForm(name), options, file);
}

OpenResult MemoryFileSystem::OpenNarrow(const std::string& name, const platform::OpenOptions& options,
                                        std::unique_ptr<platform::File>& file) {
    if (options.creation == platform::Creation::createAlways) Put(name, {});
    if (options.creation == platform::Creation::openAlways && !files_.contains(name)) Put(name, {});
    const auto found = files_.find(name);
    if (found == files_.end()) return OpenResult::failed;
    file = std::make_unique<MemoryFile>(*this, found->second);
    return OpenResult::opened;
}

bool MemoryFileSystem::RemoveWide(const std::u16string& name) {
    return RemoveNarrow(NarrowForm(name));
}

bool MemoryFileSystem::RemoveNarrow(const std::string& name) {
    return files_.erase(name) > 0;
}

}  // namespace vantor::test
