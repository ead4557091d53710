// The waveform as a picture.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

// Where the parts of a picture stand, in pixels.
struct PictureLayout {
    int32_t width;
    int32_t height;
    static constexpr int32_t left = 46, right = 12;  // margins beside the lanes
    static constexpr int32_t top = 54;               // title and two rows of names
    static constexpr int32_t bottom = 28;            // time axis
    static constexpr int32_t lowestLane = 4;

    [[nodiscard]] int32_t PlotWidth() const { return width - left - right; }
    [[nodiscard]] int32_t PlotHeight() const { return height - top - bottom; }
    [[nodiscard]] int32_t MostLanes() const { return std::max(PlotHeight() / lowestLane, 1); }
};

struct Picture {
    PictureLayout layout;
    std::string title;
    int32_t channels;           // lanes
    int32_t columns;            // with peaks; at most the plot's width
    std::vector<double> peaks;  // as ReadPeaks fills them: maxima of all channels, then minima
    double startSeconds;
    double lengthSeconds;
    std::vector<MarkerFact> markers;
    std::vector<SliceFact> slices;
};

// False in a build without a drawing library.
bool CanDraw();
// Writes the picture as PNG. Throws Failure.
void DrawPicture(const Picture& picture, const std::string& png);

}  // namespace vantor::wavehost
