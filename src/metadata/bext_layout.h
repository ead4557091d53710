// The broadcast extension chunk `bext` (EBU Tech 3285, version 2). Numbers are little-endian.
//
// | offset | width | field                                                             |
// |      0 |   256 | Description                                                       |
// |    256 |    32 | Originator                                                        |
// |    288 |    32 | OriginatorReference                                               |
// |    320 |    10 | OriginationDate, yyyy-mm-dd                                       |
// |    330 |     8 | OriginationTime, hh:mm:ss                                         |
// |    338 |     8 | TimeReference, frames since midnight                              |
// |    346 |     2 | Version; the loudness fields count from 2 on                      |
// |    348 |    64 | UMID                                                              |
// |    412 |   2x5 | loudness: value (LUFS), range (LU), maximum true peak (dBTP),     |
// |        |       | maximum momentary and short-term loudness (LUFS), each in         |
// |        |       | hundredths, signed                                                |
// |    422 |   180 | reserved, zeros                                                   |
// |    602 |       | CodingHistory, neither read nor written                           |
#pragma once

#include <cstdint>

#include "metadata/text_field.h"

namespace vantor::bext {

inline constexpr size_t bodyBytes = 602;

inline constexpr TextField description = {"BWF:Description", 0, 256};
inline constexpr TextField originator = {"BWF:Originator", 256, 32};
inline constexpr TextField originatorReference = {"BWF:OriginatorReference", 288, 32};
inline constexpr TextField originationDate = {"BWF:OriginationDate", 320, 10};
inline constexpr TextField originationTime = {"BWF:OriginationTime", 330, 8};

inline constexpr const char* timeReferenceKey = "BWF:TimeReference";
inline constexpr size_t timeReferenceOffset = 338;
inline constexpr size_t versionOffset = 346;
inline constexpr uint16_t versionWithLoudness = 2;

inline constexpr size_t loudnessOffset = 412;
inline constexpr const char* loudnessKeys[] = {
    "BWF:LoudnessValue",        "BWF:LoudnessRange",        "BWF:MaxTruePeakLevel",
    "BWF:MaxMomentaryLoudness", "BWF:MaxShortTermLoudness",
};

}  // namespace vantor::bext
