// The tables of IMA ADPCM (IMA Digital Audio Focus and Technical Working Groups: Recommended Practices,
// revision 3.00) and of Microsoft ADPCM ("New Multimedia Data Types and Data Techniques", 1994), for the
// encoders of the samples and the plain decoders of the tests: written down a second time so that they judge
// the module's own.
#pragma once

#include <array>

namespace vantor::samples {

inline constexpr std::array<int, 89> stepSizes = {
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
inline constexpr std::array<int, 8> indexAdjustment = {-1, -1, -1, -1, 2, 4, 6, 8};
inline constexpr std::array<int, 16> msAdaptation = {230, 230, 230, 230, 307, 409, 512, 614,
                                                     768, 614, 512, 409, 307, 230, 230, 230};

}  // namespace vantor::samples
