#include "wavehost/facts/report.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "wavehost/host/host_services.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

constexpr char deleteCharacter = 0x7F;

bool SteersTerminal(char c) {
    return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == deleteCharacter;
}

std::string Shown(std::string text) {
    std::replace_if(text.begin(), text.end(), SteersTerminal, ' ');
    return text;
}

std::string Padded(const std::string& text, size_t width) {
    return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

}  // namespace

void ReportFailure(const std::string& file, const std::string& message) {
    const std::string line = file.empty() ? message : file + ": " + message;
    // A bar may stand on the line.
    std::fprintf(stderr, "%swavehost: %s\n", IsTerminal(stderr) ? "\r\033[K" : "", Shown(line).c_str());
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
    const std::string shown = Shown(line) + "\n";
    std::fwrite(shown.data(), 1, shown.size(), stdout);
}

void PrintMarkers(const std::vector<MarkerFact>& markers) {
    for (const MarkerFact& marker : markers) {
        const std::string span =
            TimeText(marker.startSeconds) + (marker.isRegion ? " - " + TimeText(marker.endSeconds) : "");
        PrintLine(Padded(std::to_string(marker.id), 5) + (marker.isRegion ? "region  " : "marker  ") +
                  Padded(span, 25) + marker.name);
    }
}

void PrintSlices(const std::vector<SliceFact>& slices) {
    for (const SliceFact& slice : slices)
        PrintLine(Padded(std::to_string(slice.index), 5) + Padded(TimeText(slice.startSeconds), 12) +
                  "beat " + NumberText(slice.positionBeats));
}

void PrintFacts(const SourceFacts& facts) {
    PrintLine(facts.file + " (" + facts.type + ", " + TimeText(facts.lengthSeconds) + ")");
    size_t start = 0;
    while (start < facts.infoText.size()) {
        const size_t end = std::min(facts.infoText.find('\n', start), facts.infoText.size());
        const size_t shown = end > start && facts.infoText[end - 1] == '\r' ? end - 1 : end;
        PrintLine("  " + facts.infoText.substr(start, shown - start));
        start = end + 1;
    }
    if (!facts.slices.empty()) PrintLine("  Slices");
    PrintSlices(facts.slices);
}

}  // namespace vantor::wavehost
