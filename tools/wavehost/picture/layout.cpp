#include <algorithm>
#include <cmath>

#include "wavehost/picture/canvas.h"
#include "wavehost/picture/picture.h"
#include "wavehost/picture/style.h"

namespace vantor::wavehost {

namespace {

constexpr int32_t lowestLane = 2, readableLane = 16, lanesHeight = 330;
constexpr int32_t usualMargin = 12, tinyMargin = 2;
constexpr size_t mostRows = 24;
constexpr double namePadding = 8, longestName = 160;

// What an automatic height is made of.
int32_t WantedLanesHeight(const Picture& picture) {
    return std::max(lanesHeight, readableLane * static_cast<int32_t>(picture.channelNames.size()));
}

int32_t LabelWidth(Canvas& canvas, const Picture& picture, int32_t width) {
    double widest = 0;
    for (const std::string& name : picture.channelNames)
        widest = std::max(widest, canvas.TextWidth(name, textPixels));
    return static_cast<int32_t>(std::min(std::ceil(widest), std::min(width * 0.15, longestName)));
}

std::vector<MarkerFact> InOrder(std::vector<MarkerFact> markers) {
    std::stable_sort(markers.begin(), markers.end(), [](const MarkerFact& a, const MarkerFact& b) {
        return a.startSeconds < b.startSeconds;
    });
    return markers;
}

// Each name in the first row that is free at its place; one without room stays out rather than cover another.
void PlaceNames(Canvas& canvas, const Picture& picture, size_t rows, PictureLayout& layout) {
    const double start = picture.time.startSeconds, end = start + picture.time.lengthSeconds;
    std::vector<double> rowEnds(rows, 0.0);
    for (const MarkerFact& marker : InOrder(picture.markers)) {
        const double last = marker.isRegion ? marker.endSeconds : marker.startSeconds;
        if (marker.startSeconds > end || last < start) continue;
        const double x = layout.left + (std::max(marker.startSeconds, start) - start) /
                                           picture.time.lengthSeconds * layout.plotWidth;
        const std::string text = Shortened(
            canvas, marker.name.empty() ? std::to_string(marker.id) : marker.name, textPixels, longestName);
        const double width = canvas.TextWidth(text, textPixels) + namePadding;
        const double from = std::min(x, layout.width - width);  // at the right edge it moves to the left
        const auto row = std::find_if(rowEnds.begin(), rowEnds.end(), [&](double at) { return at <= from; });
        if (row == rowEnds.end()) {
            ++layout.namesLeftOut;
            continue;
        }
        *row = from + width;
        layout.names.push_back({from, x, static_cast<size_t>(row - rowEnds.begin()), text, marker.isRegion});
    }
}

size_t UsedRows(const PictureLayout& layout) {
    size_t rows = 0;
    for (const NameLabel& name : layout.names)
        rows = std::max(rows, name.row + 1);
    return rows;
}

}  // namespace

PictureLayout LayOut(const Picture& picture, int32_t width, std::optional<int32_t> height) {
    Canvas canvas(1, 1);  // to measure texts on
    PictureLayout layout{};
    layout.width = width;
    layout.isTiny = width < 240 || height.value_or(400) < 120;
    const int32_t margin = layout.isTiny ? tinyMargin : usualMargin;
    layout.left = layout.isTiny ? tinyMargin : LabelWidth(canvas, picture, width) + scaleWidth + margin;
    layout.plotWidth = width - layout.left - margin;
    const int32_t above = layout.isTiny ? tinyMargin : titleHeight;
    const int32_t below = layout.isTiny ? tinyAxisHeight : axisHeight;
    if (!layout.isTiny) {
        const int32_t spare = height ? (*height - above - below) * 2 / 5 / nameHeight : largestSide;
        PlaceNames(canvas, picture, std::min(static_cast<size_t>(spare), mostRows), layout);
    }
    layout.top = above + static_cast<int32_t>(UsedRows(layout)) * nameHeight + (layout.names.empty() ? 0 : 4);
    layout.height = std::min(height.value_or(layout.top + WantedLanesHeight(picture) + below), largestSide);
    layout.plotHeight = layout.height - layout.top - below;
    const auto channels = static_cast<int32_t>(picture.channelNames.size());
    layout.lanes = std::clamp(channels, 1, std::max(layout.plotHeight / lowestLane, 1));
    return layout;
}

}  // namespace vantor::wavehost
