#include "tests/support/scripted_file_system.h"

#include "tests/support/plain_file.h"

namespace vantor::test {

using platform::File;
using platform::OpenOptions;
using platform::OpenResult;
using platform::WriteError;
using platform::WriteResult;

class ScriptedFile final : public PlainFile {
  public:
    ScriptedFile(ScriptedFileSystem& system, std::unique_ptr<File> inner, bool unbuffered)
        : system_(system),
          inner_(std::move(inner)),
          unbuffered_(unbuffered),
          cached_(system.Get(system.script_.servesFromCache)) {}

    [[nodiscard]] int64_t Size() override { return inner_->Size(); }
    [[nodiscard]] bool IsCached() const override { return cached_; }
    [[nodiscard]] int64_t NextStored(int64_t offset) override { return inner_->NextStored(offset); }
    [[nodiscard]] platform::FileStatus StatusAtOpen() override { return inner_->StatusAtOpen(); }
    [[nodiscard]] platform::FileStatus StatusNow() override { return inner_->StatusNow(); }
    [[nodiscard]] platform::LockResult TryLock() override { return inner_->TryLock(); }
    [[nodiscard]] bool FlushToDisk() override {
        return !system_.Begin(Operation::flush);  // a test waits for no disk
    }
    [[nodiscard]] bool IsBeingWritten() override { return inner_->IsBeingWritten(); }
    void ExpectOrder() override {
        system_.Set(system_.script_.ordersExpected, system_.Get(system_.script_.ordersExpected) + 1);
    }
    [[nodiscard]] bool SetPosition(int64_t position) override {
        if (unbuffered_ && position % 4096 != 0) return false;  // as on Windows
        return !system_.Begin(Operation::seek) && PlainFile::SetPosition(position);
    }
    [[nodiscard]] bool CutAtPosition() override {
        return !system_.Begin(Operation::cut) && inner_->SetPosition(Position()) && inner_->CutAtPosition();
    }
    [[nodiscard]] std::unique_ptr<platform::MappedView> MapForReading() override {
        return inner_->MapForReading();
    }

  private:
    [[nodiscard]] int64_t ReadAt(int64_t offset, void* destination, uint32_t count) override {
        system_.Add(system_.script_.reads, {offset, count});
        const auto fault = system_.Begin(Operation::read);
        if ((fault && *fault != Fault::partial) || !inner_->SetPosition(offset)) return -1;
        const int64_t got = inner_->Read(destination, count);
        return fault && got > 0 ? got / 2 : got;
    }

    [[nodiscard]] WriteResult WriteAt(int64_t offset, const void* source, uint32_t count) override {
        const auto result = system_.BeginWrite({offset, count});
        if (result.bytes == 0) return result;
        if (!inner_->SetPosition(offset)) return {.error = WriteError::other};
        const auto inner = inner_->Write(source, result.bytes);
        return inner.error == WriteError::none ? result : inner;
    }

    [[nodiscard]] bool HoldsRequests() const override { return system_.Get(system_.script_.holdsRequests); }

    ScriptedFileSystem& system_;
    std::unique_ptr<File> inner_;
    bool unbuffered_;
    bool cached_;
};

void ScriptedFileSystem::FailAt(Operation operation, int64_t index, Fault fault, bool andLater) {
    const std::lock_guard lock(mutex_);
    const auto kind = static_cast<size_t>(operation);
    script_.orders[kind][script_.counts[kind] + index] = {fault, andLater};
}

std::optional<Fault> ScriptedFileSystem::Begin(Operation operation) {
    if (const auto look = Get(script_.beforeEach)) look();
    const std::lock_guard lock(mutex_);
    const auto kind = static_cast<size_t>(operation);
    const int64_t index = script_.counts[kind]++;
    auto order = script_.orders[kind].upper_bound(index);
    if (order == script_.orders[kind].begin()) return {};
    --order;
    if (order->first != index && !order->second.andLater) return {};
    return order->second.fault;
}

WriteResult ScriptedFileSystem::BeginWrite(const RequestRecord& record) {
    const auto fault = Begin(Operation::write);
    const std::lock_guard lock(mutex_);
    script_.writes.push_back(record);
    WriteResult result{.bytes = record.count};
    if (fault) {
        constexpr uint32_t atOnce = 8;  // no system tears a header
        result.bytes = *fault == Fault::failure || record.count <= atOnce ? 0 : record.count / 2;
        result.error = *fault == Fault::diskFull ? WriteError::diskFull : WriteError::other;
    }
    if (script_.freeBytes && *script_.freeBytes < result.bytes)
        result = {.bytes = static_cast<uint32_t>(*script_.freeBytes), .error = WriteError::diskFull};
    if (script_.freeBytes) *script_.freeBytes -= result.bytes;
    script_.bytesWritten += result.bytes;
    return result;
}

OpenResult ScriptedFileSystem::Open(const OpenRecord& record, std::unique_ptr<File>& file) {
    Add(script_.opens, record);
    if (const auto fault = Begin(Operation::open))
        return *fault == Fault::sharingViolation ? OpenResult::sharingViolation : OpenResult::failed;
    OpenOptions options = record.options;
    options.overlapped = false;
    auto& system = platform::SystemFileSystem();
    std::unique_ptr<File> inner;
    const auto result = record.isWide ? system.OpenWide(record.wide, options, inner)
                                      : system.OpenNarrow(record.narrow, options, inner);
    if (inner) file = std::make_unique<ScriptedFile>(*this, std::move(inner), options.unbuffered);
    return result;
}

OpenResult ScriptedFileSystem::OpenWide(const std::u16string& name, const OpenOptions& options,
                                        std::unique_ptr<File>& file) {
    return Open({.isWide = true, .narrow = {}, .wide = name, .options = options}, file);
}

OpenResult ScriptedFileSystem::OpenNarrow(const std::string& name, const OpenOptions& options,
                                          std::unique_ptr<File>& file) {
    return Open({.isWide = false, .narrow = name, .wide = {}, .options = options}, file);
}

bool ScriptedFileSystem::RemoveWide(const std::u16string& name) {
    Set(script_.removedBy, "wide");
    return !Begin(Operation::remove) && platform::SystemFileSystem().RemoveWide(name);
}

bool ScriptedFileSystem::RemoveNarrow(const std::string& name) {
    Set(script_.removedBy, "narrow");
    return !Begin(Operation::remove) && platform::SystemFileSystem().RemoveNarrow(name);
}

}  // namespace vantor::test
