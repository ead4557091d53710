#include "wavehost/picture/picture.h"

#include <algorithm>
#include <cmath>

#include "wavehost/picture/canvas.h"
#include "wavehost/picture/style.h"

namespace vantor::wavehost {

namespace {

struct PeakSpan {
    double high;
    double low;
};

class Painter {
  public:
    Painter(const Picture& picture, const PictureLayout& layout, const PicturePeaks& peaks)
        : picture_(picture), layout_(layout), peaks_(peaks), canvas_(layout.width, layout.height) {}

    std::string Paint() {
        canvas_.Fill(0, 0, layout_.width, layout_.height, paper);
        for (int32_t lane = 0; lane < layout_.lanes; ++lane)
            LaneGround(lane);
        TimeAxis();
        for (const MarkerFact& marker : picture_.markers)
            if (marker.isRegion) Region(marker);
        MarkerLines();
        for (const SliceFact& slice : picture_.slices)
            TimeLine(slice.startSeconds, layout_.top, Bottom(), sliceColour, true);
        for (int32_t lane = 0; lane < layout_.lanes; ++lane)
            Wave(lane);
        if (layout_.isTiny) return canvas_.Png();
        for (const NameLabel& name : layout_.names)
            Name(name);
        const std::string title =
            Shortened(canvas_, picture_.title, titlePixels, layout_.width - layout_.left - 4);
        canvas_.Text(layout_.left, 17, title, titlePixels, textColour);
        return canvas_.Png();
    }

  private:
    [[nodiscard]] double Right() const { return layout_.left + layout_.plotWidth; }
    [[nodiscard]] double Bottom() const { return layout_.top + layout_.plotHeight; }
    [[nodiscard]] double XOf(double seconds) const {
        return layout_.left +
               (seconds - picture_.time.startSeconds) / picture_.time.lengthSeconds * layout_.plotWidth;
    }
    [[nodiscard]] double EndSeconds() const {
        return picture_.time.startSeconds + picture_.time.lengthSeconds;
    }
    [[nodiscard]] double LaneHeight() const {
        return static_cast<double>(layout_.plotHeight) / layout_.lanes;
    }
    [[nodiscard]] double LaneMiddle(int32_t lane) const { return layout_.top + LaneHeight() * (lane + 0.5); }
    // Half of the lane's height without the gap between two lanes.
    [[nodiscard]] double LaneReach() const {
        return std::max(LaneHeight() / 2 - (LaneHeight() > 12 ? 3 : 0.5), 0.5);
    }

    // `alignment`: the part of the text's width that stands left of x.
    void Text(double x, double y, const std::string& text, double pixels, double alignment) {
        canvas_.Text(x - canvas_.TextWidth(text, pixels) * alignment, y, text, pixels, textColour);
    }
    void TimeLine(double seconds, double top, double bottom, const Colour& colour, bool dashed) {
        if (seconds < picture_.time.startSeconds || seconds > EndSeconds()) return;
        canvas_.Line({XOf(seconds), top}, {XOf(seconds), bottom}, colour, dashed);
    }

    void LaneGround(int32_t lane);
    void LaneLabel(int32_t lane);
    [[nodiscard]] std::vector<PeakSpan> JoinedSpans(int32_t lane) const;
    void Wave(int32_t lane);
    void Overs(int32_t lane, const std::vector<PeakSpan>& spans);
    void TimeAxis();
    void Region(const MarkerFact& region);
    void MarkerLines();
    void Name(const NameLabel& name);

