#include "source/wave_source.h"

#include <utility>

#include "metadata/key_table.h"
#include "source/guarded.h"
#include "source/source_entry.h"
#include "source/state_tables.h"

namespace vantor {

namespace {

constexpr uint32_t playbackHoldMilliseconds = 3000;  // a playing source finds its handle again
constexpr double smallestRate = 0.1;                 // Hz; below it there is no length in seconds

constexpr int mostReaders = 4;  // one after the other, for one request

// For want of handles idle ones of other files are closed.
bool MadeRoom(const SharedFileState& state) {
    return state.lacksHandle && CloseSomeReaders() > 0;
}

// The length of a file that another process still writes can be asked for again; that of a compressed one is
// known when it is played.
bool MayGrow(const AudioFormat& format) {
    return format.lengthCutWhileGrowing && format.bitsPerSample >= 8;
}

}  // namespace

PCM_source_wavefile::~PCM_source_wavefile() {
    Guarded([&] { Close(false); });
}

void* PCM_source_wavefile::DeletingDestructor(unsigned flags) {
    if (flags & deleteAndFree) {
        const std::unique_ptr<PCM_source_wavefile> owned(this);
    } else {
        this->~PCM_source_wavefile();
    }
    return this;  // NOLINT(clang-analyzer-cplusplus.NewDelete): the address alone, as compilers' own do
}

PCM_source* PCM_source_wavefile::Clone() {
    return Guarded<PCM_source*>(nullptr, [&] {
        auto copy = std::make_unique<PCM_source_wavefile>();
        copy->sliceIndex_ = sliceIndex_.load();
        copy->hostValue_ = hostValue_.load();
        copy->Open(Name().c_str(), purposePlayback);
        return copy.release();
    });
}

bool PCM_source_wavefile::IsOnline() {
    const platform::LockGuard guard(lock_);
    return IsPlayable(attachment_.format.get());
}

void PCM_source_wavefile::SetOnline(bool online) {
    Guarded([&] {
        const platform::LockGuard opening(opening_);
        {
            const platform::LockGuard guard(lock_);
            forcedOffline_ = !online;
        }
        if (!online) {
            Close(false);
        } else if (!IsOnline()) {
            Open(nullptr, purposePlayback);
        }
    });
}

const char* PCM_source_wavefile::TypeName() {
    return sliceIndex_ < 0 ? "WAVE" : "WAVE_SLICE";
}

const char* PCM_source_wavefile::FileName() {
    const platform::LockGuard guard(lock_);
    return NameText();
}

std::string PCM_source_wavefile::Name() const {
    const platform::LockGuard guard(lock_);
    return NameText();
}

bool PCM_source_wavefile::IsNamed(std::string_view name) const {
    const platform::LockGuard guard(lock_);
    return NameText() == name;
}

const char* PCM_source_wavefile::NameText() const {
    if (name_.Text()) return name_.Text();
    return attachment_.state ? attachment_.state->fileName.c_str() : "";
}

bool PCM_source_wavefile::ChangeFile(const char* fileName) {
    return Guarded(false, [&] {
        const platform::LockGuard guard(lock_);
        std::string copy;  // the old name's text may have been given
        if (fileName && name_.Text()) fileName = copy.assign(fileName).c_str();
        name_ = SharedFileName();  // first, so that a name that differs in letter case alone is taken over
        if (fileName) name_ = SharedFileName(fileName);
        return true;
    });
}

int32_t PCM_source_wavefile::ChannelCount() {
    const auto [state, format] = Attachment();
    return format ? format->channels : 1;
}

double PCM_source_wavefile::SampleRate() {
    const auto [state, format] = Attachment();
    return format ? format->sampleRate : 0.0;
}

double PCM_source_wavefile::LengthSeconds() {
    return Guarded(0.0, [&] {
        const auto [state, format] = Attachment();
        if (!format || !(format->sampleRate > smallestRate)) return 0.0;  // a rate may be NaN
        if (const auto slice = SliceSpan(*format, sliceIndex_))
            return static_cast<double>(slice->frames) / format->sampleRate;
        if (MayGrow(*format)) UpdateGrowingLength(*state, *format);
        return static_cast<double>(format->lengthFrames) / format->sampleRate;
    });
}

int32_t PCM_source_wavefile::BitDepth() {
    const auto [state, format] = Attachment();
    if (!format) return 0;
    if (format->validBits != 0) return format->validBits;
    const bool isAdpcm = format->bitsPerSample == 2 || format->bitsPerSample == 4;
    return isAdpcm ? 16 : format->bitsPerSample;
}

double PCM_source_wavefile::PlacementPosition() {
    return Guarded(-1.0, [&] {
        const auto [state, format] = Attachment();
        return format ? ReadTimeReference(&format->metadata, format->sampleRate) : -1.0;
    });
}

void PCM_source_wavefile::ReadSamples(TransferBlock* block) {
    if (!block) return;
    block->framesProduced = 0;
    Guarded([&] {
        const auto state = PlayableState();
        if (!state) return;
        // An edit may have cut off bytes that an open reader had asked for: a fresh one does better.
        for (int tries = 0; tries < mostReaders && !ReadWithIdleReader(*block, *state); ++tries)
            ;
    });
}

bool PCM_source_wavefile::ReadWithIdleReader(TransferBlock& block, SharedFileState& state) {
    auto lent = AcquireReader(state, this);
    if (!lent && MadeRoom(state)) lent = AcquireReader(state, this);
    if (!lent || !IsPlayable(lent->format.get())) return true;
    const ReadScope scope{this, sliceIndex_, reinterpret_cast<intptr_t>(hostValue_.load())};
    ReadFrames(block, *lent, *lent->format, scope);
    // A read-ahead that failed behind what was asked for has served all the same.
    const bool isServed = block.framesProduced == block.frames || !lent->reader->HasFailed();
    ReleaseReader(state, std::move(lent), this,
                  state.purpose == purposePlayback ? playbackHoldMilliseconds : 0);
    return isServed;
}

void PCM_source_wavefile::Open(const char* fileName, int32_t purpose) {
    const platform::LockGuard opening(opening_);
    const bool keepsName = !fileName || IsNamed(fileName);
    Close(!keepsName);
    if (!keepsName && !ChangeFile(fileName)) return;
    const std::string name = Name();
    if (name.empty()) return;
    const auto state = AttachState(name, purpose);
    {
        const platform::LockGuard guard(lock_);
        attachment_.state = state;  // from here on Close counts the source off again
    }
    auto format = EnsureOpened(*state, this);
    if (!format && MadeRoom(*state)) format = EnsureOpened(*state, this);
    {
        const platform::LockGuard guard(lock_);
        attachment_.format = format;
    }
    if (purpose == purposePlayback) CreatePeakReader(name);
}

void PCM_source_wavefile::Close(bool newNameFollows) {
    const platform::LockGuard opening(opening_);
    SourceAttachment closing;
    {
        const platform::LockGuard guard(lock_);
        std::swap(closing, attachment_);
        outcome_.reset();
    }
    cachedTempo_.store(0, std::memory_order_relaxed);
    if (!closing.state) return;
    DetachState(closing.state, this, newNameFollows ? LastSource::removesState : LastSource::keepsState);
}

SourceAttachment PCM_source_wavefile::Attachment() const {
    const platform::LockGuard guard(lock_);
    return attachment_;
}

std::shared_ptr<const EditOutcome> PCM_source_wavefile::Outcome() const {
    const platform::LockGuard guard(lock_);
    return outcome_;
}

void PCM_source_wavefile::SetOutcome(std::shared_ptr<const EditOutcome> outcome) {
    const platform::LockGuard guard(lock_);
    outcome_ = std::move(outcome);
}

std::shared_ptr<SharedFileState> PCM_source_wavefile::PlayableState() const {
    const platform::LockGuard guard(lock_);
    return IsPlayable(attachment_.format.get()) ? attachment_.state : nullptr;
}

bool PCM_source_wavefile::IsForcedOffline() const {
    const platform::LockGuard guard(lock_);
    return forcedOffline_;
}

std::optional<FrameSpan> SliceSpan(const AudioFormat& format, int32_t sliceIndex) {
    const auto& starts = format.slicePoints;
    const auto index = static_cast<size_t>(sliceIndex);
    if (index >= starts.size()) return std::nullopt;  // every negative one too
    const int64_t end = index + 1 < starts.size() ? starts[index + 1] : format.lengthFrames.load();
    if (end <= starts[index]) return std::nullopt;
    return FrameSpan{starts[index], end - starts[index]};
}

PCM_source* CreateEmptyWaveSource() {
    return Guarded<PCM_source*>(nullptr, [] { return std::make_unique<PCM_source_wavefile>().release(); });
}

PCM_source* CreateWaveSource(const char* fileName, bool* isMpegInWave) {
    return Guarded<PCM_source*>(nullptr, [&] {
        auto source = std::make_unique_for_overwrite<PCM_source_wavefile>();
        source->Open(fileName, purposePlayback);
        const auto [state, format] = source->Attachment();
        *isMpegInWave = format && format->isMpegInWave;
        return source.release();
    });
}

}  // namespace vantor
