#include <cairo.h>

#include <cmath>

#include "wavehost/os/failure.h"
#include "wavehost/picture/canvas.h"

#if defined(__SANITIZE_ADDRESS__)
// The font library keeps what it has found until the process ends.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libfontconfig";
}
#endif

namespace vantor::wavehost {

namespace {

struct FreeCairo {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* canvas) const { cairo_destroy(canvas); }
};

}  // namespace

struct Canvas::Surface {
    std::unique_ptr<cairo_surface_t, FreeCairo> image;
    std::unique_ptr<cairo_t, FreeCairo> pen;

    void Use(const Colour& colour) const {
        cairo_set_source_rgba(pen.get(), colour.red, colour.green, colour.blue, colour.alpha);
    }
};

Canvas::Canvas(int32_t width, int32_t height) : surface_(std::make_unique<Surface>()) {
    surface_->image.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    surface_->pen.reset(cairo_create(surface_->image.get()));
    const cairo_status_t status = cairo_status(surface_->pen.get());
    if (status != CAIRO_STATUS_SUCCESS) throw Failure(cairo_status_to_string(status));
    cairo_select_font_face(surface_->pen.get(), "Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
}

Canvas::~Canvas() = default;

void Canvas::Fill(double x, double y, double width, double height, const Colour& colour) {
    surface_->Use(colour);
    cairo_rectangle(surface_->pen.get(), x, y, width, height);
    cairo_fill(surface_->pen.get());
}

void Canvas::Line(const Point& from, const Point& to, const Colour& colour, bool dashed) {
    constexpr double dash[] = {3, 3};
    cairo_t* pen = surface_->pen.get();
    surface_->Use(colour);
    cairo_set_dash(pen, dash, dashed ? 2 : 0, 0);
    cairo_set_line_width(pen, 1);
    cairo_move_to(pen, std::floor(from.x) + 0.5, std::floor(from.y) + 0.5);  // onto whole pixels
    cairo_line_to(pen, std::floor(to.x) + 0.5, std::floor(to.y) + 0.5);
    cairo_stroke(pen);
}

void Canvas::Shape(const std::vector<Point>& outline, const Colour& colour) {
    cairo_t* pen = surface_->pen.get();
    cairo_new_path(pen);
    for (const Point& point : outline)
        cairo_line_to(pen, point.x, point.y);
    cairo_close_path(pen);
    surface_->Use(colour);
    cairo_fill(pen);
}

double Canvas::TextWidth(const std::string& text, double pixels) {
    cairo_set_font_size(surface_->pen.get(), pixels);
    cairo_text_extents_t extents;
    cairo_text_extents(surface_->pen.get(), Drawable(text).c_str(), &extents);
    return extents.x_advance;
}

void Canvas::Text(double x, double baseline, const std::string& text, double pixels, const Colour& colour) {
    cairo_set_font_size(surface_->pen.get(), pixels);
    surface_->Use(colour);
    cairo_move_to(surface_->pen.get(), x, baseline);
    cairo_show_text(surface_->pen.get(), Drawable(text).c_str());
}

std::string Canvas::Png() {
    std::string bytes;
    const auto write = [](void* to, const unsigned char* from, unsigned count) {
        static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(from), count);
        return CAIRO_STATUS_SUCCESS;
    };
    cairo_surface_flush(surface_->image.get());
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface_->image.get(), write, &bytes);
    if (status != CAIRO_STATUS_SUCCESS) throw Failure(cairo_status_to_string(status));
    return bytes;
}

}  // namespace vantor::wavehost
