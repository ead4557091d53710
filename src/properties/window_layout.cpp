#include "properties/window_layout.h"

#include <algorithm>

namespace vantor {

namespace {

// The measures that all places share.
struct Measures {
    explicit Measures(const LayoutInput& input)
        : line(input.lineHeight),
          margin(line * 3 / 4),
          gap(std::max(line / 2, 1)),
          field(line * 3 / 2),
          button(line * 7 / 4),
          buttonWidth(std::max(input.buttonWidth, line * 5)),
          panel(input.pictures == PictureShare::none || input.statusOnly ? 0 : line * 12) {}

    int line;
    int margin;
    int gap;
    int field;   // height of a line to type in
    int button;  // height
    int buttonWidth;
    int panel;  // width of the pictures' side
};

// Cuts boxes off a remaining area.
struct Area {
    Box rest;

    Box Top(int height, int gap) {
        const int taken = std::clamp(height, 0, rest.height);
        const Box cut{rest.left, rest.top, rest.width, taken};
        const int moved = std::min(taken + gap, rest.height);
        rest.top += moved;
        rest.height -= moved;
        return cut;
    }
    Box Bottom(int height, int gap) {
        const int taken = std::clamp(height, 0, rest.height);
        const Box cut{rest.left, rest.top + rest.height - taken, rest.width, taken};
        rest.height = std::max(rest.height - taken - gap, 0);
        return cut;
    }
    Box Left(int width, int gap) {
        const int taken = std::clamp(width, 0, rest.width);
        const Box cut{rest.left, rest.top, taken, rest.height};
        const int moved = std::min(taken + gap, rest.width);
        rest.left += moved;
        rest.width -= moved;
        return cut;
    }
    Box Right(int width, int gap) {
        const int taken = std::clamp(width, 0, rest.width);
        const Box cut{rest.left + rest.width - taken, rest.top, taken, rest.height};
        rest.width = std::max(rest.width - taken - gap, 0);
        return cut;
    }
};

// A line of text in the middle of a higher row.
Box MiddleLine(const Box& row, int lineHeight) {
    const int height = std::min(lineHeight, row.height);
    return {row.left, row.top + (row.height - height) / 2, row.width, height};
}

void PlaceButtons(WindowLayout& layout, Area row, const Measures& measures) {
    layout.close = row.Right(measures.buttonWidth, measures.gap);
    layout.copy = row.Right(measures.buttonWidth, measures.gap);
    layout.message = MiddleLine(row.rest, measures.line);
}

void PlacePictures(WindowLayout& layout, Area side, const Measures& measures, PictureShare share) {
    if (share == PictureShare::several) {
        Area row{side.Bottom(measures.button, measures.gap)};
        layout.previous = row.Left((row.rest.width - measures.gap) / 2, measures.gap);
        layout.next = row.rest;
    }
    constexpr int leastCaptionLines = 5;
    const int most = side.rest.height - leastCaptionLines * measures.line - measures.gap;
    layout.picture = side.Top(std::min(measures.panel, most), measures.gap);
    layout.caption = side.rest;
}

int WholeRows(int height, const LayoutInput& input) {
    const int rows = (height - input.listExtra) / std::max(input.rowHeight, 1);
    return rows < 1 ? height : input.listExtra + rows * input.rowHeight;
}

}  // namespace

WindowLayout LayOutWindow(const LayoutInput& input) {
    const Measures measures(input);
    WindowLayout layout;
    Area area{{measures.margin, measures.margin, std::max(input.width - 2 * measures.margin, 0),
               std::max(input.height - 2 * measures.margin, 0)}};
    layout.path = area.Top(measures.line, measures.gap);
    PlaceButtons(layout, {area.Bottom(measures.button, measures.gap)}, measures);
    if (input.statusOnly) {
        layout.value = area.rest;
        return layout;
    }
    Area filterRow{area.Top(measures.field, measures.gap)};
    layout.filterLabel = MiddleLine(filterRow.Left(input.filterLabelWidth, measures.gap), measures.line);
    layout.filter = filterRow.rest;
    if (measures.panel > 0)
        PlacePictures(layout, {area.Right(measures.panel, measures.gap)}, measures, input.pictures);
    const int leastValue = std::max(4 * measures.line + measures.gap, area.rest.height / 4);
    layout.list = area.Top(WholeRows(area.rest.height - measures.gap - leastValue, input), measures.gap);
    layout.value = area.rest;
    return layout;
}

InsideSize LeastSize(const LayoutInput& input) {
    const Measures measures(input);
    const int width = std::max(24 * measures.line, input.filterLabelWidth + 10 * measures.line);
    const int buttons = 2 * (measures.buttonWidth + measures.gap) + 8 * measures.line;
    const int side = measures.panel > 0 ? measures.panel + measures.gap : 0;
    return {std::max(width + side, buttons) + 2 * measures.margin, 24 * measures.line};
}

InsideSize FirstSize(const LayoutInput& input) {
    const InsideSize least = LeastSize(input);
    return {least.width + 22 * input.lineHeight, least.height + 10 * input.lineHeight};
}

Box FitInto(const Box& frame, int width, int height) {
    if (width < 1 || height < 1) return {};
    const double factor = std::min({1.0, frame.width / double(width), frame.height / double(height)});
    const int fitWidth = std::max(static_cast<int>(width * factor), 1);
    const int fitHeight = std::max(static_cast<int>(height * factor), 1);
    return {frame.left + (frame.width - fitWidth) / 2, frame.top + (frame.height - fitHeight) / 2, fitWidth,
            fitHeight};
}

}  // namespace vantor
