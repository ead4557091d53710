#include "source/state_tables.h"

#include <algorithm>
#include <array>
#include <utility>

#include "fileio/file_name.h"
#include "source/remembered_states.h"

namespace vantor {

namespace {

using State = std::shared_ptr<SharedFileState>;
using States = std::vector<State>;

struct StateTable {
    platform::Mutex lock;
    States states VANTOR_GUARDED_BY(lock);  // that have sources, in the order of CompareFileNames
    RememberedStates remembered VANTOR_GUARDED_BY(lock);  // that have none
    uint32_t cursor VANTOR_GUARDED_BY(lock) = 0;          // of the sweep through the playback states
};

// The tables are never destroyed: a host may delete its last sources while the process ends.
StateTable* TableOf(int32_t purpose) {
    static auto& tables = *new std::array<StateTable, 3>;
    return purpose >= 0 && purpose < 3 ? &tables[static_cast<size_t>(purpose)] : nullptr;
}

States::iterator PlaceOf(StateTable& table, std::string_view fileName) VANTOR_NEEDS(table.lock) {
    return std::lower_bound(table.states.begin(), table.states.end(), fileName,
                            [](const auto& state, std::string_view sought) {
                                return CompareFileNames(state->fileName, sought) < 0;
                            });
}

bool Names(const StateTable& table, States::iterator place, std::string_view fileName)
    VANTOR_NEEDS(table.lock) {
    return place != table.states.end() && CompareFileNames((*place)->fileName, fileName) == 0;
}

// A state without sources gets its first one again, perhaps under another spelling of the name.
void Revive(SharedFileState& state, const std::string& fileName) {
    const platform::LockGuard guard(state.lock);
    state.fileName = fileName;
    state.attached = true;
    state.needsParse = true;  // again: a call that outlived the last source may have parsed since
}

// The readers and peak objects of a state that lost its last source, and a state that is forgotten; destroyed
// outside all locks.
struct Leftovers {
    State state;
    std::vector<std::unique_ptr<SharedReader>> readers;
    TakenPeakObjects peaks;
};

void TakeLeftovers(SharedFileState& state, Leftovers& leftovers) {
    {
        const platform::LockGuard guard(state.lock);
        leftovers.readers.swap(state.idle);
        state.attached = false;
        state.hasReaders = false;
        state.needsParse = true;  // the file may be changed while nobody has it open
    }
    leftovers.peaks = TakeAll(state.peaks);  // who puts one there from now on sees that nobody is attached
}

}  // namespace

State AttachState(const std::string& fileName, int32_t purpose) {
    StateTable* table = TableOf(purpose);
    if (!table) return std::make_shared<SharedFileState>(fileName, purpose);
    const platform::LockGuard guard(table->lock);
    auto place = PlaceOf(*table, fileName);
    if (!Names(*table, place, fileName)) {
        auto state = table->remembered.Take(fileName);
        if (state) {
            Revive(*state, fileName);
        } else {
            state = std::make_shared<SharedFileState>(fileName, purpose);
        }
        place = table->states.insert(place, std::move(state));
    }
    ++(*place)->sources;
    return *place;
}

void DetachState(const State& state, const void* source, LastSource last) {
    DisownReaders(*state, source);
    Leftovers leftovers;
    StateTable* table = TableOf(state->purpose);
    if (!table) return;  // everything goes with the state, which is this source's alone
    const platform::LockGuard guard(table->lock);
    if (--state->sources > 0) return;
    TakeLeftovers(*state, leftovers);
    const auto place = PlaceOf(*table, state->fileName);
    leftovers.state = std::move(*place);
    table->states.erase(place);
    if (last == LastSource::keepsState) leftovers.state = table->remembered.Keep(std::move(leftovers.state));
}

State FindState(const char* fileName, int32_t purpose) {
    StateTable& table = *TableOf(purpose);
    const platform::LockGuard guard(table.lock);
    const auto place = PlaceOf(table, fileName);
    return Names(table, place, fileName) ? *place : nullptr;
}

size_t RememberedStateCount(int32_t purpose) {
    StateTable& table = *TableOf(purpose);
    const platform::LockGuard guard(table.lock);
    return table.remembered.Count();
}

uint32_t BeginSweep(bool fromStart) {
    StateTable& table = *TableOf(purposePlayback);
    const platform::LockGuard guard(table.lock);
    if (fromStart || table.cursor >= table.states.size()) table.cursor = 0;
    return static_cast<uint32_t>(table.states.size());
}

State StateInSweep() {
    StateTable& table = *TableOf(purposePlayback);
    const platform::LockGuard guard(table.lock);
    return table.cursor < table.states.size() ? table.states[table.cursor] : nullptr;
}

void AdvanceSweep(uint32_t stateCount) {
    StateTable& table = *TableOf(purposePlayback);
    const platform::LockGuard guard(table.lock);
    if (++table.cursor >= stateCount) table.cursor = 0;
}

int32_t CloseSomeReaders() {
    constexpr int32_t enough = 16;
    int32_t closed = 0;
    for (const bool forced : {false, true}) {
        const uint32_t count = BeginSweep(false);
        for (uint32_t visited = 0; visited < count && closed < enough; ++visited, AdvanceSweep(count))
            if (const auto state = StateInSweep()) closed += CloseIdleReaders(*state, forced, 1);
        if (closed > 0) break;
    }
    return closed;
}

void ForgetFile(const char* fileName) {
    for (const int32_t purpose : {purposePlayback, purposePeakBuild, purposePeakRead}) {
        StateTable& table = *TableOf(purpose);
        State state;  // destroyed outside the lock
        {
            const platform::LockGuard guard(table.lock);
            state = table.remembered.Take(fileName);
        }
        if (!state) state = FindState(fileName, purpose);
        if (state) ForgetFile(*state);
    }
}

}  // namespace vantor
