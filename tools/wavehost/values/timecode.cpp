#include "wavehost/values/timecode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "text/text.h"
#include "wavehost/os/failure.h"
#include "wavehost/values/numbers.h"

namespace vantor::wavehost {

namespace {

constexpr FrameRate rates[] = {
    {"23.976", 24000, 1001, 24, false},
    {"24", 24, 1, 24, false},
    {"25", 25, 1, 25, false},
    {"29.97", 30000, 1001, 30, false},
    {"29.97df", 30000, 1001, 30, true},
    {"30", 30, 1, 30, false},
    {"30df", 30, 1, 30, true},
    {"47.95", 48000, 1001, 48, false},
    {"48", 48, 1, 48, false},
    {"50", 50, 1, 50, false},
    {"59.94", 60000, 1001, 60, false},
    {"59.94df", 60000, 1001, 60, true},
    {"60", 60, 1, 60, false},
    {"60df", 60, 1, 60, true},
    {"95.9", 96000, 1001, 96, false},
    {"96", 96, 1, 96, false},
    {"100", 100, 1, 100, false},
    {"119.88", 120000, 1001, 120, false},
    {"119.88df", 120000, 1001, 120, true},
    {"120", 120, 1, 120, false},
    {"120df", 120, 1, 120, true},
};

// Roundings of a rate ("23.98" for 24000/1001) come no further from it; its neighbours are four times as far.
constexpr double rateTolerance = 0.005;

constexpr uint64_t secondsAMinute = 60, minutesAnHour = 60;

const FrameRate* Find(double perSecond, bool dropsNumbers) {
    const auto* found = std::ranges::find_if(rates, [&](const FrameRate& rate) {
        return rate.dropsNumbers == dropsNumbers &&
               std::fabs(static_cast<double>(rate.numerator) / rate.denominator - perSecond) < rateTolerance;
    });
    return found == std::end(rates) ? nullptr : found;
}

// "30000/1001" or "29.97".
std::optional<double> Quotient(std::string_view text) {
    const size_t slash = text.find('/');
    const auto number = DecimalOf(Trimmed(text.substr(0, slash)));
    const auto divisor = slash == text.npos ? std::optional(1.0) : DecimalOf(Trimmed(text.substr(slash + 1)));
    if (!number || !divisor || !(*divisor > 0)) return std::nullopt;
    return *number / *divisor;
}

uint64_t WholeRate(double sampleRate) {
    return static_cast<uint64_t>(std::max(std::llround(sampleRate), 1LL));
}

// `denominator` seconds hold `numerator` pictures and this many samples: the span after which both begin
// anew, so that no product exceeds 64 bits.
uint64_t SpanSamples(double sampleRate, const FrameRate& rate) {
    return WholeRate(sampleRate) * rate.denominator;
}

uint64_t FirstSample(uint64_t picture, double sampleRate, const FrameRate& rate) {
    const uint64_t span = SpanSamples(sampleRate, rate), rest = picture % rate.numerator;
    return picture / rate.numerator * span + (rest * span + rate.numerator / 2) / rate.numerator;
}

// The last picture that starts before the end of the sample.
uint64_t PictureAt(uint64_t sample, double sampleRate, const FrameRate& rate) {
    const uint64_t span = SpanSamples(sampleRate, rate), rest = sample % span;
    return sample / span * rate.numerator + ((rest + 1) * rate.numerator + span - 1) / span - 1;
}

// How drop-frame counting leaves out numbers.
struct Dropping {
    explicit Dropping(const FrameRate& rate)
        : numbers(rate.dropsNumbers ? rate.count / 15 : 0),
          aMinute(secondsAMinute * rate.count - numbers),
          tenMinutes(10 * aMinute + numbers) {}
    uint64_t numbers;     // left out at a minute's start: 2 of 30
    uint64_t aMinute;     // pictures
    uint64_t tenMinutes;  // the first of them leaves out none
};

uint64_t NumberOf(uint64_t picture, const FrameRate& rate) {
    const Dropping dropping(rate);
    const uint64_t tens = picture / dropping.tenMinutes, rest = picture % dropping.tenMinutes;
    const uint64_t minutes = rest < dropping.numbers ? 0 : (rest - dropping.numbers) / dropping.aMinute;
    return picture + dropping.numbers * (tens * 9 + minutes);
}

std::string Clock(uint64_t seconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%02llu:%02llu:%02llu",
                  static_cast<unsigned long long>(seconds / secondsAMinute / minutesAnHour),
                  static_cast<unsigned long long>(seconds / secondsAMinute % minutesAnHour),
                  static_cast<unsigned long long>(seconds % secondsAMinute));
    return text;
}

std::string Digits(uint64_t number, size_t leastDigits) {
    std::string text = std::to_string(number);
    text.insert(0, leastDigits - std::min(leastDigits, text.size()), '0');
    return text;
}

[[noreturn]] void Refuse(std::string_view text, const std::string& reason) {
    throw Failure("the position '" + std::string(text) + "' " + reason);
}

constexpr const char* forms = "is not a number of samples, SECONDSs, HH:MM:SS.mmm or HH:MM:SS:FF";

// The next number of one or two digits, up to `separators` or the end.
uint64_t TakePart(std::string_view text, std::string_view& rest, std::string_view separators) {
    const std::string_view part = rest.substr(0, rest.find_first_of(separators));
    const auto number = part.size() <= 3 ? UnsignedOf(part) : std::nullopt;
    if (!number) Refuse(text, forms);
    rest.remove_prefix(part.size());
    return *number;
}

struct ClockTime {
    uint64_t minutes;  // since midnight
    uint64_t seconds;
};

ClockTime TakeClock(std::string_view text, std::string_view& rest) {
    std::array<uint64_t, 3> parts{};
    for (size_t i = 0; i < parts.size(); ++i) {
        parts[i] = TakePart(text, rest, ":;.,");
        if (i == 2) break;
        if (!rest.starts_with(':')) Refuse(text, forms);
        rest.remove_prefix(1);
    }
    if (parts[1] >= minutesAnHour) Refuse(text, "has more than 59 minutes");
    if (parts[2] >= secondsAMinute) Refuse(text, "has more than 59 seconds");
    return {parts[0] * minutesAnHour + parts[1], parts[2]};
}

uint64_t TimecodePosition(std::string_view text, double sampleRate, const FrameRate& rate) {
    std::string_view rest = text;
    const ClockTime clock = TakeClock(text, rest);
    if (rest.front() == ';' && !rate.dropsNumbers)
        Refuse(text, "is drop-frame timecode, and " + std::string(rate.name) + " counts every frame");
    rest.remove_prefix(1);
    const uint64_t frame = TakePart(text, rest, ":;");
    if (!rest.empty()) Refuse(text, forms);
    if (frame >= rate.count)
        Refuse(text, "has a frame number that " + std::string(rate.name) + " frames a second do not reach");
    const Dropping dropping(rate);
    const bool drops = clock.minutes % 10 != 0 && clock.seconds == 0;
    if (drops && frame < dropping.numbers) Refuse(text, "is a number that drop-frame timecode leaves out");
    const uint64_t number = (clock.minutes * secondsAMinute + clock.seconds) * rate.count + frame;
    const uint64_t left = dropping.numbers * (clock.minutes - clock.minutes / 10);
    return FirstSample(number - left, sampleRate, rate);
}

uint64_t ClockPosition(std::string_view text, double sampleRate) {
    std::string_view rest = text;
    const ClockTime clock = TakeClock(text, rest);
    std::optional<double> fraction = 0.0;
    if (!rest.empty()) fraction = DecimalOf("0" + std::string(rest));
    if (!fraction || rest.size() == 1) Refuse(text, forms);
    const double seconds = static_cast<double>(clock.minutes * secondsAMinute + clock.seconds);
    return static_cast<uint64_t>(std::llround(seconds * sampleRate + *fraction * sampleRate));
}

uint64_t SecondsPosition(std::string_view text, double sampleRate) {
    constexpr double most = 1e9;
    const auto seconds = DecimalOf(text.substr(0, text.size() - 1));
    if (!seconds || *seconds < 0 || *seconds > most) Refuse(text, forms);
    return static_cast<uint64_t>(std::llround(*seconds * sampleRate));
}

}  // namespace

