#include "tests/support/scripted_file_system.h"

#include <algorithm>
#include <utility>

namespace vantor::test {

using platform::File;
using platform::OpenOptions;
using platform::OpenResult;
using platform::Request;
using platform::RequestResult;
using platform::RequestState;
using platform::WriteError;
using platform::WriteResult;

namespace {

struct ScriptedRequest final : Request {
    std::unique_ptr<Request> inner;
    RequestResult result;  // of the start
};

}  // namespace

class ScriptedFile final : public File {
  public:
    ScriptedFile(ScriptedFileSystem& script, std::unique_ptr<File> inner)
        : script_(script), inner_(std::move(inner)) {}

    [[nodiscard]] int64_t Size() override { return inner_->Size(); }
    [[nodiscard]] int64_t LastWriteTime() override { return inner_->LastWriteTime(); }

    [[nodiscard]] bool SetPosition(int64_t position) override {
        if (script_.Begin(Operation::seek) || !inner_->SetPosition(position)) return false;
        position_ = position;
        return true;
    }

    [[nodiscard]] int64_t Read(void* destination, uint32_t count) override {
        const auto fault = script_.BeginRead({position_, count});
        if (fault && *fault != Fault::partial) return -1;
        int64_t got = inner_->Read(destination, count);
        if (fault && got > 0) {
            got /= 2;
            if (!inner_->SetPosition(position_ + got)) return -1;
        }
        position_ += std::max<int64_t>(got, 0);
        return got;
    }

    [[nodiscard]] WriteResult Write(const void* source, uint32_t count) override {
        auto result = script_.BeginWrite({position_, count});
        if (result.bytes > 0) {
            const auto inner = inner_->Write(source, result.bytes);
            if (inner.error != WriteError::none) result = inner;
        }
        position_ += result.bytes;
        return result;
    }

    [[nodiscard]] bool CutAtPosition() override {
        return !script_.Begin(Operation::cut) && inner_->CutAtPosition();
    }

    [[nodiscard]] std::unique_ptr<platform::MappedView> MapForReading() override {
        return inner_->MapForReading();
    }

    [[nodiscard]] std::unique_ptr<Request> NewRequest() override {
        auto request = std::make_unique<ScriptedRequest>();
        request->inner = inner_->NewRequest();
        return request;
    }

    [[nodiscard]] RequestResult StartRead(Request& request, int64_t offset, void* buffer,
                                          uint32_t count) override {
        auto& scripted = static_cast<ScriptedRequest&>(request);
        const auto fault = script_.BeginRead({offset, count});
        scripted.result = {};
        if (!fault) {
            scripted.result = inner_->StartRead(*scripted.inner, offset, buffer, count);
        } else if (*fault == Fault::partial) {
            scripted.result =
                Transferred(scripted, inner_->StartRead(*scripted.inner, offset, buffer, count));
            scripted.result.bytes /= 2;
        }
        return Answer(scripted);
    }

    [[nodiscard]] RequestResult StartWrite(Request& request, int64_t offset, const void* buffer,
                                           uint32_t count) override {
        auto& scripted = static_cast<ScriptedRequest&>(request);
        const auto outcome = script_.BeginWrite({offset, count});
        scripted.result = {.state = RequestState::done};
        if (outcome.bytes > 0)
            scripted.result = inner_->StartWrite(*scripted.inner, offset, buffer, outcome.bytes);
        if (outcome.error != WriteError::none) {
            scripted.result = Transferred(scripted, scripted.result);
            scripted.result.state = RequestState::failed;
            scripted.result.writeError = outcome.error;
        }
        return Answer(scripted);
    }

    [[nodiscard]] RequestResult Finish(Request& request, bool wait) override {
        auto& scripted = static_cast<ScriptedRequest&>(request);
        if (!wait && script_.HoldsRequests()) return {.state = RequestState::pending};
        if (scripted.result.state == RequestState::pending)
            scripted.result = inner_->Finish(*scripted.inner, wait);
        return scripted.result;
    }

    void Abandon(Request& request) override {
        auto& scripted = static_cast<ScriptedRequest&>(request);
        if (scripted.result.state == RequestState::pending) inner_->Abandon(*scripted.inner);
        scripted.result = {};
    }

  private:
    [[nodiscard]] RequestResult Transferred(ScriptedRequest& request, const RequestResult& started) {
        return started.state == RequestState::pending ? inner_->Finish(*request.inner, true) : started;
    }

    [[nodiscard]] RequestResult Answer(const ScriptedRequest& request) {
        return script_.HoldsRequests() ? RequestResult{.state = RequestState::pending} : request.result;
    }

