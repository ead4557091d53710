// The `acid` chunk of loop files. Numbers are little-endian.
//
// | offset | width | field                                                                          |
// |      0 |     4 | flags: 0x01 one-shot, 0x02 root note set, 0x08 tempo valid, 0x10 no beat count |
// |      4 |     2 | root note, a MIDI note in the low byte                                         |
// |      6 |     6 | not used                                                                       |
// |     12 |     4 | number of beats                                                                |
// |     16 |     2 | meter denominator                                                              |
// |     18 |     2 | meter numerator                                                                |
// |     20 |     4 | tempo, beats a minute, a float                                                 |
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantor::acid {

inline constexpr size_t bodyBytes = 24;
inline constexpr size_t leastBytes = 16;  // of one that makes a loop: without meter and tempo

inline constexpr uint32_t flagOneShot = 0x01;
inline constexpr uint32_t flagRootNote = 0x02;
inline constexpr uint32_t flagTempo = 0x08;
inline constexpr uint32_t flagNoBeatCount = 0x10;

inline constexpr size_t flagsOffset = 0;
inline constexpr size_t rootNoteOffset = 4;
inline constexpr size_t beatCountOffset = 12;
inline constexpr size_t meterDenominatorOffset = 16;
inline constexpr size_t meterNumeratorOffset = 18;
inline constexpr size_t tempoOffset = 20;

// Beats a minute that a loop can have.
[[nodiscard]] constexpr bool IsTempo(double beats) {
    return beats >= 2.0 && beats <= 960.0;
}

inline constexpr uint32_t mostBeats = 1023;  // of a loop that has a count of them

inline constexpr int middleC = 60;  // the MIDI note that pitch classes are counted from

}  // namespace vantor::acid