std::span<const FrameRate> FrameRates() {
    return rates;
}

const FrameRate* FrameRateNamed(std::string_view text) {
    std::string_view number = Trimmed(text);
    const size_t flagStart = number.find_last_of("0123456789") + 1;
    const std::string_view flag = Trimmed(number.substr(flagStart));
    if (!flag.empty() && !EqualIgnoringCase(flag, "df") && !EqualIgnoringCase(flag, "ndf")) return nullptr;
    const auto perSecond = Quotient(number.substr(0, flagStart));
    return perSecond ? Find(*perSecond, EqualIgnoringCase(flag, "df")) : nullptr;
}

const FrameRate* FrameRateOfIxml(std::string_view timecodeRate, std::string_view timecodeFlag) {
    const auto perSecond = Quotient(Trimmed(timecodeRate));
    if (!perSecond) return nullptr;
    const FrameRate* dropping =
        EqualIgnoringCase(Trimmed(timecodeFlag), "DF") ? Find(*perSecond, true) : nullptr;
    return dropping ? dropping : Find(*perSecond, false);
}

std::string TimecodeText(uint64_t samples, double sampleRate, const FrameRate& rate) {
    const uint64_t number = NumberOf(PictureAt(samples, sampleRate, rate), rate);
    return Clock(number / rate.count) + (rate.dropsNumbers ? ";" : ":") +
           Digits(number % rate.count, rate.count > 100 ? 3 : 2);
}

std::string ClockText(uint64_t samples, double sampleRate) {
    const uint64_t rate = WholeRate(sampleRate);
    const uint64_t milliseconds = samples / rate * 1000 + (samples % rate * 1000 + rate / 2) / rate;
    return Clock(milliseconds / 1000) + "." + Digits(milliseconds % 1000, 3);
}

uint64_t PositionOf(std::string_view text, double sampleRate, const FrameRate* rate) {
    const std::string_view place = Trimmed(text);
    if (IsTimecode(place)) {
        if (!rate) Refuse(text, "is timecode, and neither --fps nor the file's iXML gives a frame rate");
        return TimecodePosition(place, sampleRate, *rate);
    }
    if (place.find(':') != place.npos) return ClockPosition(place, sampleRate);
    if (place.ends_with('s')) return SecondsPosition(place, sampleRate);
    const auto samples = UnsignedOf(place);
    if (!samples) Refuse(text, forms);
    return *samples;
}

bool IsTimecode(std::string_view text) {
    return std::ranges::count(text, ':') == 3 || text.find(';') != text.npos;
}

}  // namespace vantor::wavehost
