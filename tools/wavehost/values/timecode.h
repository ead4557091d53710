// Places on the timeline as people write them, and the frames of sound since midnight that files hold.
//
// Timecode counts pictures, not seconds (SMPTE ST 12-1): at 29.97 pictures a second "01:00:00:00" is picture
// 108,000 and stands 3,603.6 seconds from the start. Drop-frame counting leaves out the first numbers of
// every minute but each tenth, so that the clock stays right; no picture is lost.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vantor::wavehost {

struct FrameRate {
    const char* name;                 // "29.97df"
    uint32_t numerator, denominator;  // pictures a second, exactly
    uint32_t count;                   // numbers in a second: 30 for 29.97
    bool dropsNumbers;
};

// All that are known, slowest first.
std::span<const FrameRate> FrameRates();
// "29.97df", "29.97 DF", "23.98", "30000/1001"; null when there is no such rate.
const FrameRate* FrameRateNamed(std::string_view text);
// The rate in iXML's SPEED: TIMECODE_RATE ("30000/1001", also "29.97") and TIMECODE_FLAG ("DF", "NDF"); null
// when it gives none. A flag that makes no sense for the rate is passed over.
const FrameRate* FrameRateOfIxml(std::string_view timecodeRate, std::string_view timecodeFlag);

// The picture that is shown at a sample, as HH:MM:SS:FF, with ";" before FF where numbers are dropped. Hours
// go on beyond 23. A picture's first sample is its start, rounded up or down: whichever a recorder wrote, its
// number is the same. Rates in Hz, taken to the next whole number.
std::string TimecodeText(uint64_t samples, double sampleRate, const FrameRate& rate);
// HH:MM:SS.mmm, to the nearest millisecond.
std::string ClockText(uint64_t samples, double sampleRate);

// Frames of sound for a place: "172800000" (frames), "3600.5s", "01:00:00.500", and with a rate "01:00:00:12"
// or, for drop-frame, "01:00:00;12". Throws Failure with the reason when it is none, or when it needs a rate
// and there is none.
uint64_t PositionOf(std::string_view text, double sampleRate, const FrameRate* rate);
// Whether a place is written as timecode, which needs a rate.
bool IsTimecode(std::string_view text);

}  // namespace vantor::wavehost
