// Waiting for others, with an end, and not in silence.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "wavehost/os/failure.h"
#include "wavehost/os/interruption.h"
#include "wavehost/os/terminal_text.h"

namespace vantor::wavehost {

// Asks `isDone` again and again. Says after a while that it waits, with the file's name; after ten seconds
// throws Failure.
template <typename IsDone>
void WaitUntil(const std::string& file, IsDone isDone) {
    using namespace std::chrono;
    constexpr milliseconds pause(20), silent(300);
    constexpr seconds longest(10);
    const auto start = steady_clock::now();
    for (bool isSaid = false; !isDone();) {
        CheckInterruption();
        const auto waited = steady_clock::now() - start;
        if (waited > longest) throw Failure("is being edited by another program; try again later");
        if (waited > silent && !isSaid) {
            std::fprintf(stderr, "%s: waiting for another program that edits it\n",
                         TerminalLine(file).c_str());
            isSaid = true;
        }
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace vantor::wavehost
