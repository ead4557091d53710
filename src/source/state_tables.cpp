#include "source/state_tables.h"

#include <algorithm>
#include <array>
#include <utility>

#include "fileio/file_name.h"

namespace vantor {

namespace {

using States = std::vector<std::shared_ptr<SharedFileState>>;

struct StateTable {
    std::mutex lock;
    States states;        // in the order of CompareFileNames
    uint32_t cursor = 0;  // of the sweep through the playback states
};

StateTable* TableOf(int32_t purpose) {
    static std::array<StateTable, 3> tables;
    return purpose >= 0 && purpose < 3 ? &tables[static_cast<size_t>(purpose)] : nullptr;
}

States::iterator PlaceOf(StateTable& table, std::string_view fileName) {
    return std::lower_bound(table.states.begin(), table.states.end(), fileName,
                            [](const auto& state, std::string_view sought) {
                                return CompareFileNames(state->fileName, sought) < 0;
                            });
}

bool Names(const StateTable& table, States::iterator place, std::string_view fileName) {
    return place != table.states.end() && CompareFileNames((*place)->fileName, fileName) == 0;
}

// A state without sources gets its first one again, perhaps under another spelling of the name.
void Revive(SharedFileState& state, const char* fileName) {
    const std::lock_guard guard(state.lock);
    state.fileName = fileName;
    state.attached = true;
    state.needsParse = true;  // again: a call that outlived the last source may have parsed since
}

// The readers and peak objects of a state that lost its last source; destroyed outside all locks.
struct Leftovers {
    States::value_type state;
    std::vector<std::unique_ptr<ReaderContext>> readers;
    TakenPeakObjects peaks;
};

void TakeLeftovers(SharedFileState& state, Leftovers& leftovers) {
    {
        const std::lock_guard guard(state.lock);
        leftovers.readers.swap(state.idle);
        state.attached = false;
        state.hasReaders = false;
        state.needsParse = true;  // the file may be changed while nobody has it open
    }
    leftovers.peaks = TakeAll(state.peaks);  // who puts one there from now on sees that nobody is attached
}

}  // namespace

std::shared_ptr<SharedFileState> AttachState(const char* fileName, int32_t purpose) {
    StateTable* table = TableOf(purpose);
    if (!table) return std::make_shared<SharedFileState>(fileName, purpose);
    const std::lock_guard guard(table->lock);
    auto place = PlaceOf(*table, fileName);
    if (!Names(*table, place, fileName)) {
        place = table->states.insert(place, std::make_shared<SharedFileState>(fileName, purpose));
    } else if ((*place)->sources == 0) {
        Revive(**place, fileName);
    }
    ++(*place)->sources;
    return *place;
}

void DetachState(const std::shared_ptr<SharedFileState>& state, const void* source, LastSource last) {
    DisownReaders(*state, source);
    Leftovers leftovers;
    StateTable* table = TableOf(state->purpose);
    if (!table) {
        TakeLeftovers(*state, leftovers);
        return;
    }
    const std::lock_guard guard(table->lock);
    if (--state->sources > 0) return;
    TakeLeftovers(*state, leftovers);
    if (last == LastSource::keepsState) return;
    const auto place = PlaceOf(*table, state->fileName);
    leftovers.state = std::move(*place);
    table->states.erase(place);
}

std::shared_ptr<SharedFileState> FindState(const char* fileName, int32_t purpose) {
    StateTable& table = *TableOf(purpose);
    const std::lock_guard guard(table.lock);
    const auto place = PlaceOf(table, fileName);
    return Names(table, place, fileName) ? *place : nullptr;
}

uint32_t BeginSweep(bool fromStart) {
    StateTable& table = *TableOf(purposePlayback);
    const std::lock_guard guard(table.lock);
    if (fromStart || table.cursor >= table.states.size()) table.cursor = 0;
    return static_cast<uint32_t>(table.states.size());
}

std::shared_ptr<SharedFileState> StateInSweep() {
    StateTable& table = *TableOf(purposePlayback);
    const std::lock_guard guard(table.lock);
    return table.cursor < table.states.size() ? table.states[table.cursor] : nullptr;
}

void AdvanceSweep(uint32_t stateCount) {
    StateTable& table = *TableOf(purposePlayback);
    const std::lock_guard guard(table.lock);
    if (++table.cursor >= stateCount) table.cursor = 0;
}

void ForgetFile(const char* fileName) {
    for (const int32_t purpose : {purposePlayback, purposePeakBuild, purposePeakRead})
        if (const auto state = FindState(fileName, purpose)) ForgetFile(*state);
}

}  // namespace vantor