    const Picture& picture_;
    const PictureLayout& layout_;
    const PicturePeaks& peaks_;
    Canvas canvas_;
};

void Painter::LaneGround(int32_t lane) {
    const double middle = LaneMiddle(lane), reach = LaneReach();
    canvas_.Fill(layout_.left, middle - reach, layout_.plotWidth, 2 * reach, laneColour);
    canvas_.Line({static_cast<double>(layout_.left), middle}, {Right(), middle}, lineColour);
    if (!layout_.isTiny) LaneLabel(lane);
}

// Of lanes lower than their labels only every second, fourth ... has one.
void Painter::LaneLabel(int32_t lane) {
    const double middle = LaneMiddle(lane), reach = LaneReach();
    const double pixels = LaneHeight() < textPixels + 2 ? smallTextPixels : textPixels;
    int32_t every = 1;
    while (LaneHeight() * every < pixels + 1)
        every *= 2;
    if (lane % every == 0) {
        const double room = layout_.left - scaleWidth - 4;
        canvas_.Text(4, middle + pixels * 0.36,
                     Shortened(canvas_, picture_.channelNames[static_cast<size_t>(lane)], pixels, room + 8),
                     pixels, textColour);
    }
    if (LaneHeight() < 5 * textPixels) return;
    Text(layout_.left - 5, middle - reach + 8, "+1", smallTextPixels, 1);
    Text(layout_.left - 5, middle + 3, "0", smallTextPixels, 1);
    Text(layout_.left - 5, middle + reach - 1, "-1", smallTextPixels, 1);
}

// One outline: along the maxima and back along the minima, never thinner than a pixel.
void Painter::Wave(int32_t lane) {
    if (peaks_.columns < 1) return;
    const std::vector<PeakSpan> spans = JoinedSpans(lane);
    const double middle = LaneMiddle(lane), reach = LaneReach();
    const auto yOf = [&](double sample) { return middle - std::clamp(sample, -1.0, 1.0) * reach; };
    std::vector<Point> outline;
    double x = layout_.left;
    for (const PeakSpan& span : spans) {
        outline.push_back({x, yOf(span.high) - 0.5});
        outline.push_back({++x, yOf(span.high) - 0.5});
    }
    for (auto span = spans.rbegin(); span != spans.rend(); ++span) {
        outline.push_back({x, yOf(span->low) + 0.5});
        outline.push_back({--x, yOf(span->low) + 0.5});
    }
    canvas_.Shape(outline, waveColour);
    Overs(lane, spans);
}

// Samples beyond full scale: the column's half in another colour, from the middle to the lane's edge.
void Painter::Overs(int32_t lane, const std::vector<PeakSpan>& spans) {
    constexpr double leastWidth = 2;
    const double middle = LaneMiddle(lane), reach = LaneReach();
    for (size_t column = 0; column < spans.size(); ++column) {
        const double x = layout_.left + static_cast<double>(column);
        const double from = std::min(x, Right() - leastWidth);
        if (spans[column].high > 1) canvas_.Fill(from, middle - reach, leastWidth, reach, overColour);
        if (spans[column].low < -1) canvas_.Fill(from, middle, leastWidth, reach, overColour);
    }
}

// The columns of one channel, each drawn out to where it meets the one before: between two columns the
// waveform passes through every value.
std::vector<PeakSpan> Painter::JoinedSpans(int32_t lane) const {
    const size_t minima = peaks_.pairs.size() / 2;
    std::vector<PeakSpan> spans;
    PeakSpan before{};
    for (int32_t column = 0; column < peaks_.columns; ++column) {
        const size_t at =
            static_cast<size_t>(column) * static_cast<size_t>(layout_.lanes) + static_cast<size_t>(lane);
        const PeakSpan here{peaks_.pairs[at], peaks_.pairs[minima + at]};
        if (column == 0) before = here;
        spans.push_back({std::max(here.high, before.low), std::min(here.low, before.high)});
        before = here;
    }
    return spans;
}

void Painter::TimeAxis() {
    canvas_.Line({static_cast<double>(layout_.left), Bottom()}, {Right(), Bottom()}, textColour);
    if (layout_.isTiny) {
        const std::string start = TimeLabel(picture_.time, picture_.time.startSeconds);
        const std::string end = TimeLabel(picture_.time, EndSeconds());
        const double baseline = layout_.height - 2;
        Text(layout_.left, baseline, start, smallTextPixels, 0);
        const double both = canvas_.TextWidth(start + "  " + end, smallTextPixels);
        if (both < layout_.plotWidth) Text(Right(), baseline, end, smallTextPixels, 1);
        return;
    }
    const double leastDistance = canvas_.TextWidth("00:00:00:00", textPixels) + 20;
    for (const Tick& tick : TimeTicks(picture_.time, layout_.plotWidth, leastDistance)) {
        const double x = XOf(tick.seconds);
        canvas_.Line({x, static_cast<double>(layout_.top)}, {x, Bottom()}, gridColour);
        canvas_.Line({x, Bottom()}, {x, Bottom() + 5}, textColour);
        const double half = canvas_.TextWidth(tick.label, textPixels) / 2;
        Text(std::clamp(x, half + 2, layout_.width - half - 2), layout_.height - 8, tick.label, textPixels,
             0.5);
    }
}

void Painter::Region(const MarkerFact& region) {
    const double start = picture_.time.startSeconds;
    if (region.endSeconds < start || region.startSeconds > EndSeconds()) return;
    const double from = XOf(std::max(region.startSeconds, start));
    const double to = XOf(std::min(region.endSeconds, EndSeconds()));
    canvas_.Fill(from, layout_.top, std::max(to - from, 1.0), layout_.plotHeight, regionColour);
    TimeLine(region.endSeconds, layout_.top, Bottom(), regionEdge, true);
}

// Below the wave; where they stand close they fade, so that what lies between them is seen.
void Painter::MarkerLines() {
    constexpr double ampleDistance = 24, faintest = 0.3;
    const double shown = std::max<double>(static_cast<double>(picture_.markers.size()), 1);
    const double alpha = std::clamp(layout_.plotWidth / shown / ampleDistance, faintest, 1.0);
    for (const MarkerFact& marker : picture_.markers) {
        Colour colour = marker.isRegion ? regionEdge : markerColour;
        colour.alpha = alpha;
        TimeLine(marker.startSeconds, layout_.top, Bottom(), colour, false);
    }
    const double namesTop = layout_.isTiny ? layout_.top : titleHeight;
    for (const NameLabel& name : layout_.names) {
        Colour colour = name.isRegion ? regionEdge : markerColour;
        colour.alpha = alpha;
        const double top = namesTop + static_cast<double>(name.row) * nameHeight;
        canvas_.Line({name.lineX, top}, {name.lineX, static_cast<double>(layout_.top)}, colour);
    }
}

// On paper of its own: the lines of names above it pass below.
void Painter::Name(const NameLabel& name) {
    const double top = titleHeight + static_cast<double>(name.row) * nameHeight;
    canvas_.Fill(name.x + 1, top, canvas_.TextWidth(name.text, textPixels) + 4, nameHeight - 1, paper);
    canvas_.Text(name.x + 3, top + nameHeight - 3.5, name.text, textPixels,
                 name.isRegion ? regionEdge : markerColour);
}

}  // namespace

std::string DrawPicture(const Picture& picture, const PictureLayout& layout, const PicturePeaks& peaks) {
    return Painter(picture, layout, peaks).Paint();
}

}  // namespace vantor::wavehost
