#include "wavehost/files/progress.h"

#include <algorithm>
#include <cstdio>

#include "wavehost/os/system.h"
#include "wavehost/os/terminal_text.h"

namespace vantor::wavehost {

namespace {

constexpr int barCells = 40;
constexpr auto redrawEvery = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(const std::string& subject, bool quiet)
    : subject_(TerminalLine(subject)),
      terminal_(!quiet && IsTerminal(stderr)),
      next_(std::chrono::steady_clock::now() + redrawEvery) {}

Progress::~Progress() {
    if (drawn_) std::fputs("\r\033[K", stderr);
}

void Progress::Show(double fraction) {
    if (!terminal_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return;
    next_ = now + redrawEvery;
    drawn_ = true;
    const double part = std::clamp(fraction, 0.0, 1.0);
    const auto cells = static_cast<size_t>(part * barCells);
    std::fprintf(stderr, "\r\033[K%s [%s%s] %3.0f %%", subject_.c_str(), std::string(cells, '#').c_str(),
                 std::string(barCells - cells, ' ').c_str(), part * 100);
    std::fflush(stderr);
}

}  // namespace vantor::wavehost
