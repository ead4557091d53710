// The cart chunk (AES46): labels and timers of radio automation. Numbers are little-endian and signed.
//
// | offset | width | field                                                                  |
// |      0 |     4 | Version, "0101"                                                        |
// |      4 |    64 | Title                                                                  |
// |     68 |    64 | Artist                                                                 |
// |    132 |    64 | CutID                                                                  |
// |    196 |    64 | ClientID                                                               |
// |    260 |    64 | Category                                                               |
// |    324 |    64 | Classification                                                         |
// |    388 |    64 | OutCue                                                                 |
// |    452 |    10 | StartDate                                                              |
// |    462 |     8 | StartTime                                                              |
// |    470 |    10 | EndDate                                                                |
// |    480 |     8 | EndTime                                                                |
// |    488 |    64 | ProducerAppID                                                          |
// |    552 |    64 | ProducerAppVersion                                                     |
// |    616 |    64 | UserDef                                                                |
// |    680 |     4 | LevelReference, sample value of 0 dB                                   |
// |    684 |   8x8 | post timers: usage (4 characters), position in frames (4)              |
// |    748 |   276 | reserved, zeros                                                        |
// |   1024 |  1024 | URL                                                                    |
// |   2048 |       | TagText, to the end                                                    |
#pragma once

#include "metadata/text_field.h"

namespace vantor::cart {

inline constexpr size_t fixedBytes = 2048;  // all but the tag text

inline constexpr TextField textFields[] = {
    {"CART:Title", 4, 64},
    {"CART:Artist", 68, 64},
    {"CART:CutID", 132, 64},
    {"CART:ClientID", 196, 64},
    {"CART:Category", 260, 64},
    {"CART:Classification", 324, 64},
    {"CART:OutCue", 388, 64},
    {"CART:StartDate", 452, 10},
    {"CART:StartTime", 462, 8},
    {"CART:EndDate", 470, 10},
    {"CART:EndTime", 480, 8},
    {"CART:ProducerAppID", 488, 64},
    {"CART:ProducerAppVersion", 552, 64},
    {"CART:UserDef", 616, 64},
    {"CART:URL", 1024, 1024},
};

inline constexpr const char* levelReferenceKey = "CART:LevelReference";
inline constexpr size_t levelReferenceOffset = 680;

inline constexpr const char* timerPrefix = "CART:";  // followed by the timer's usage
inline constexpr size_t timersOffset = 684;
inline constexpr size_t timerCount = 8;
inline constexpr size_t timerBytes = 8;
inline constexpr size_t usageBytes = 4;

inline constexpr const char* tagTextKey = "CART:TagText";

}  // namespace vantor::cart
