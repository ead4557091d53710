#include "wavehost/facts/messages.h"

#include <charconv>
#include <cstdio>

#include "wavehost/host/host_services.h"
#include "wavehost/os/system.h"
#include "wavehost/os/terminal_text.h"

namespace vantor::wavehost {

void ReportFailure(const std::string& file, const std::string& message) {
    const std::string line = file.empty() ? message : file + ": " + message;
    // A bar may stand on the line.
    std::fprintf(stderr, "%swavehost: %s\n", IsTerminal(stderr) ? "\r\033[K" : "",
                 TerminalLine(line).c_str());
}

void ReportNote(bool quiet, const std::string& file, const std::string& message) {
    if (!quiet) ReportFailure(file, message);
}

void ReportStatistics() {
    const HostState& host = Host();
    std::fprintf(stderr, "disk: %lld bytes read in %lld reads, %lld bytes written\n",
                 static_cast<long long>(host.bytesRead), static_cast<long long>(host.diskReads),
                 static_cast<long long>(host.bytesWritten));
}

std::string TimeText(double seconds) {
    char text[48];
    FormatTime(seconds, text, sizeof text);
    return text;
}

std::string NumberText(double number) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number);
    return {text, end.ptr};
}

void PrintLine(const std::string& line) {
    const std::string shown = TerminalLine(line) + "\n";
    std::fwrite(shown.data(), 1, shown.size(), stdout);
}

}  // namespace vantor::wavehost
