#include "tests/support/plain_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace vantor::test {

using platform::Request;
using platform::RequestResult;
using platform::RequestState;
using platform::WriteError;
using platform::WriteResult;

namespace {

// Fuzzing stands on these files too, so this is no expectation of a test.
void Refuse(bool isPending, const char* what) {
    if (!isPending) return;
    std::fprintf(stderr, "a request is on its way: %s\n", what);
    std::abort();
}

struct PlainRequest final : Request {
    ~PlainRequest() override { Refuse(isPending, "let go"); }
    RequestResult result;
    bool isPending = false;
    std::vector<uint8_t> bytesRead;
    uint8_t* buffer = nullptr;  // where they go
};

}  // namespace

bool PlainFile::SetPosition(int64_t position) {
    if (position < 0) return false;
    position_ = position;
    return true;
}

int64_t PlainFile::Read(void* destination, uint32_t count) {
    const int64_t got = ReadAt(position_, destination, count);
    position_ += std::max<int64_t>(got, 0);
    return got;
}

WriteResult PlainFile::Write(const void* source, uint32_t count) {
    const auto result = WriteAt(position_, source, count);
    position_ += result.bytes;
    return result;
}

std::unique_ptr<Request> PlainFile::NewRequest() {
    return std::make_unique<PlainRequest>();
}

RequestResult PlainFile::StartRead(Request& request, int64_t offset, void* buffer, uint32_t count) {
    auto& read = static_cast<PlainRequest&>(request);
    Refuse(read.isPending, "started anew");
    read.bytesRead.resize(count);
    read.buffer = static_cast<uint8_t*>(buffer);
    const int64_t got = ReadAt(offset, read.bytesRead.data(), count);
    read.bytesRead.resize(static_cast<size_t>(std::max<int64_t>(got, 0)));
    read.result = {.state = got < 0 ? RequestState::failed : RequestState::done,
                   .bytes = static_cast<uint32_t>(read.bytesRead.size())};
    read.isPending = true;
    return Finish(read, !HoldsRequests());
}

RequestResult PlainFile::StartWrite(Request& request, int64_t offset, const void* buffer, uint32_t count) {
    auto& write = static_cast<PlainRequest&>(request);
    Refuse(write.isPending, "started anew");
    const auto written = WriteAt(offset, buffer, count);
    write.result = {.state = written.error == WriteError::none ? RequestState::done : RequestState::failed,
                    .bytes = written.bytes,
                    .writeError = written.error};
    write.isPending = true;
    return Finish(write, !HoldsRequests());
}

RequestResult PlainFile::Finish(Request& request, bool wait) {
    auto& started = static_cast<PlainRequest&>(request);
    if (started.isPending && !wait) return {.state = RequestState::pending};
    std::copy(started.bytesRead.begin(), started.bytesRead.end(), started.buffer);
    started.bytesRead.clear();
    started.isPending = false;
    return started.result;
}

void PlainFile::Abandon(Request& request) {
    auto& started = static_cast<PlainRequest&>(request);
    started.bytesRead.clear();
    started.isPending = false;
}

}  // namespace vantor::test
