// Where the parts of a properties window stand, in pixels, for any size, font and resolution.
#pragma once

namespace vantor {

struct Box {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

enum class PictureShare { none, one, several };

// What the places follow from: everything is a multiple of the font's size.
struct LayoutInput {
    int width = 0;  // of the window's inside
    int height = 0;
    int lineHeight = 16;       // of the font
    int filterLabelWidth = 0;  // of its text
    int rowHeight = 16;        // of the list
    int listExtra = 16;        // of its header and borders
    int buttonWidth = 0;       // of the longest text on a button, its margins included
    PictureShare pictures = PictureShare::none;
    bool statusOnly = false;  // there are no rows, but a text
};

// Boxes of parts that are not shown are empty.
struct WindowLayout {
    Box path;
    Box filterLabel;
    Box filter;
    Box list;
    Box value;
    Box picture;
    Box caption;
    Box previous;
    Box next;
    Box message;
    Box copy;
    Box close;
};

// The list's height makes up whole rows.
[[nodiscard]] WindowLayout LayOutWindow(const LayoutInput& input);

// The least and the first size of the window's inside.
struct InsideSize {
    int width = 0;
    int height = 0;
};
[[nodiscard]] InsideSize LeastSize(const LayoutInput& input);
[[nodiscard]] InsideSize FirstSize(const LayoutInput& input);

// The largest box of the shape of width x height in the middle of `frame`; not larger than width x height.
[[nodiscard]] Box FitInto(const Box& frame, int width, int height);

}  // namespace vantor
