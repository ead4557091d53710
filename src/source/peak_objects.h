// The host's peak objects of one file, shared by all its sources.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "vantor_wave/host_interface.h"

namespace vantor {

// A host object that several threads may hold; `use` is locked around a call into it.
template <typename T>
struct SharedHostObject {
    explicit SharedHostObject(T* hostObject) : object(hostObject) {}
    HostPtr<T> object;
    std::mutex use;
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
    std::recursive_mutex creating;
    std::mutex lock;  // guards the pointers
    SharedPeakReader reader;
    SharedPeakBuilder builder;
    SharedHiresSource hires;                  // a source of the same file, of purpose 2
    std::atomic<uint32_t> hiresLastUsed = 0;  // tick
};

// The three pointers, for destruction outside all locks.
struct TakenPeakObjects {
    SharedPeakReader reader;
    SharedPeakBuilder builder;
    SharedHiresSource hires;
};

inline TakenPeakObjects TakeAll(PeakObjects& peaks) {
    const std::lock_guard guard(peaks.lock);
    return {std::move(peaks.reader), std::move(peaks.builder), std::move(peaks.hires)};
}

}  // namespace vantor
