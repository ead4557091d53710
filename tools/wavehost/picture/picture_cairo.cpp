#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "wavehost/files/output_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/picture/picture.h"

#if defined(__SANITIZE_ADDRESS__)
// The font library keeps what it has found until the process ends.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libfontconfig";
}
#endif

namespace vantor::wavehost {

namespace {

struct Colour {
    double red, green, blue, alpha;
};
constexpr Colour paper{1, 1, 1, 1}, laneColour{0.955, 0.965, 0.978, 1}, waveColour{0.16, 0.42, 0.70, 1};
constexpr Colour lineColour{0.70, 0.74, 0.79, 1}, gridColour{0.86, 0.88, 0.91, 1},
    textColour{0.20, 0.23, 0.28, 1};
constexpr Colour markerColour{0.80, 0.16, 0.20, 1}, regionColour{0.93, 0.60, 0.13, 0.18};
constexpr Colour regionEdge{0.78, 0.46, 0.04, 1}, sliceColour{0.13, 0.55, 0.33, 0.75};

constexpr double textPixels = 11, titlePixels = 12.5;
constexpr double titleBaseline = 17;
constexpr std::array<double, 2> nameBaselines{33, 47};
constexpr double smallestTickDistance = 84;

struct FreeCairo {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* canvas) const { cairo_destroy(canvas); }
};

struct PeakSpan {
    double high;
    double low;
};

// The drawing library refuses text that is not UTF-8; control characters have no picture either.
std::string Drawable(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
        bool whole = length > 0 && lead < 0xF5 && i + length <= text.size();
        for (size_t k = 1; whole && k < length; ++k)
            whole = (text[i + k] & 0xC0) == 0x80;
        const auto second = whole && length > 2 ? static_cast<unsigned char>(text[i + 1]) : 0xA0u;
        whole = whole && !(lead == 0xE0 && second < 0xA0) && !(lead == 0xED && second >= 0xA0) &&
                !(lead == 0xF0 && second < 0x90) && !(lead == 0xF4 && second >= 0x90 && length == 4);
        if (whole && lead >= ' ' && lead != 0x7F)
            out += text.substr(i, length);
        else
            out += '?';
        i += whole ? length : 1;
    }
    return out;
}

