#include <windows.h>
// windows.h comes first: the headers below build on it.
#include <objidl.h>
// The drawing component wants these two names.
#include <algorithm>
#include <iterator>
namespace Gdiplus {
using std::max;
using std::min;
}  // namespace Gdiplus
#include <gdiplus.h>

#include <cmath>

#include "wavehost/os/failure.h"
#include "wavehost/os/system.h"
#include "wavehost/picture/canvas.h"

namespace vantor::wavehost {

namespace {

constexpr CLSID pngEncoder = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

Gdiplus::Color ColourOf(const Colour& colour) {
    const auto part = [](double value) { return static_cast<BYTE>(std::lround(value * 255)); };
    return {part(colour.alpha), part(colour.red), part(colour.green), part(colour.blue)};
}

Gdiplus::PointF PointOf(const Point& point) {
    return {static_cast<float>(point.x), static_cast<float>(point.y)};
}

std::wstring Wide(const std::string& text) {
    const std::string drawable = Drawable(text);
    return fs::path(std::u8string(drawable.begin(), drawable.end())).native();
}

// The drawing component of the system, while it lives.
class DrawingComponent {
  public:
    DrawingComponent() {
        const Gdiplus::GdiplusStartupInput input;
        if (Gdiplus::GdiplusStartup(&token_, &input, nullptr) != Gdiplus::Ok)
            throw Failure("the system's drawing component cannot be started");
    }
    ~DrawingComponent() { Gdiplus::GdiplusShutdown(token_); }
    DrawingComponent(const DrawingComponent&) = delete;
    DrawingComponent& operator=(const DrawingComponent&) = delete;

  private:
    ULONG_PTR token_ = 0;
};

// A family that is there: one made for screens, else whatever comes first; empty where there are no fonts.
std::wstring FamilyName() {
    for (const wchar_t* name : {L"Segoe UI", L"Tahoma", L"Arial", L"DejaVu Sans", L"Liberation Sans"})
        if (Gdiplus::FontFamily(name).IsAvailable()) return name;
    const Gdiplus::InstalledFontCollection installed;
    Gdiplus::FontFamily first;
    INT found = 0;
    wchar_t name[LF_FACESIZE] = L"";
    if (installed.GetFamilies(1, &first, &found) == Gdiplus::Ok && found == 1) first.GetFamilyName(name);
    return name;
}

struct ReleaseStream {
    void operator()(IStream* stream) const { stream->Release(); }
};

std::string ContentOf(IStream& stream) {
    HGLOBAL memory = nullptr;
    STATSTG statistics{};
    if (GetHGlobalFromStream(&stream, &memory) != S_OK || stream.Stat(&statistics, STATFLAG_NONAME) != S_OK)
        throw Failure("the picture cannot be read back");
    const auto* bytes = static_cast<const char*>(GlobalLock(memory));
    std::string content(bytes, static_cast<size_t>(statistics.cbSize.QuadPart));
    GlobalUnlock(memory);
    return content;
}

}  // namespace

struct Canvas::Surface {
    Surface(int32_t width, int32_t height)
        : image(width, height, PixelFormat32bppRGB),
          pen(&image),
          format(Gdiplus::StringFormat::GenericTypographic()),
          family(FamilyName().c_str()) {
        format.SetFormatFlags(format.GetFormatFlags() | Gdiplus::StringFormatFlagsMeasureTrailingSpaces |
                              Gdiplus::StringFormatFlagsNoWrap);
        pen.SetSmoothingMode(Gdiplus::SmoothingModeAntiAlias);
        pen.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf);  // 0, 0 is the corner of the first pixel
        pen.SetTextRenderingHint(Gdiplus::TextRenderingHintAntiAlias);
    }

    [[nodiscard]] Gdiplus::Font FontOf(double pixels) const {
        return {&family, static_cast<float>(pixels), Gdiplus::FontStyleRegular, Gdiplus::UnitPixel};
    }

    DrawingComponent component;  // before all that it draws
    Gdiplus::Bitmap image;
    Gdiplus::Graphics pen;
    Gdiplus::StringFormat format;
    Gdiplus::FontFamily family;
};

Canvas::Canvas(int32_t width, int32_t height) : surface_(std::make_unique<Surface>(width, height)) {
    if (surface_->image.GetLastStatus() != Gdiplus::Ok || surface_->pen.GetLastStatus() != Gdiplus::Ok)
        throw Failure("the system has no room for a picture of that size");
}

Canvas::~Canvas() = default;

void Canvas::Fill(double x, double y, double width, double height, const Colour& colour) {
    const Gdiplus::SolidBrush brush(ColourOf(colour));
    const Gdiplus::PointF corner = PointOf({x, y}), size = PointOf({width, height});
    surface_->pen.FillRectangle(&brush, corner.X, corner.Y, size.X, size.Y);
}

void Canvas::Line(const Point& from, const Point& to, const Colour& colour, bool dashed) {
    Gdiplus::Pen pen(ColourOf(colour), 1);
    constexpr float dash[] = {3, 3};
    if (dashed) pen.SetDashPattern(dash, 2);
    const auto onPixel = [](const Point& point) {
        return PointOf({std::floor(point.x) + 0.5, std::floor(point.y) + 0.5});
    };
    surface_->pen.DrawLine(&pen, onPixel(from), onPixel(to));
}

void Canvas::Shape(const std::vector<Point>& outline, const Colour& colour) {
    const Gdiplus::SolidBrush brush(ColourOf(colour));
    std::vector<Gdiplus::PointF> points;
    std::transform(outline.begin(), outline.end(), std::back_inserter(points), PointOf);
    surface_->pen.FillPolygon(&brush, points.data(), static_cast<INT>(points.size()),
                              Gdiplus::FillModeWinding);
}

double Canvas::TextWidth(const std::string& text, double pixels) {
    const std::wstring wide = Wide(text);
    const Gdiplus::Font font = surface_->FontOf(pixels);
    Gdiplus::RectF box;
    surface_->pen.MeasureString(wide.c_str(), static_cast<INT>(wide.size()), &font, Gdiplus::PointF(0, 0),
                                &surface_->format, &box);
    return box.Width;
}

void Canvas::Text(double x, double baseline, const std::string& text, double pixels, const Colour& colour) {
    const std::wstring wide = Wide(text);
    const Gdiplus::Font font = surface_->FontOf(pixels);
    const Gdiplus::SolidBrush brush(ColourOf(colour));
    const double ascent = pixels * surface_->family.GetCellAscent(Gdiplus::FontStyleRegular) /
                          std::max<double>(surface_->family.GetEmHeight(Gdiplus::FontStyleRegular), 1);
    surface_->pen.DrawString(wide.c_str(), static_cast<INT>(wide.size()), &font,
                             PointOf({x, baseline - ascent}), &surface_->format, &brush);
}

std::string Canvas::Png() {
    IStream* created = nullptr;
    if (CreateStreamOnHGlobal(nullptr, TRUE, &created) != S_OK) throw Failure("no room for the picture");
    const std::unique_ptr<IStream, ReleaseStream> stream(created);
    if (surface_->image.Save(stream.get(), &pngEncoder, nullptr) != Gdiplus::Ok)
        throw Failure("the system's drawing component cannot write the picture");
    return ContentOf(*stream);
}

}  // namespace vantor::wavehost
