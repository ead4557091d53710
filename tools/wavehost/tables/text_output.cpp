#include "wavehost/tables/text_output.h"

#include <algorithm>

#include "wavehost/facts/messages.h"
#include "wavehost/tables/placement.h"

namespace vantor::wavehost {

namespace {

std::string Padded(const std::string& text, size_t width) {
    return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

void PrintPlacement(const SourceFacts& facts) {
    const auto placement = PlacementOf(facts.positionSeconds, facts.sampleRate, facts.metadata);
    if (!placement) return;
    std::string line = "  Position: " + std::to_string(placement->samples) + " samples, " + placement->clock;
    if (placement->rate)
        line += ", " + placement->timecode + " (" + placement->rate->name + " frames a second)";
    PrintLine(line);
}

}  // namespace

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
    PrintPlacement(facts);
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
