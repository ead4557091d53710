#include "wavehost/tables/marker_table.h"

#include <cmath>

#include "wavehost/facts/messages.h"
#include "wavehost/os/terminal_text.h"
#include "wavehost/values/shown_text.h"

namespace vantor::wavehost {

namespace {

std::string FrameText(double seconds, double sampleRate) {
    return std::to_string(std::llround(seconds * sampleRate));
}

}  // namespace

CsvRow MarkerHeadings() {
    return {"FileName", "ID", "Type", "StartSeconds", "EndSeconds", "StartFrame", "EndFrame", "Name"};
}

CsvRow MarkerRow(const std::string& file, double sampleRate, const MarkerFact& marker) {
    return {file,
            std::to_string(marker.id),
            marker.isRegion ? "region" : "marker",
            NumberText(marker.startSeconds),
            marker.isRegion ? NumberText(marker.endSeconds) : "",
            FrameText(marker.startSeconds, sampleRate),
            marker.isRegion ? FrameText(marker.endSeconds, sampleRate) : "",
            ShownText(marker.name)};
}

CsvRow SliceHeadings() {
    return {"FileName", "Index", "StartSeconds", "StartFrame", "PositionBeats"};
}

CsvRow SliceRow(const std::string& file, double sampleRate, const SliceFact& slice) {
    return {file, std::to_string(slice.index), NumberText(slice.startSeconds),
            FrameText(slice.startSeconds, sampleRate), NumberText(slice.positionBeats)};
}

void PrintRow(const CsvRow& row) {
    PutTo(stdout, CsvLine(row));
}

}  // namespace vantor::wavehost
