// The measures and colours that all parts of a picture share.
#pragma once

#include <cstdint>

#include "wavehost/picture/canvas.h"

namespace vantor::wavehost {

inline constexpr double textPixels = 11, titlePixels = 12.5, smallTextPixels = 9;
inline constexpr int32_t titleHeight = 26, nameHeight = 14, axisHeight = 28, tinyAxisHeight = 11;
inline constexpr int32_t scaleWidth = 24;  // "+1", "0", "-1" beside a lane

inline constexpr Colour paper{1, 1, 1, 1}, laneColour{0.955, 0.965, 0.978, 1},
    waveColour{0.16, 0.42, 0.70, 1};
inline constexpr Colour overColour{0.90, 0.05, 0.10, 1};
inline constexpr Colour lineColour{0.70, 0.74, 0.79, 1}, gridColour{0.86, 0.88, 0.91, 1},
    textColour{0.20, 0.23, 0.28, 1};
inline constexpr Colour markerColour{0.72, 0.10, 0.42, 1}, regionColour{0.93, 0.60, 0.13, 0.18};
inline constexpr Colour regionEdge{0.70, 0.40, 0.02, 1}, sliceColour{0.13, 0.55, 0.33, 0.75};

}  // namespace vantor::wavehost
