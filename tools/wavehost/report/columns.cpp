#include "wavehost/report/columns.h"

#include "wavehost/tables/csv.h"
#include "wavehost/values/shown_text.h"

namespace vantor::wavehost {

namespace {

std::string FormatText(const Take& take) {
    if (take.channels < 1) return "";
    return std::to_string(take.channels) + " ch, " + std::to_string(take.bitDepth) + " bit, " +
           RateText(take.sampleRate);
}

std::string TracksText(const Take& take) {
    std::string text;
    for (const std::string& name : take.tracks)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string FindingsText(const Take& take) {
    std::string text = take.obstacle.empty() ? "" : "error: " + take.obstacle;
    for (const TakeFinding& finding : take.findings)
        text += (text.empty() ? "" : "; ") + finding.severity + ": " + finding.text;
    return text;
}

constexpr ReportColumn columns[] = {
    {"Name", "text", [](const Take& take) { return take.file; }},
    {"Scene", "text", [](const Take& take) { return take.scene; }},
    {"Take", "text", [](const Take& take) { return take.take; }},
    {"Circled", "text", [](const Take& take) { return std::string(take.isCircled ? "yes" : ""); }},
    {"Position", "time", [](const Take& take) { return take.position; }},
    {"Length", "time",
     [](const Take& take) { return take.obstacle.empty() ? LengthText(take.lengthSeconds) : ""; }},
    {"Format", "text", FormatText},
    {"Tracks", "long", TracksText},
    {"Note", "long", [](const Take& take) { return take.note; }},
    {"Findings", "long", FindingsText},
};

}  // namespace

std::span<const ReportColumn> ReportColumns() {
    return columns;
}

std::string ReportCsv(const std::vector<Take>& takes) {
    CsvRow names;
    for (const ReportColumn& column : columns)
        names.emplace_back(column.name);
    std::string table = CsvLine(names);
    for (const Take& take : takes) {
        CsvRow cells;
        for (const ReportColumn& column : columns)
            cells.push_back(ShownText(column.text(take)));
        table += CsvLine(cells);
    }
    return table;
}

}  // namespace vantor::wavehost
