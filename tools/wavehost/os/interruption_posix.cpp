#include <atomic>
#include <csignal>

#include "wavehost/os/interruption.h"

namespace vantor::wavehost {

namespace {

constexpr int signalledExit = 128;  // and the signal's number, as shells tell it

std::atomic<int> exitStatus = 0;
static_assert(std::atomic<int>::is_always_lock_free);

}  // namespace

void WatchForInterruption() {
    struct sigaction action {};
    action.sa_handler = [](int signal) { exitStatus = signalledExit + signal; };
    // Without SA_RESTART: a wait for a lock or for standard input ends.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        // Whoever started us may want one of them ignored, as nohup does.
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

int InterruptionStatus() {
    return exitStatus;
}

void InterruptionHandled() {}

}  // namespace vantor::wavehost
