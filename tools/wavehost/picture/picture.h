// The waveform as a picture: a lane a channel, a time axis below, and above, where they cover no sound, the
// names of markers and regions.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"
#include "wavehost/picture/time_axis.h"

namespace vantor::wavehost {

// What is drawn.
struct Picture {
    std::string title;
    std::vector<std::string> channelNames;  // one a channel
    ShownTime time;
    std::vector<MarkerFact> markers;
    std::vector<SliceFact> slices;
};

// Where the parts of it stand, in pixels.
struct NameLabel {
    double x;      // of the text's left end
    double lineX;  // of the marker
    size_t row;
    std::string text;
    bool isRegion;
};
struct PictureLayout {
    int32_t width, height;
    int32_t left, top, plotWidth, plotHeight;  // the lanes
    int32_t lanes;                             // the first of the channels, as many as there is room for
    bool isTiny;                               // room for the wave and two times alone
    std::vector<NameLabel> names;              // in rows above the lanes
    size_t namesLeftOut;
};

inline constexpr int32_t smallestWidth = 100, smallestHeight = 60, largestSide = 32000;

// Without a height the picture gets one in which every lane and every name can be read.
PictureLayout LayOut(const Picture& picture, int32_t width, std::optional<int32_t> height);

// The peaks of layout.plotWidth columns over the shown time, for layout.lanes channels: maxima column by
// column, then minima; `columns` of them are there.
struct PicturePeaks {
    int32_t columns = 0;
    std::vector<double> pairs;
};

// A PNG file.
std::string DrawPicture(const Picture& picture, const PictureLayout& layout, const PicturePeaks& peaks);

}  // namespace vantor::wavehost
