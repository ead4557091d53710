#include "fileio/file_reader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "fileio/file_name.h"
#include "fileio/ring_reader.h"
#include "fileio/staged_reader.h"
#include "fileio/window_reader.h"
#include "host/host_services.h"

namespace vantor {

using platform::OpenOptions;
using platform::OpenResult;

struct FileReader::State : ReadState {
    platform::FileStatus status;  // as it was opened
    int64_t bytesRead = 0;
    std::unique_ptr<ReadStrategy> strategy;  // set when open; goes before the file
};

namespace {

// Bounds on what the host may ask for.
constexpr int64_t mostBlockBytes = int64_t{64} << 20;
constexpr int64_t mostBufferBytes = int64_t{256} << 20;
constexpr int64_t mostBlocks = 1024;

struct BufferSize {
    int64_t blockBytes;  // a multiple of 8192
    int64_t blocks;

    [[nodiscard]] int64_t Total() const { return blockBytes * blocks; }
};

BufferSize BufferSizeOf(const ReadParameters& parameters) {
    BufferSize size{};
    size.blockBytes = RoundUpToSector(std::clamp<int64_t>(parameters.blockBytes, 0, mostBlockBytes));
    const int64_t fitting = size.blockBytes > 0 ? mostBufferBytes / size.blockBytes : 0;
    size.blocks = std::clamp<int64_t>(parameters.blockCount, 0, std::min(fitting, mostBlocks));
    return size;
}

bool IsOverlapped(int32_t mode) {
    return mode > 0;
}

OpenOptions OptionsOf(int32_t mode, const BufferSize& buffer) {
    OpenOptions options;
    options.overlapped = IsOverlapped(mode);
    options.unbuffered = mode == 1 || (mode == -1 && buffer.Total() >= sectorBytes);
    return options;
}

// `open` opens one form of the name. A file that another process is writing is opened with write sharing.
template <typename Open>
bool OpenShared(Open open, OpenOptions options, ReadState& state) {
    OpenResult result = open(options);
    if (result == OpenResult::sharingViolation) {
        options.shareWrite = true;
        result = open(options);
    }
    state.isWriteShared = options.shareWrite;
    state.lacksHandle = result == OpenResult::outOfHandles;
    return result == OpenResult::opened;
}

bool OpenByName(const std::string& name, const OpenOptions& options, ReadState& state) {
    auto& fileSystem = platform::CurrentFileSystem();
    std::u16string wide;
    if (WantsWideForm(name) && WideFileName(name, wide)) {
        const auto openWide = [&](const OpenOptions& o) { return fileSystem.OpenWide(wide, o, state.file); };
        if (OpenShared(openWide, options, state)) return true;
    }
    const auto openNarrow = [&](const OpenOptions& o) { return fileSystem.OpenNarrow(name, o, state.file); };
    return OpenShared(openNarrow, options, state);
}

// The file held in memory, mapped from `mapThreshold` bytes on. Null when that fails.
std::unique_ptr<ReadStrategy> MakeMemoryReader(ReadState& state, uint32_t mapThreshold) {
    if (state.size > 0 && state.size >= mapThreshold) {
        auto view = state.file->MapForReading();
        return view ? std::make_unique<MemoryReader>(state, std::move(view)) : nullptr;
    }
    // Whole sectors, in case the file was opened past the system's cache.
    const int64_t request = RoundUpToSector(state.size);
    if (request > std::numeric_limits<uint32_t>::max()) return nullptr;
    auto copy = NewAlignedBuffer(request);
    if (!copy) return nullptr;
    if (state.size > 0 && state.file->Read(copy.get(), static_cast<uint32_t>(request)) < state.size) {
        (void)state.file->SetPosition(0);
        return nullptr;
    }
    return std::make_unique<MemoryReader>(state, std::move(copy));
}

std::unique_ptr<ReadStrategy> MakeStrategy(ReadState& state, int32_t mode, BufferSize buffer,
                                           uint32_t mapThreshold, uint32_t wholeFileLimit) {
    const bool past = mode == -1 || mode == 1;
    if (IsOverlapped(mode)) {
        buffer.blockBytes = std::max(buffer.blockBytes, sectorBytes);
        buffer.blocks = std::max<int64_t>(buffer.blocks, 1);
        if (state.file->IsCached()) return std::make_unique<WindowReader>(state);
        return std::make_unique<RingReader>(state, buffer.blockBytes, buffer.blocks, past);
    }
    if (state.size < wholeFileLimit) {
        if (auto memory = MakeMemoryReader(state, mapThreshold)) {
            state.isWriteShared = false;
            state.knowsWriters = true;
            return memory;
        }
    }
    if (buffer.Total() >= sectorBytes) return std::make_unique<StagedReader>(state, buffer.Total(), past);
    return std::make_unique<DirectReader>(state);
}

}  // namespace

ReadParameters PreferredReadParameters(int32_t purpose) {
    if (purpose == -1) return {.mode = 2, .blockBytes = 1024, .blockCount = 1};
    const bool isPlayback = purpose == 0;
    auto parameters = isPlayback ? ReadParameters{.mode = 1, .blockBytes = 262144, .blockCount = 3}
                                 : ReadParameters{.mode = 2, .blockBytes = 65536, .blockCount = 2};
    const auto ask = isPlayback ? Services().preferredReadMode : Services().preferredPeakReadMode;
    if (ask) ask(&parameters.mode, &parameters.blockCount, &parameters.blockBytes);
    return parameters;
}

FileReader::FileReader(const std::string& name, const ReadParameters& parameters, uint32_t mapThreshold,
                       uint32_t wholeFileLimit)
    : state_(std::make_unique_for_overwrite<State>()) {
    const auto buffer = BufferSizeOf(parameters);
    if (!OpenByName(name, OptionsOf(parameters.mode, buffer), *state_)) return;
    state_->status = state_->file->StatusAtOpen();
    state_->size = std::max<int64_t>(state_->status.bytes, 0);
    state_->strategy = MakeStrategy(*state_, parameters.mode, buffer, mapThreshold, wholeFileLimit);
}

FileReader::~FileReader() = default;

bool FileReader::IsOpen() const {
    return state_->strategy != nullptr;
}

bool FileReader::LacksHandle() const {
    return state_->lacksHandle;
}

int64_t FileReader::Read(void* destination, int64_t count) {
    if (!IsOpen() || count < 1) return 0;
    state_->RefreshSize(count > state_->size - state_->position);
    const int64_t present = std::min(count, state_->size - state_->position);
    const int64_t delivered = state_->strategy->Read(static_cast<uint8_t*>(destination), count);
    if (delivered < present) state_->hasMissedBytes = true;
    state_->bytesRead += delivered;
    return delivered;
}

int64_t FileReader::Borrow(const uint8_t** bytes, int64_t count, std::vector<uint8_t>& scratch) {
    if (!IsOpen()) return 0;
    state_->RefreshSize(count > state_->size - state_->position);
    count = std::min(count, state_->size - state_->position);
    if (count < 1) return 0;
    if ((*bytes = state_->strategy->Lend(count)) != nullptr) {
        state_->bytesRead += count;
        return count;
    }
    if (scratch.size() < static_cast<size_t>(count)) scratch.resize(static_cast<size_t>(count));
    *bytes = scratch.data();
    return Read(scratch.data(), count);
}

const uint8_t* FileReader::BorrowHeld(int64_t count) {
    if (!IsOpen() || count < 1 || count > state_->strategy->Held()) return nullptr;
    state_->bytesRead += count;
    return state_->strategy->Lend(count);
}

bool FileReader::Seek(int64_t position) {
    if (!IsOpen()) return false;
    state_->RefreshSize(position > state_->size);
    position = std::clamp<int64_t>(position, 0, state_->size);
    if (position != state_->position) state_->strategy->MoveTo(position);
    return true;
}

int64_t FileReader::Tell() const {
    return state_->position;
}

int64_t FileReader::Size() {
    if (IsOpen()) state_->RefreshSize(false);
    return state_->size;
}

int64_t FileReader::SizeNow() {
    if (IsOpen()) state_->RefreshSize(true);
    return state_->size;
}

int64_t FileReader::Remaining() {
    return std::max<int64_t>(Size() - state_->position, 0);
}

bool FileReader::HasFailed() const {
    return state_->hasFailed;
}

bool FileReader::HasMissedBytes() const {
    return state_->hasMissedBytes;
}

bool FileReader::IsWriteShared() {
    return IsOpen() && state_->IsWriteShared();
}

int64_t FileReader::BytesRead() const {
    return state_->bytesRead;
}

const platform::FileStatus& FileReader::Status() const {
    return state_->status;
}

platform::FileStatus FileReader::StatusNow() {
    return IsOpen() ? state_->file->StatusNow() : platform::FileStatus{};
}

int64_t FileReader::NextStored() {
    return IsOpen() ? std::min(state_->file->NextStored(state_->position), state_->size) : state_->position;
}

void FileReader::ReleaseBuffers() {
    if (IsOpen()) state_->strategy->ReleaseBuffers();
}

}  // namespace vantor
