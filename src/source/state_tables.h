// The process-wide tables of shared file states, one a purpose, by case-insensitive file name.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "source/remembered_states.h"
#include "source/shared_state.h"

namespace vantor {

// Finds or creates the state and counts one more source. A purpose outside 0 to 2 gets a state of its own.
std::shared_ptr<SharedFileState> AttachState(const std::string& fileName, int32_t purpose);

enum class LastSource { keepsState, removesState };
// Counts one source less. With the last one the idle readers and the peak objects go, and, as asked, the
// state with its format; a bounded number of states is kept.
void DetachState(const std::shared_ptr<SharedFileState>& state, const void* source, LastSource last);

// The state of the file, with its sources, in the purpose's table; null when there is none.
std::shared_ptr<SharedFileState> FindState(const char* fileName, int32_t purpose);

// The sweep of "open_file_reduce" through the playback states goes on, from call to call, at a cursor.
// Sets the cursor to 0 when asked, or when it is past the end. Returns the number of playback states.
uint32_t BeginSweep(bool fromStart);
// The state at the cursor; null when the table has shrunk below it.
std::shared_ptr<SharedFileState> StateInSweep();
// Moves the cursor on; at `stateCount` it returns to 0.
void AdvanceSweep(uint32_t stateCount);

// Closes some idle readers of the playback states, those without an owner first: the process has no handles
// left. Returns how many.
int32_t CloseSomeReaders();
// States of the purpose that have no source any more.
size_t RememberedStateCount(int32_t purpose);

// The file has been rewritten: closes its idle readers of all purposes; the next readers parse it anew.
void ForgetFile(const char* fileName);

}  // namespace vantor
