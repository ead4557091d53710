// Locks that say what they guard: clang checks it (-Wthread-safety), other compilers see plain mutexes.
#pragma once

#include <mutex>

#if defined(__clang__)
#define VANTOR_LOCKING(attribute) __attribute__((attribute))
#else
#define VANTOR_LOCKING(attribute)
#endif

// A field that is touched with the lock held alone, and a function that is called so.
#define VANTOR_GUARDED_BY(lock) VANTOR_LOCKING(guarded_by(lock))
#define VANTOR_NEEDS(lock) VANTOR_LOCKING(requires_capability(lock))

namespace vantor::platform {

template <typename Lock>
class VANTOR_LOCKING(capability("mutex")) CheckedLock {
  public:
    void lock() VANTOR_LOCKING(acquire_capability()) { lock_.lock(); }
    void unlock() VANTOR_LOCKING(release_capability()) { lock_.unlock(); }

  private:
    Lock lock_;
};
using Mutex = CheckedLock<std::mutex>;
// Of locks that are held while the host is called, which may call back.
using RecursiveMutex = CheckedLock<std::recursive_mutex>;

template <typename Lock>
class VANTOR_LOCKING(scoped_lockable) LockGuard {
  public:
    explicit LockGuard(Lock& lock) VANTOR_LOCKING(acquire_capability(lock)) : lock_(lock) { lock_.lock(); }
    ~LockGuard() VANTOR_LOCKING(release_capability()) { lock_.unlock(); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

  private:
    Lock& lock_;
};

}  // namespace vantor::platform
