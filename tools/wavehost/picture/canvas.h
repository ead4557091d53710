// What a picture is painted on: rectangles, lines, shapes and texts, in pixels from the left upper corner.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vantor::wavehost {

struct Colour {
    double red, green, blue, alpha;  // 0..1
};

struct Point {
    double x, y;
};

class Canvas {
  public:
    // Throws Failure when there is no memory for it.
    Canvas(int32_t width, int32_t height);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void Fill(double x, double y, double width, double height, const Colour& colour);
    // One pixel wide.
    void Line(const Point& from, const Point& to, const Colour& colour, bool dashed = false);
    void Shape(const std::vector<Point>& outline, const Colour& colour);
    // Any text: what is not UTF-8, and what has no picture, comes out as something that has one.
    double TextWidth(const std::string& text, double pixels);
    void Text(double x, double baseline, const std::string& text, double pixels, const Colour& colour);
    // The picture as a PNG file.
    std::string Png();

  private:
    struct Surface;
    std::unique_ptr<Surface> surface_;
};

// As a canvas draws it: UTF-8 without control characters.
std::string Drawable(const std::string& text);
// The text, or as much of it as fits, with an ellipsis.
std::string Shortened(Canvas& canvas, const std::string& text, double pixels, double width);

}  // namespace vantor::wavehost
