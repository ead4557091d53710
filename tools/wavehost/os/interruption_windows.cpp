#include <windows.h>
// windows.h comes first: the headers below build on it.
#include <atomic>

#include "wavehost/os/interruption.h"

namespace vantor::wavehost {

namespace {

constexpr int exitInterrupted = 130, exitTerminated = 143, exitHungUp = 129;

std::atomic<int> exitStatus = 0;
HANDLE handled = nullptr;

// Runs in a thread of its own.
BOOL WINAPI Note(DWORD event) {
    exitStatus = event == CTRL_C_EVENT       ? exitInterrupted
                 : event == CTRL_CLOSE_EVENT ? exitHungUp
                                             : exitTerminated;
    const bool lastWord = event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT;
    if (lastWord) WaitForSingleObject(handled, INFINITE);
    return TRUE;
}

}  // namespace

void WatchForInterruption() {
    handled = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(&Note, TRUE);
}

int InterruptionStatus() {
    return exitStatus;
}

void InterruptionHandled() {
    SetEvent(handled);
}

}  // namespace vantor::wavehost
