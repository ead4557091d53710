#include "fileio/file_writer.h"

#include <algorithm>
#include <optional>

#include "fileio/block_writer.h"
#include "fileio/byte_order.h"
#include "fileio/file_name.h"
#include "host/host_services.h"

namespace vantor {

using platform::OpenOptions;

struct FileWriter::State {
    std::unique_ptr<platform::File> file;  // null when not open
    int64_t position = 0;                  // of the next byte
    int64_t highWater = 0;                 // the largest position so far
    bool hasFailed = false;                // a synchronous write
    std::optional<BlockWriter> blocks;     // overlapped modes; goes before the file

    void MoveTo(int64_t newPosition) {
        position = newPosition;
        highWater = std::max(highWater, position);
    }
};

namespace {

constexpr int32_t mostBlockBytes = 64 << 20;
constexpr int32_t mostBufferBytes = 256 << 20;
constexpr int32_t defaultBlockBytes = 8192;
constexpr int32_t writeSectorBytes = 4096;

bool WantsWholeSectors(const WriteParameters& parameters) {
    return parameters.mode >= 3 && !parameters.openExisting;
}

OpenOptions OptionsOf(const WriteParameters& parameters) {
    OpenOptions options;
    options.overlapped = parameters.mode >= 1;
    options.access = options.overlapped ? platform::Access::readWrite : platform::Access::write;
    options.writeThrough = parameters.mode >= 2;
    options.unbuffered = WantsWholeSectors(parameters);
    options.creation = parameters.mustExist      ? platform::Creation::openExisting
                       : parameters.openExisting ? platform::Creation::openAlways
                                                 : platform::Creation::createAlways;
    options.shareWrite = parameters.shareWrite;
    return options;
}

BlockWriterSize SizeOf(const WriteParameters& parameters) {
    BlockWriterSize size{};
    size.blockBytes =
        std::min(parameters.blockBytes < 1 ? defaultBlockBytes : parameters.blockBytes, mostBlockBytes);
    if (WantsWholeSectors(parameters))
        size.blockBytes = (size.blockBytes + writeSectorBytes - 1) / writeSectorBytes * writeSectorBytes;
    const int32_t fitting = std::min(mostBufferBytes / size.blockBytes, 1024);
    size.minBlocks = std::clamp(parameters.minBlocks, 1, fitting);
    size.maxBlocks = std::clamp(parameters.maxBlocks, size.minBlocks, fitting);
    return size;
}

}  // namespace

FileWriter::FileWriter(const char* name, const WriteParameters& parameters)
    : state_(std::make_unique<State>()) {
    if (!name) return;
    state_->file = OpenFile(name, OptionsOf(parameters));
    if (state_->file && parameters.mode >= 1)
        state_->blocks.emplace(*state_->file, SizeOf(parameters), WantsWholeSectors(parameters));
}

FileWriter::~FileWriter() = default;

bool FileWriter::IsOpen() const {
    return state_->file != nullptr;
}

int32_t FileWriter::Write(const void* bytes, int32_t count) {
    if (!IsOpen() || count < 1) return 0;
    int32_t written = 0;
    if (state_->blocks) {
        written = state_->blocks->Write(state_->position, static_cast<const uint8_t*>(bytes), count);
    } else {
        const auto result = state_->file->Write(bytes, static_cast<uint32_t>(count));
        written = static_cast<int32_t>(result.bytes);
        if (result.error != platform::WriteError::none || written < count) {
            state_->hasFailed = true;
            ReportWriteFailure(result.error == platform::WriteError::diskFull);
        }
    }
    state_->MoveTo(state_->position + written);
    return written;
}

bool FileWriter::WriteUInt32(uint32_t value) {
    uint8_t bytes[4];
    WriteLe32(bytes, value);
    return Write(bytes, sizeof bytes) == sizeof bytes;
}

int32_t FileWriter::Seek(int64_t position) {
    if (!IsOpen() || position < 0) return 1;
    if (state_->blocks ? !state_->blocks->Flush(true) : !state_->file->SetPosition(position)) return 1;
    state_->MoveTo(position);
    return 0;
}

int64_t FileWriter::Tell() const {
    return state_->position;
}

int64_t FileWriter::Size() {
    if (!IsOpen()) return 0;
    return std::max(state_->file->Size(), state_->highWater);
}

bool FileWriter::Flush(bool wait) {
    if (!IsOpen()) return false;
    return state_->blocks ? state_->blocks->Flush(wait) : !state_->hasFailed;
}

bool FileWriter::FlushToDisk() {
    return IsOpen() && (!state_->blocks || state_->blocks->Flush(true)) && state_->file->FlushToDisk();
}

platform::FileStatus FileWriter::Status() {
    return IsOpen() ? state_->file->StatusNow() : platform::FileStatus{};
}

bool FileWriter::CutAtPosition() {
    if (!IsOpen()) return false;
    if (state_->blocks && (!state_->blocks->Flush(true) || !state_->file->SetPosition(state_->position)))
        return false;
    if (!state_->file->CutAtPosition()) return false;
    state_->highWater = state_->position;
    return true;
}

}  // namespace vantor
