#include "source/shared_state.h"

#include <algorithm>
#include <utility>

#include "platform/clock.h"

namespace vantor {

namespace {

using IdleReaders = std::vector<std::unique_ptr<SharedReader>>;

// True while the tick has not passed the reservation's end, across the counter's wrap. What nobody owns is
// never reserved.
bool IsReserved(const ReaderContext& context, uint32_t tick) {
    return context.reservedUntil != 0 && tick - context.reservedUntil - 1 > 0x7FFFFFFFu;
}

// The source's own reader, else the first that nobody claims, else the first whose reservation has run out.
std::unique_ptr<SharedReader> TakeIdleReader(IdleReaders& idle, const void* source, uint32_t tick) {
    auto expired = idle.rend();
    auto unclaimed = idle.rend();
    auto place = idle.rbegin();
    for (; place != idle.rend() && (*place)->lastOwner != source; ++place) {
        const ReaderContext& context = **place;
        if (unclaimed != idle.rend()) continue;
        if (context.reservedUntil == 0) {
            unclaimed = place;
        } else if (expired == idle.rend() && !IsReserved(context, tick)) {
            expired = place;
        }
    }
    if (place == idle.rend()) place = unclaimed != idle.rend() ? unclaimed : expired;
    if (place == idle.rend()) return nullptr;
    auto context = std::move(*place);
    idle.erase(std::next(place).base());
    return context;
}

// The file is still the one that was parsed, but for what a recorder has added.
bool StillDescribes(const SharedFileState& state, FileReader& reader) VANTOR_NEEDS(state.lock) {
    const auto& parsed = state.parsed;
    const auto& opened = reader.Status();
    if (opened == parsed) return true;
    const bool isSameFile = opened.volume == parsed.volume && opened.number == parsed.number;
    return isSameFile && opened.bytes >= parsed.bytes && state.format->lengthCutWhileGrowing &&
           reader.IsWriteShared();
}

// A parse from before the first source came is used again for the very same file alone.
bool MustParse(const SharedFileState& state, FileReader& reader) VANTOR_NEEDS(state.lock) {
    if (!state.format) return true;
    if (!state.needsParse) return !StillDescribes(state, reader);
    return !IsPlayable(state.format.get()) || state.format->isIncomplete || state.parsed.lastWriteTime < 0 ||
           reader.Status() != state.parsed;
}

void Parse(SharedFileState& state, FileReader& reader) VANTOR_NEEDS(state.lock) {
    auto format = std::make_shared_for_overwrite<AudioFormat>();
    const bool failed = ParseAudioFormat(*format, reader) != 0;
    state.format = std::move(format);
    state.parsed = reader.Status();
    state.needsParse = failed || reader.HasMissedBytes();
    state.idle.clear();  // readers of the bytes before
}

// False when a file that could be played cannot be by this parse: it may have been met in the middle of an
// edit.
bool TakeFormat(SharedFileState& state, FileReader& reader) VANTOR_NEEDS(state.lock) {
    if (MustParse(state, reader)) {
        Parse(state, reader);
    } else {
        state.needsParse = false;
    }
    return IsPlayable(state.format.get()) || !state.wasPlayable;
}

// Null when the file cannot be opened.
std::unique_ptr<SharedReader> OpenReader(SharedFileState& state) VANTOR_NEEDS(state.lock) {
    constexpr int mostTries = 4;
    std::unique_ptr<FileReader> reader;
    bool isTaken = false;
    for (int tries = 0; !isTaken && tries < mostTries; ++tries) {
        reader = std::make_unique<FileReader>(state.fileName, PreferredReadParameters(state.purpose));
        state.lacksHandle.store(reader->LacksHandle(), std::memory_order_relaxed);
        if (!reader->IsOpen()) return nullptr;
        isTaken = TakeFormat(state, *reader);
    }
    state.wasPlayable = IsPlayable(state.format.get());
    auto opened = std::make_unique<SharedReader>(std::move(reader));
    opened->format = state.format;
    return opened;
}

// The next reader to close: without an owner, else (forced) without a reservation, else the list's last.
IdleReaders::iterator ReaderToClose(IdleReaders& idle, bool forced) {
    const auto first = [&](auto condition) {
        const auto found = std::find_if(idle.rbegin(), idle.rend(), condition);
        return found == idle.rend() ? idle.end() : std::next(found).base();
    };
    auto place = first([](const auto& context) { return context->lastOwner == nullptr; });
    if (place != idle.end() || !forced) return place;
    place = first([](const auto& context) { return context->reservedUntil == 0; });
    return place != idle.end() ? place : idle.begin();
}

}  // namespace

std::unique_ptr<SharedReader> AcquireReader(SharedFileState& state, const void* source) {
    const platform::LockGuard guard(state.lock);
    auto idle = TakeIdleReader(state.idle, source, platform::TickMilliseconds());
    return idle ? std::move(idle) : OpenReader(state);
}

void ReleaseReader(SharedFileState& state, std::unique_ptr<SharedReader> lent, const void* source,
                   uint32_t holdMilliseconds) {
    const platform::LockGuard guard(state.lock);
    // A reader of bytes that have been replaced, that no source will ask for again, or that can read no more,
    // is closed.
    if (!state.attached || lent->format != state.format || lent->reader->HasFailed()) return;
    lent->lastOwner = source;
    lent->reservedUntil = holdMilliseconds == 0 ? 0 : platform::TickMilliseconds() + holdMilliseconds;
    state.idle.push_back(std::move(lent));
    state.hasReaders = true;
}

std::shared_ptr<AudioFormat> EnsureOpened(SharedFileState& state, const void* source) {
    const platform::LockGuard guard(state.lock);
    const bool isChanged = !state.idle.empty() && state.idle.back()->reader->StatusNow() != state.parsed;
    if (!state.hasReaders || isChanged) {
        if (isChanged) state.idle.pop_back();  // the new one takes its place
        auto context = OpenReader(state);
        if (!context) return nullptr;
        context->reader->ReleaseBuffers();
        ReleaseReader(state, std::move(context), source, 0);
    }
    return state.format;
}

void DisownReaders(SharedFileState& state, const void* source) {
    const platform::LockGuard guard(state.lock);
    for (auto& context : state.idle) {
        if (context->lastOwner != source) continue;
        context->lastOwner = nullptr;
        context->reservedUntil = 0;
        context->lastServed = nullptr;
    }
}

int32_t CloseIdleReaders(SharedFileState& state, bool forced, int32_t atMost) {
    int32_t closed = 0;
    for (; closed < atMost; ++closed) {
        std::unique_ptr<SharedReader> context;  // closed after the lock is released
        const platform::LockGuard guard(state.lock);
        const auto place = ReaderToClose(state.idle, forced);
        if (place == state.idle.end()) break;
        context = std::move(*place);
        state.idle.erase(place);
    }
    return closed;
}

void ReleaseIdleMemory(SharedFileState& state, uint32_t tick) {
    const platform::LockGuard guard(state.lock);
    for (auto& context : state.idle)
        if (!IsReserved(*context, tick)) ReleaseMemory(*context);
}

void ForgetFile(SharedFileState& state) {
    IdleReaders closing;
    const platform::LockGuard guard(state.lock);
    closing.swap(state.idle);
    state.hasReaders = false;
    state.format.reset();
}

void UpdateGrowingLength(SharedFileState& state, AudioFormat& format) {
    const platform::LockGuard guard(state.lock);
    if (state.idle.empty()) return;
    format.lengthFrames = FramesPresent(format, state.idle.back()->reader->SizeNow());
}

bool IsPlayable(const AudioFormat* format) {
    return format && format->sampleRate >= 1.0 && format->bitsPerSample != 0 && format->channels != 0 &&
           format->encoding != 0;
}

}  // namespace vantor
