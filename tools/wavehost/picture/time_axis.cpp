#include "wavehost/picture/time_axis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vantor::wavehost {

namespace {

constexpr double secondsADay = 86400;
constexpr size_t mostTicks = 10000;

// The distance of two ticks: a round number of seconds, minutes or hours.
double TickStep(double least) {
    for (double decade = 1e-6; decade < 10; decade *= 10)
        for (const double digit : {1, 2, 5})
            if (digit * decade >= least && digit * decade <= 10) return digit * decade;
    for (const double step : {10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 43200, 86400})
        if (step >= least) return step;
    return std::ceil(least / secondsADay) * secondsADay;
}

// M:SS, or HH:MM:SS for a place on the timeline, with as many decimals as the step needs.
std::string ClockLabel(double seconds, double step, bool withHours) {
    const int decimals = step >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
    const double unit = std::pow(10, decimals);
    const double rounded = std::round(seconds * unit) / unit;
    const double minutes = std::floor(rounded / 60);
    const int width = decimals > 0 ? decimals + 3 : 2;
    char text[64];
    if (withHours)
        std::snprintf(text, sizeof text, "%02.0f:%02.0f:%0*.*f", std::floor(minutes / 60),
                      std::fmod(minutes, 60), width, decimals, rounded - minutes * 60);
    else
        std::snprintf(text, sizeof text, "%.0f:%0*.*f", minutes, width, decimals, rounded - minutes * 60);
    return text;
}

double OffsetSeconds(const ShownTime& time) {
    return static_cast<double>(time.positionSamples.value_or(0)) / time.sampleRate;
}

std::vector<Tick> ClockTicks(const ShownTime& time, double least) {
    const double step = TickStep(least), offset = OffsetSeconds(time);
    const double start = offset + time.startSeconds, end = start + time.lengthSeconds;
    std::vector<Tick> ticks;
    for (double number = std::ceil(start / step); number * step <= end && ticks.size() < mostTicks; ++number)
        ticks.push_back(
            {number * step - offset, ClockLabel(number * step, step, time.positionSamples.has_value())});
    return ticks;
}

// Ticks a few pictures apart, for less than a second from one to the next.
std::vector<Tick> PictureTicks(const ShownTime& time, double least) {
    const FrameRate& rate = *time.frameRate;
    const double pictureSeconds = static_cast<double>(rate.denominator) / rate.numerator;
    double pictures = 1;
    for (const double more : {1, 2, 5, 10, 15, 20, 30, 50, 60})
        if (rate.count % static_cast<uint32_t>(more) == 0 && (pictures = more) * pictureSeconds >= least)
            break;
    const double step = pictures * pictureSeconds, offset = OffsetSeconds(time);
    const double start = offset + time.startSeconds, end = start + time.lengthSeconds;
    std::vector<Tick> ticks;
    for (double number = std::ceil(start / step); number * step <= end && ticks.size() < mostTicks;
         ++number) {
        const auto samples = static_cast<uint64_t>(std::llround(number * step * time.sampleRate));
        ticks.push_back({number * step - offset, TimecodeText(samples, time.sampleRate, rate)});
    }
    return ticks;
}

// A second's first picture: where drop-frame counting leaves out its number, the next that there is.
std::string SecondLabel(uint64_t second, const FrameRate& rate) {
    const bool drops = rate.dropsNumbers && second % 60 == 0 && second / 60 % 10 != 0;
    char text[48];
    std::snprintf(
        text, sizeof text, "%02llu:%02llu:%02llu%c%02u", static_cast<unsigned long long>(second / 3600),
        static_cast<unsigned long long>(second / 60 % 60), static_cast<unsigned long long>(second % 60),
        rate.dropsNumbers ? ';' : ':', drops ? rate.count / 15 : 0);
    return text;
}

// Ticks where the timecode reads whole seconds, which are not always seconds of time.
std::vector<Tick> TimecodeTicks(const ShownTime& time, double least) {
    const auto step = static_cast<uint64_t>(TickStep(std::max(least, 1.0)));
    const double offset = OffsetSeconds(time), end = time.startSeconds + time.lengthSeconds;
    constexpr double mostDrift = 0.998;  // of timecode's seconds to those of time
    const double first = std::max((offset + time.startSeconds) * mostDrift - 1, 0.0);
    std::vector<Tick> ticks;
    for (uint64_t second = static_cast<uint64_t>(first) / step * step; ticks.size() < mostTicks;
         second += step) {
        const std::string label = SecondLabel(second, *time.frameRate);
        const double at =
            static_cast<double>(PositionOf(label, time.sampleRate, time.frameRate)) / time.sampleRate -
            offset;
        if (at > end) break;
        if (at >= time.startSeconds) ticks.push_back({at, label});
    }
    return ticks;
}

}  // namespace

std::vector<Tick> TimeTicks(const ShownTime& time, double plotWidth, double leastDistance) {
    const double least = time.lengthSeconds / plotWidth * leastDistance;
    constexpr double mostHours = 999;  // that timecode is written with
    const bool isFar = OffsetSeconds(time) + time.startSeconds + time.lengthSeconds > mostHours * 3600;
    if (!time.positionSamples || !time.frameRate || isFar) return ClockTicks(time, least);
    const double pictureSeconds =
        static_cast<double>(time.frameRate->denominator) / time.frameRate->numerator;
    if (least < pictureSeconds) return ClockTicks(time, least);  // closer than any two pictures
    return least < 0.5 ? PictureTicks(time, least) : TimecodeTicks(time, least);
}

std::string TimeLabel(const ShownTime& time, double seconds) {
    const double place = OffsetSeconds(time) + seconds;
    if (time.positionSamples && time.frameRate)
        return TimecodeText(static_cast<uint64_t>(std::llround(place * time.sampleRate)), time.sampleRate,
                            *time.frameRate);
    return ClockLabel(place, time.lengthSeconds < 10 ? 0.001 : 1, time.positionSamples.has_value());
}

}  // namespace vantor::wavehost
