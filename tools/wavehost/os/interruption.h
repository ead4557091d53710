// Ctrl-C, a request to end, a closed terminal: noted when they come, and asked for between two steps, so that
// no step is torn and what a step leaves behind is removed on the way out.
#pragma once

namespace vantor::wavehost {

// Not a std::exception: one file's failure does not stop the others, this does.
struct Interrupted {
    int exitStatus;
};

// From here on an interruption is noted instead of ending the process. A pipe that nobody reads any more is a
// failed write.
void WatchForInterruption();
// The exit status that an interruption asks for (130, 143, 129); 0: none came.
int InterruptionStatus();
// Throws Interrupted when one came. Between two steps.
void CheckInterruption();
// All is cleaned up. Windows ends a process of a closed console when its handler returns; it waits for this.
void InterruptionHandled();

}  // namespace vantor::wavehost