    ScriptedFileSystem& script_;
    std::unique_ptr<File> inner_;
    int64_t position_ = 0;
};

void ScriptedFileSystem::FailAt(Operation operation, int64_t index, Fault fault, bool andLater) {
    const std::lock_guard lock(mutex_);
    const auto kind = static_cast<size_t>(operation);
    script_.orders[kind][script_.counts[kind] + index] = {fault, andLater};
}

void ScriptedFileSystem::SetFreeBytes(int64_t bytes) {
    const std::lock_guard lock(mutex_);
    script_.freeBytes = bytes;
}

void ScriptedFileSystem::HoldRequests(bool hold) {
    const std::lock_guard lock(mutex_);
    script_.holdsRequests = hold;
}

void ScriptedFileSystem::Redirect(const std::string& name) {
    const std::lock_guard lock(mutex_);
    script_.redirected = name;
}

void ScriptedFileSystem::BeforeEach(std::function<void()> look) {
    const std::lock_guard lock(mutex_);
    script_.beforeEach = std::move(look);
}

void ScriptedFileSystem::Reset() {
    const std::lock_guard lock(mutex_);
    script_ = {};
}

std::vector<OpenRecord> ScriptedFileSystem::Opens() const {
    const std::lock_guard lock(mutex_);
    return script_.opens;
}

std::vector<RequestRecord> ScriptedFileSystem::Reads() const {
    const std::lock_guard lock(mutex_);
    return script_.reads;
}

std::vector<RequestRecord> ScriptedFileSystem::Writes() const {
    const std::lock_guard lock(mutex_);
    return script_.writes;
}

int64_t ScriptedFileSystem::Count(Operation operation) const {
    const std::lock_guard lock(mutex_);
    return script_.counts[static_cast<size_t>(operation)];
}

int64_t ScriptedFileSystem::BytesWritten() const {
    const std::lock_guard lock(mutex_);
    return script_.bytesWritten;
}

bool ScriptedFileSystem::HoldsRequests() const {
    const std::lock_guard lock(mutex_);
    return script_.holdsRequests;
}

std::optional<Fault> ScriptedFileSystem::Begin(Operation operation) {
    std::function<void()> look;
    {
        const std::lock_guard lock(mutex_);
        look = script_.beforeEach;
    }
    if (look) look();
    const std::lock_guard lock(mutex_);
    const auto kind = static_cast<size_t>(operation);
    const int64_t index = script_.counts[kind]++;
    auto order = script_.orders[kind].upper_bound(index);
    if (order == script_.orders[kind].begin()) return {};
    --order;
    if (order->first != index && !order->second.andLater) return {};
    return order->second.fault;
}

std::optional<Fault> ScriptedFileSystem::BeginOpen(OpenRecord record,
                                                   std::optional<std::string>& redirected) {
    {
        const std::lock_guard lock(mutex_);
        script_.opens.push_back(std::move(record));
        redirected = script_.redirected;
    }
    return Begin(Operation::open);
}

std::optional<Fault> ScriptedFileSystem::BeginRead(const RequestRecord& record) {
    {
        const std::lock_guard lock(mutex_);
        script_.reads.push_back(record);
    }
    return Begin(Operation::read);
}

WriteResult ScriptedFileSystem::BeginWrite(const RequestRecord& record) {
    const auto fault = Begin(Operation::write);
    const std::lock_guard lock(mutex_);
    script_.writes.push_back(record);
    WriteResult result{.bytes = record.count};
    if (fault) {
        result.bytes = *fault == Fault::failure ? 0 : record.count / 2;
        result.error = *fault == Fault::diskFull ? WriteError::diskFull : WriteError::other;
    }
    if (script_.freeBytes && *script_.freeBytes < result.bytes)
        result = {.bytes = static_cast<uint32_t>(*script_.freeBytes), .error = WriteError::diskFull};
    if (script_.freeBytes) *script_.freeBytes -= result.bytes;
    script_.bytesWritten += result.bytes;
    return result;
}

OpenResult ScriptedFileSystem::OpenWide(const std::u16string& name, const OpenOptions& options,
                                        std::unique_ptr<File>& file) {
    std::optional<std::string> redirected;
    const auto fault =
        BeginOpen({.isWide = true, .narrow = {}, .wide = name, .options = options}, redirected);
    if (fault) return *fault == Fault::sharingViolation ? OpenResult::sharingViolation : OpenResult::failed;
    auto& system = platform::SystemFileSystem();
    std::unique_ptr<File> inner;
    const auto result =
        redirected ? system.OpenNarrow(*redirected, options, inner) : system.OpenWide(name, options, inner);
    if (inner) file = std::make_unique<ScriptedFile>(*this, std::move(inner));
    return result;
}

OpenResult ScriptedFileSystem::OpenNarrow(const std::string& name, const OpenOptions& options,
                                          std::unique_ptr<File>& file) {
    std::optional<std::string> redirected;
    const auto fault =
        BeginOpen({.isWide = false, .narrow = name, .wide = {}, .options = options}, redirected);
    if (fault) return *fault == Fault::sharingViolation ? OpenResult::sharingViolation : OpenResult::failed;
    std::unique_ptr<File> inner;
    const auto result = platform::SystemFileSystem().OpenNarrow(redirected.value_or(name), options, inner);
    if (inner) file = std::make_unique<ScriptedFile>(*this, std::move(inner));
    return result;
}

bool ScriptedFileSystem::RemoveWide(const std::u16string& name) {
    return !Begin(Operation::remove) && platform::SystemFileSystem().RemoveWide(name);
}

bool ScriptedFileSystem::RemoveNarrow(const std::string& name) {
    return !Begin(Operation::remove) && platform::SystemFileSystem().RemoveNarrow(name);
}

}  // namespace vantor::test
