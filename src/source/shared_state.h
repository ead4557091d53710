// What all sources of one file and purpose share: the parsed format and the idle readers.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "decode/reader_context.h"
#include "formats/audio_format.h"
#include "platform/lock.h"
#include "source/peak_objects.h"

namespace vantor {

enum Purpose : int32_t { purposePlayback = 0, purposePeakBuild = 1, purposePeakRead = 2 };

// A reader of a file and the format of the bytes that it reads: idle, or lent to one thread.
struct SharedReader : ReaderContext {
    using ReaderContext::ReaderContext;

    std::shared_ptr<AudioFormat> format;
};

// Lock order: the table of the state's purpose, then the state. A thread may take a state's lock again.
struct SharedFileState {
    SharedFileState(std::string name, int32_t statePurpose)
        : fileName(std::move(name)), purpose(statePurpose) {}

    std::string fileName;  // changes only while no source is attached
    const int32_t purpose;
    int32_t sources = 0;  // attached; guarded by the table's lock

    platform::RecursiveMutex lock;  // held while a file is opened and parsed
    // Some source is; readers and peak objects that come later go.
    bool attached VANTOR_GUARDED_BY(lock) = true;
    bool hasReaders VANTOR_GUARDED_BY(lock) = false;   // one was opened since the first source came
    bool needsParse VANTOR_GUARDED_BY(lock) = true;    // until a parse succeeds
    bool wasPlayable VANTOR_GUARDED_BY(lock) = false;  // by the last parse
    // The file that `format` describes, as it was opened.
    platform::FileStatus parsed VANTOR_GUARDED_BY(lock);
    // A parse of changed bytes makes a new one: others may read the old.
    std::shared_ptr<AudioFormat> format VANTOR_GUARDED_BY(lock);
    // The list's head is the last element.
    std::vector<std::unique_ptr<SharedReader>> idle VANTOR_GUARDED_BY(lock);

    std::atomic<bool> lacksHandle = false;  // the last reader could not be opened for want of one
    PeakObjects peaks;
    platform::Mutex rewriting;  // held while the file is rewritten; taken before `lock`
};

// Takes an idle reader, or opens one; parses the file when no parse of it has succeeded, or when it is not
// the one that was parsed: replaced, or changed otherwise than by growing under a recorder. Null when it
// cannot be opened.
std::unique_ptr<SharedReader> AcquireReader(SharedFileState& state, const void* source);
// Gives it back, reserved for `source` for `holdMilliseconds` (0: not reserved).
void ReleaseReader(SharedFileState& state, std::unique_ptr<SharedReader> lent, const void* source,
                   uint32_t holdMilliseconds);
// For a source that opens the file: makes sure that it was opened since the first source came, and parsed as
// it is now. Null when it cannot be, even if its format is known from before.
std::shared_ptr<AudioFormat> EnsureOpened(SharedFileState& state, const void* source);
// Idle readers that name `source` as their owner become anybody's.
void DisownReaders(SharedFileState& state, const void* source);
// Closes idle readers without an owner, with `forced` those with one too; `atMost` of them. Returns how many.
int32_t CloseIdleReaders(SharedFileState& state, bool forced, int32_t atMost);
// Idle readers that nobody reserves any more stay open and give their buffers' memory back.
void ReleaseIdleMemory(SharedFileState& state, uint32_t tick);
// The file has been rewritten: closes the idle readers, and the next reader parses it anew.
void ForgetFile(SharedFileState& state);
// Takes a file that another process still writes as long as it is now.
void UpdateGrowingLength(SharedFileState& state, AudioFormat& format);

// True when samples can be read.
[[nodiscard]] bool IsPlayable(const AudioFormat* format);

}  // namespace vantor
