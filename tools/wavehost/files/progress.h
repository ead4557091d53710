// A progress bar on standard error, when that is a terminal.
#pragma once

#include <chrono>
#include <string>

namespace vantor::wavehost {

class Progress {
  public:
    // `quiet`: never drawn.
    Progress(const std::string& subject, bool quiet);
    // Wipes the bar.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Redraws at most ten times a second; cheap to call often.
    void Show(double fraction);

  private:
    std::string subject_;
    bool terminal_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point next_;
};

}  // namespace vantor::wavehost
