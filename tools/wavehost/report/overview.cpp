#include "wavehost/report/overview.h"

#include <algorithm>

namespace vantor::wavehost {

namespace {

// Every value once, in the order of the takes; takes without one do not count.
template <typename ValueOf>
std::string Together(const std::vector<Take>& takes, const ValueOf& valueOf) {
    std::vector<std::string> values;
    for (const Take& take : takes) {
        std::string value = take.obstacle.empty() ? valueOf(take) : std::string();
        if (!value.empty() && std::ranges::find(values, value) == values.end())
            values.push_back(std::move(value));
    }
    std::string together;
    for (const std::string& value : values)
        together += (together.empty() ? "" : ", ") + value;
    return together;
}

std::string CountText(const std::vector<Take>& takes) {
    const auto circled = std::ranges::count_if(takes, [](const Take& take) { return take.isCircled; });
    const std::string count = std::to_string(takes.size());
    return circled == 0 ? count : count + ", " + std::to_string(circled) + " circled";
}

void Put(std::vector<OverviewRow>& rows, const OverviewRow& row) {
    const auto same = std::ranges::find(rows, row.first, &OverviewRow::first);
    if (same != rows.end())
        same->second = row.second;
    else
        rows.push_back(row);
}

}  // namespace

std::vector<OverviewRow> OverviewOf(const std::vector<Take>& takes,
                                    const std::vector<OverviewRow>& additions) {
    double seconds = 0;
    for (const Take& take : takes)
        seconds += take.lengthSeconds;
    std::vector<OverviewRow> rows = {
        {"Project", Together(takes, [](const Take& take) { return take.project; })},
        {"Roll", Together(takes, [](const Take& take) { return take.roll; })},
        {"Date", Together(takes, [](const Take& take) { return take.date; })},
        {"Sample rate", Together(takes, [](const Take& take) { return RateText(take.sampleRate); })},
        {"Bit depth", Together(takes, [](const Take& take) { return std::to_string(take.bitDepth); })},
        {"Frame rate", Together(takes, [](const Take& take) { return take.frameRate; })},
        {"Takes", CountText(takes)},
        {"Length", LengthText(seconds)},
    };
    for (const OverviewRow& addition : additions)
        Put(rows, addition);
    std::erase_if(rows, [](const OverviewRow& row) { return row.second.empty(); });
    return rows;
}

}  // namespace vantor::wavehost