class Painter {
  public:
    explicit Painter(const Picture& picture)
        : picture_(picture),
          layout_(picture.layout),
          surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, layout_.width, layout_.height)),
          canvas_(cairo_create(surface_.get())) {}

    void Paint() {
        Fill(0, 0, layout_.width, layout_.height, paper);
        Text(PictureLayout::left, titleBaseline, picture_.title, titlePixels, textColour);
        for (int32_t channel = 0; channel < picture_.channels; ++channel)
            LaneGround(channel);
        TimeAxis();
        for (const MarkerFact& marker : picture_.markers)
            if (marker.isRegion) Region(marker);
        for (int32_t channel = 0; channel < picture_.channels; ++channel)
            Wave(channel);
        for (const SliceFact& slice : picture_.slices)
            TimeLine(slice.startSeconds, Top(), sliceColour, true);
        Markers();
    }

    void Write(const fs::path& file) {
        Stream stream(OpenStream(file, "wb"));
        if (!stream) throw Failure("cannot be created");
        const auto write = [](void* to, const unsigned char* bytes, unsigned count) {
            return std::fwrite(bytes, 1, count, static_cast<std::FILE*>(to)) == count
                       ? CAIRO_STATUS_SUCCESS
                       : CAIRO_STATUS_WRITE_ERROR;
        };
        const cairo_status_t status = cairo_surface_write_to_png_stream(surface_.get(), write, stream.get());
        const bool closed = std::fclose(stream.release()) == 0;
        if (status != CAIRO_STATUS_SUCCESS) throw Failure(cairo_status_to_string(status));
        if (!closed) throw Failure("cannot be written");
    }

  private:
    [[nodiscard]] double Top() const { return PictureLayout::top; }
    [[nodiscard]] double Bottom() const { return layout_.height - PictureLayout::bottom; }
    [[nodiscard]] double Right() const { return layout_.width - PictureLayout::right; }
    [[nodiscard]] double XOf(double seconds) const {
        return PictureLayout::left +
               (seconds - picture_.startSeconds) / picture_.lengthSeconds * layout_.PlotWidth();
    }
    [[nodiscard]] bool IsShown(double seconds) const {
        return seconds >= picture_.startSeconds && seconds <= picture_.startSeconds + picture_.lengthSeconds;
    }
    [[nodiscard]] double LaneHeight() const {
        return static_cast<double>(layout_.PlotHeight()) / picture_.channels;
    }
    [[nodiscard]] double LaneMiddle(int32_t channel) const { return Top() + LaneHeight() * (channel + 0.5); }
    // Half of the lane's height without the gap between two lanes.
    [[nodiscard]] double LaneReach() const {
        return std::max(LaneHeight() / 2 - (LaneHeight() > 12 ? 3 : 0.5), 0.5);
    }

    void Use(const Colour& colour) {
        cairo_set_source_rgba(canvas_.get(), colour.red, colour.green, colour.blue, colour.alpha);
    }
    void Fill(double x, double y, double width, double height, const Colour& colour) {
        Use(colour);
        cairo_rectangle(canvas_.get(), x, y, width, height);
        cairo_fill(canvas_.get());
    }
    // A line one pixel wide that falls onto whole pixels.
    void Line(double x1, double y1, double x2, double y2, const Colour& colour) {
        Use(colour);
        cairo_set_line_width(canvas_.get(), 1);
        cairo_move_to(canvas_.get(), std::floor(x1) + 0.5, std::floor(y1) + 0.5);
        cairo_line_to(canvas_.get(), std::floor(x2) + 0.5, std::floor(y2) + 0.5);
        cairo_stroke(canvas_.get());
    }
    void TimeLine(double seconds, double top, const Colour& colour, bool dashed) {
        if (!IsShown(seconds)) return;
        constexpr double dash[] = {3, 3};
        cairo_set_dash(canvas_.get(), dash, dashed ? 2 : 0, 0);
        Line(XOf(seconds), top, XOf(seconds), Bottom(), colour);
        cairo_set_dash(canvas_.get(), dash, 0, 0);
    }
    double TextWidth(const std::string& text, double pixels) {
        cairo_select_font_face(canvas_.get(), "Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(canvas_.get(), pixels);
        cairo_text_extents_t extents;
        cairo_text_extents(canvas_.get(), Drawable(text).c_str(), &extents);
        return extents.x_advance;
    }
    // `alignment`: the part of the text's width that stands left of x.
    void Text(double x, double y, const std::string& text, double pixels, const Colour& colour,
              double alignment = 0) {
        const double width = TextWidth(text, pixels);
        Use(colour);
        cairo_move_to(canvas_.get(), x - width * alignment, y);
        cairo_show_text(canvas_.get(), Drawable(text).c_str());
    }

    void LaneGround(int32_t channel);
    [[nodiscard]] std::vector<PeakSpan> JoinedSpans(int32_t channel) const;
    void Wave(int32_t channel);
    void TimeAxis();
    void Region(const MarkerFact& region);
    void Markers();
    void Name(const MarkerFact& marker);

    const Picture& picture_;
    PictureLayout layout_;
    std::unique_ptr<cairo_surface_t, FreeCairo> surface_;
    std::unique_ptr<cairo_t, FreeCairo> canvas_;
    std::array<double, nameBaselines.size()> namesEnd_{};  // where the last name of each row ends
};

void Painter::LaneGround(int32_t channel) {
    const double middle = LaneMiddle(channel), reach = LaneReach();
    Fill(PictureLayout::left, middle - reach, layout_.PlotWidth(), 2 * reach, laneColour);
    Line(PictureLayout::left, middle, Right(), middle, lineColour);
    if (LaneHeight() < textPixels + 2) return;
    Text(10, middle + 4, std::to_string(channel + 1), textPixels, textColour);
    if (LaneHeight() < 6 * textPixels) return;
    Text(PictureLayout::left - 5, middle - reach + 8, "+1", textPixels - 2, textColour, 1);
    Text(PictureLayout::left - 5, middle + 3, "0", textPixels - 2, textColour, 1);
    Text(PictureLayout::left - 5, middle + reach - 1, "-1", textPixels - 2, textColour, 1);
}

// One outline: along the maxima and back along the minima, never thinner than a pixel.
void Painter::Wave(int32_t channel) {
    if (picture_.columns < 1) return;
    const std::vector<PeakSpan> spans = JoinedSpans(channel);
    const double middle = LaneMiddle(channel), reach = LaneReach();
    const auto yOf = [&](double sample) { return middle - std::clamp(sample, -1.0, 1.0) * reach; };
    cairo_t* canvas = canvas_.get();
    cairo_new_path(canvas);
    double x = PictureLayout::left;
    for (const PeakSpan& span : spans) {
        cairo_line_to(canvas, x, yOf(span.high) - 0.5);
        cairo_line_to(canvas, ++x, yOf(span.high) - 0.5);
    }
    for (auto span = spans.rbegin(); span != spans.rend(); ++span) {
        cairo_line_to(canvas, x, yOf(span->low) + 0.5);
        cairo_line_to(canvas, --x, yOf(span->low) + 0.5);
    }
    cairo_close_path(canvas);
    Use(waveColour);
    cairo_fill(canvas);
}

