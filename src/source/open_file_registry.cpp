// "open_file_reduce": gives back what files that nobody plays keep open.
#include <algorithm>
#include <limits>
#include <utility>

#include "platform/clock.h"
#include "source/guarded.h"
#include "source/source_entry.h"
#include "source/state_tables.h"

namespace vantor {

namespace {

constexpr uint32_t gentleBudget = 30;              // states visited by a gentle call
constexpr uint32_t hiresIdleMilliseconds = 60001;  // a peak source idle that long is closed

bool CloseHiresSource(PeakObjects& peaks, bool forced, uint32_t tick) {
    SharedHiresSource closing;  // destroyed after the lock is released
    const platform::LockGuard guard(peaks.lock);
    if (!peaks.hires) return false;
    if (!forced && tick - peaks.hiresLastUsed < hiresIdleMilliseconds) return false;
    closing = std::move(peaks.hires);
    return true;
}

int32_t Reduce(uint32_t flags) {
    const bool gentle = flags & reduceGently;
    const bool forced = flags & reduceByForce;
    const uint32_t count = BeginSweep(!gentle);
    const uint32_t budget = gentle ? std::min(count, gentleBudget) : count;
    const uint32_t tick = platform::TickMilliseconds();
    int32_t released = 0;
    for (uint32_t visited = 0; visited < budget; ++visited, AdvanceSweep(count)) {
        const auto state = StateInSweep();
        if (!state) continue;
        if (CloseHiresSource(state->peaks, forced, tick)) ++released;
        const int32_t closed =
            CloseIdleReaders(*state, forced, gentle ? 1 : std::numeric_limits<int32_t>::max());
        released += closed;
        if (gentle && closed > 0) break;
        ReleaseIdleMemory(*state, tick);
    }
    return released;
}

}  // namespace

int32_t OpenFileReduce(uint32_t flags) {
    return Guarded(0, [&] { return Reduce(flags); });
}

}  // namespace vantor
