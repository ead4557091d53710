// The host's peak objects of one file, shared by all its sources.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>

#include "platform/lock.h"
#include "vantor_wave/host_interface.h"

namespace vantor {

// A host object that several threads may hold; every call into it is made through a HostCall.
template <typename T>
struct SharedHostObject {
    explicit SharedHostObject(T* hostObject) : object(hostObject) {}
    HostPtr<T> object;
    platform::Mutex use;
    std::atomic<std::thread::id> user{};  // the thread that holds `use`
};

// One call at a time. An object that calls its own source, which would call it again, is not entered twice.
template <typename T>
class HostCall {
  public:
    explicit HostCall(SharedHostObject<T>& shared)
        : shared_(shared), isNested_(shared.user == std::this_thread::get_id()) {
        if (isNested_) return;
        shared_.use.lock();
        shared_.user = std::this_thread::get_id();
    }
    ~HostCall() {
        if (isNested_) return;
        shared_.user = std::thread::id();
        shared_.use.unlock();
    }
    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;

    // Null in a nested call.
    [[nodiscard]] T* Object() const { return isNested_ ? nullptr : shared_.object.Get(); }

  private:
    SharedHostObject<T>& shared_;
    bool isNested_;
};

using SharedPeakReader = std::shared_ptr<SharedHostObject<PeakReader>>;
using SharedPeakBuilder = std::shared_ptr<SharedHostObject<PeakBuilder>>;
using SharedHiresSource = std::shared_ptr<SharedHostObject<PCM_source>>;

// Pointers are copied or moved out under `lock`, which is never held while an object is called or destroyed:
// a builder's end closes the source that it owns, and with it takes other locks.
struct PeakObjects {
    // Held from "is there one?" to "there is one", and so while the host makes the object; taken before
    // `lock`. Recursive: the host may open or clone a source of the same file meanwhile, which looks for
    // peaks too.
    platform::RecursiveMutex creating;
    platform::Mutex lock;
    SharedPeakReader reader VANTOR_GUARDED_BY(lock);
    SharedPeakBuilder builder VANTOR_GUARDED_BY(lock);
    SharedHiresSource hires VANTOR_GUARDED_BY(lock);  // a source of the same file, of purpose 2
    std::atomic<uint32_t> hiresLastUsed = 0;          // tick
};

// The three pointers, for destruction outside all locks.
struct TakenPeakObjects {
    SharedPeakReader reader;
    SharedPeakBuilder builder;
    SharedHiresSource hires;
};

inline TakenPeakObjects TakeAll(PeakObjects& peaks) {
    const platform::LockGuard guard(peaks.lock);
    return {std::move(peaks.reader), std::move(peaks.builder), std::move(peaks.hires)};
}

}  // namespace vantor