// The columns of one channel, each drawn out to where it meets the one before: between two columns the
// waveform passes through every value.
std::vector<PeakSpan> Painter::JoinedSpans(int32_t channel) const {
    const size_t minima = picture_.peaks.size() / 2;
    std::vector<PeakSpan> spans;
    PeakSpan before{};
    for (int32_t column = 0; column < picture_.columns; ++column) {
        const size_t at = static_cast<size_t>(column) * static_cast<size_t>(picture_.channels) +
                          static_cast<size_t>(channel);
        const PeakSpan here{picture_.peaks[at], picture_.peaks[minima + at]};
        if (column == 0) before = here;
        spans.push_back({std::max(here.high, before.low), std::min(here.low, before.high)});
        before = here;
    }
    return spans;
}

// The distance of two ticks: a round number of seconds, minutes or hours.
double TickStep(double secondsPerPixel) {
    const double least = secondsPerPixel * smallestTickDistance;
    for (double decade = 1e-6; decade < 10; decade *= 10)
        for (const double digit : {1, 2, 5})
            if (digit * decade >= least && digit * decade <= 10) return digit * decade;
    for (const double step : {15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 43200, 86400})
        if (step >= least) return step;
    return std::ceil(least / 86400) * 86400;
}

std::string TickLabel(double seconds, double step) {
    const int decimals = step >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
    const double unit = std::pow(10, decimals);
    const double rounded = std::round(seconds * unit) / unit;
    const double minutes = std::floor(rounded / 60);
    char text[64];
    std::snprintf(text, sizeof text, "%.0f:%0*.*f", minutes, decimals > 0 ? decimals + 3 : 2, decimals,
                  rounded - minutes * 60);
    return text;
}

void Painter::TimeAxis() {
    const double step = TickStep(picture_.lengthSeconds / layout_.PlotWidth());
    const double end = picture_.startSeconds + picture_.lengthSeconds;
    Line(PictureLayout::left, Bottom(), Right(), Bottom(), textColour);
    for (double tick = std::ceil(picture_.startSeconds / step); tick * step <= end; ++tick) {
        const double x = XOf(tick * step);
        Line(x, Top(), x, Bottom(), gridColour);
        Line(x, Bottom(), x, Bottom() + 5, textColour);
        const std::string label = TickLabel(tick * step, step);
        const double half = TextWidth(label, textPixels) / 2;
        Text(std::clamp(x, half + 2, layout_.width - half - 2), layout_.height - 8, label, textPixels,
             textColour, 0.5);
    }
}

void Painter::Region(const MarkerFact& region) {
    const double end = picture_.startSeconds + picture_.lengthSeconds;
    if (region.endSeconds < picture_.startSeconds || region.startSeconds > end) return;
    const double from = XOf(std::max(region.startSeconds, picture_.startSeconds));
    const double to = XOf(std::min(region.endSeconds, end));
    Fill(from, Top(), std::max(to - from, 1.0), Bottom() - Top(), regionColour);
    TimeLine(region.endSeconds, Top(), regionEdge, true);
}

void Painter::Markers() {
    std::vector<MarkerFact> inOrder = picture_.markers;
    std::stable_sort(inOrder.begin(), inOrder.end(), [](const MarkerFact& a, const MarkerFact& b) {
        return a.startSeconds < b.startSeconds;
    });
    for (const MarkerFact& marker : inOrder) {
        const bool reachesIn = marker.isRegion && marker.startSeconds < picture_.startSeconds &&
                               marker.endSeconds > picture_.startSeconds;
        TimeLine(marker.startSeconds, Top(), marker.isRegion ? regionEdge : markerColour, false);
        if (reachesIn || IsShown(marker.startSeconds)) Name(marker);
    }
}

// In the first row that is free there; a name without room stays out rather than cover another.
void Painter::Name(const MarkerFact& marker) {
    const double x = XOf(std::max(marker.startSeconds, picture_.startSeconds));
    const std::string name = marker.name.empty() ? std::to_string(marker.id) : marker.name;
    const double width = TextWidth(name, textPixels) + 8;
    for (size_t row = 0; row < nameBaselines.size(); ++row) {
        if (x < namesEnd_[row] || x + width > layout_.width + 4) continue;
        const Colour& colour = marker.isRegion ? regionEdge : markerColour;
        if (IsShown(marker.startSeconds)) Line(x, nameBaselines[row] - 9, x, Top(), colour);
        Text(x + 4, nameBaselines[row], name, textPixels, colour);
        namesEnd_[row] = x + width;
        return;
    }
}

}  // namespace

bool CanDraw() {
    return true;
}

void DrawPicture(const Picture& picture, const std::string& png) {
    Painter painter(picture);
    painter.Paint();
    OutputFile file(PathOf(png));
    painter.Write(file.WriteTo());
    file.TakePlace();
}

}  // namespace vantor::wavehost
