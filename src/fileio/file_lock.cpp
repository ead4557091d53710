#include "fileio/file_lock.h"

#include <thread>

#include "fileio/file_name.h"

namespace vantor {

namespace {

using platform::LockResult;
using std::chrono::steady_clock;

constexpr std::chrono::milliseconds pause(5);

// Shared with all: the lock alone keeps others waiting.
constexpr platform::OpenOptions lockOptions{.shareWrite = true};

}  // namespace

FileLock::FileLock(const std::string& name, std::chrono::milliseconds atMost)
    : file_(OpenFile(name, lockOptions)) {
    if (!file_) return;
    status_ = file_->StatusNow();
    const auto deadline = steady_clock::now() + atMost;
    for (;;) {
        const auto result = file_->TryLock();
        isHeld_ = result != LockResult::heldElsewhere;
        if (isHeld_ || steady_clock::now() >= deadline) return;
        std::this_thread::sleep_for(pause);
    }
}

bool FileLock::IsOf(const platform::FileStatus& status) const {
    return status.volume == status_.volume && status.number == status_.number;
}

}  // namespace vantor
