#include "wavehost/values/value_checks.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "metadata/bext_layout.h"
#include "metadata/cart_layout.h"
#include "text/text.h"
#include "wavehost/values/dates.h"
#include "wavehost/values/keys.h"
#include "wavehost/values/numbers.h"
#include "wavehost/values/timecode.h"

namespace vantor::wavehost {

namespace {

using Check = std::string (*)(std::string_view value, double sampleRate);

// Timecode of a day, at rates a thousandth below the number of its pictures, and what rounding adds.
constexpr double longestDaySeconds = 24 * 3600 * 1.001 + 1e-6;

std::string FramesSinceMidnight(std::string_view value, double sampleRate) {
    const auto frames = UnsignedOf(value);
    if (!frames) return "is no number of samples; --position takes timecode";
    return static_cast<double>(*frames) > longestDaySeconds * sampleRate ? "lies beyond the 24 hours of a day"
                                                                         : "";
}

std::string Milliseconds(std::string_view value, double) {
    const auto milliseconds = UnsignedOf(value);
    if (!milliseconds) return "is no number of milliseconds";
    return static_cast<double>(*milliseconds) > longestDaySeconds * 1000 ? "lies beyond the 24 hours of a day"
                                                                         : "";
}

// Half of a 64-bit number; recorders write it with or without a sign.
std::string HalfNumber(std::string_view value, double) {
    const auto number = UnsignedOf(value.starts_with('-') ? value.substr(1) : value);
    const uint64_t most = value.starts_with('-') ? uint64_t{1} << 31 : UINT32_MAX;
    return number && *number <= most ? "" : "is no 32-bit number";
}

std::string BroadcastDate(std::string_view value, double) {
    return IsBroadcastDate(value) ? "" : "is no date yyyy-mm-dd";
}

std::string BroadcastTime(std::string_view value, double) {
    return IsBroadcastTime(value) ? "" : "is no time hh:mm:ss";
}

std::string IsoDate(std::string_view value, double) {
    return IsIsoDate(value) ? "" : "is no date yyyy, yyyy-mm or yyyy-mm-dd";
}

// Hundredths in 16 bits, of which those beyond 99.99 mean that there is none, as 0 does here.
std::string Loudness(std::string_view value, double) {
    const auto number = DecimalOf(value);
    if (!number) return "is no number";
    if (std::fabs(*number) > 99.99) return "lies beyond -99.99 to 99.99";
    return std::fabs(*number) < 0.005 ? "cannot be told from no value" : "";
}

std::string Tempo(std::string_view value, double) {
    const auto number = DecimalOf(value);
    if (!number) return "is no number";
    return *number >= 2 && *number <= 960 ? "" : "lies beyond 2 to 960 beats a minute";
}

std::string WholeNumber(std::string_view value, double) {
    return UnsignedOf(value) ? "" : "is no whole number";
}

// "3" or "3/12".
std::string NumberOfNumber(std::string_view value, double) {
    const size_t slash = value.find('/');
    const bool isPair = slash == value.npos || UnsignedOf(value.substr(slash + 1));
    return isPair && UnsignedOf(value.substr(0, slash)) ? "" : "is no number, nor a number of a number";
}

std::string PositiveNumber(std::string_view value, double) {
    const auto number = UnsignedOf(value);
    return number && *number > 0 && *number <= INT32_MAX ? "" : "is no number from 1 to 2147483647";
}

std::string FourDigits(std::string_view value, double) {
    return value.size() == 4 && UnsignedOf(value) ? "" : "has not four digits";
}

// ISO 3901: country, registrant, year and number; hyphens may stand between.
std::string RecordingCode(std::string_view value, double) {
    std::string code(value);
    std::erase(code, '-');
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const bool fits =
        code.size() == 12 && isLetter(code[0]) && isLetter(code[1]) &&
        std::all_of(code.begin() + 2, code.begin() + 5, [&](char c) { return isLetter(c) || isDigit(c); }) &&
        std::all_of(code.begin() + 5, code.end(), isDigit);
    return fits ? "" : "is no ISRC (CC-XXX-YY-NNNNN)";
}

std::string TrueOrFalse(std::string_view value, double) {
    return EqualIgnoringCase(value, "TRUE") || EqualIgnoringCase(value, "FALSE") ? ""
                                                                                 : "is not TRUE or FALSE";
}

std::string TimecodeRate(std::string_view value, double) {
    return FrameRateOfIxml(value, "") ? "" : "is no frame rate such as 25/1 or 30000/1001";
}

std::string TimecodeFlag(std::string_view value, double) {
    return value == "DF" || value == "NDF" ? "" : "is not DF or NDF";
}

// start:end or start:end:name, in microseconds.
std::string Marker(std::string_view value, double) {
    const size_t colon = value.find(':');
    const std::string_view rest = colon == value.npos ? "" : value.substr(colon + 1);
    const auto start = DecimalOf(value.substr(0, colon)), end = DecimalOf(rest.substr(0, rest.find(':')));
    return start && end && *start >= 0 && *end >= *start ? "" : "is not START:END or START:END:NAME";
}

struct Rule {
    std::string_view key;  // with "*" at its end: every key that begins so
    Check check;
};

constexpr Rule rules[] = {
    {positionField, Milliseconds},
    {"DATE", IsoDate},
    {"YEAR", IsoDate},
    {"BPM", Tempo},
    {"BWF:TimeReference", FramesSinceMidnight},
    {"BWF:OriginationDate", BroadcastDate},
    {"BWF:OriginationTime", BroadcastTime},
    {"BWF:Loudness*", Loudness},
    {"BWF:Max*", Loudness},
    {"IXML:BEXT:BWF_TIME_REFERENCE_*", HalfNumber},
    {"IXML:BEXT:BWF_ORIGINATION_DATE", BroadcastDate},
    {"IXML:BEXT:BWF_ORIGINATION_TIME", BroadcastTime},
    {"IXML:SPEED:TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_*", HalfNumber},
    {"IXML:SPEED:TIMESTAMP_SAMPLE_RATE", WholeNumber},
    {"IXML:SPEED:FILE_SAMPLE_RATE", WholeNumber},
    {"IXML:SPEED:DIGITIZER_SAMPLE_RATE", WholeNumber},
    {"IXML:SPEED:AUDIO_BIT_DEPTH", WholeNumber},
    {"IXML:SPEED:TIMECODE_RATE", TimecodeRate},
    {"IXML:SPEED:TIMECODE_FLAG", TimecodeFlag},
    {"IXML:CIRCLED", TrueOrFalse},
    {"IXML:NO_GOOD", TrueOrFalse},
    {"IXML:FALSE_START", TrueOrFalse},
    {"IXML:WILD_TRACK", TrueOrFalse},
    {"INFO:ICRD", IsoDate},
    {"ID3:TXXX:TIME_REFERENCE", FramesSinceMidnight},
    {"ID3:TYER", FourDigits},
    {"ID3:TDAT", FourDigits},
    {"ID3:TIME", FourDigits},
    {"ID3:TORY", FourDigits},
    {"ID3:TDEN", IsoDate},
    {"ID3:TDOR", IsoDate},
    {"ID3:TDRC", IsoDate},
    {"ID3:TDRL", IsoDate},
    {"ID3:TDTG", IsoDate},
    {"ID3:TBPM", Tempo},
    {"ID3:TRCK", NumberOfNumber},
    {"ID3:TPOS", NumberOfNumber},
    {"ID3:TLEN", WholeNumber},
    {"ID3:TDLY", WholeNumber},
    {"ID3:TSRC", RecordingCode},
    {"AXML:ISRC", RecordingCode},
    {"CART:StartDate", BroadcastDate},
    {"CART:EndDate", BroadcastDate},
    {"CART:StartTime", BroadcastTime},
    {"CART:EndTime", BroadcastTime},
    {"CART:LevelReference", PositiveNumber},
    {"XMP:dc/date", IsoDate},
    {"XMP:dm/tempo", Tempo},
    {"XMP:dm/relativeTimestamp", Milliseconds},
    {"XMP:MARK*", Marker},
};

bool Concerns(const Rule& rule, std::string_view key) {
    return rule.key.ends_with('*') ? key.starts_with(rule.key.substr(0, rule.key.size() - 1))
                                   : key == rule.key;
}

// Bytes that the key's field takes; 0: any number. The common description stands for that of `bext`.
size_t WidthOf(std::string_view key) {
    if (key == "DESC") key = bext::description.key;
    for (const TextField& field : {bext::description, bext::originator, bext::originatorReference})
        if (key == field.key) return field.width;
    for (const TextField& field : cart::textFields)
        if (key == field.key) return field.width;
    return 0;
}

// What stands in a document of XML, or may.
bool MayBeInXml(std::string_view key) {
    return key.find(':') == key.npos || key.starts_with("IXML:") || key.starts_with("ASWG:") ||
           key.starts_with("XMP:") || key.starts_with("BWF:") || key.starts_with("AXML:");
}

std::string TextObjection(std::string_view key, std::string_view value) {
    if (value.find('\0') != value.npos) return "holds a zero byte";
    if (!IsValidUtf8(value)) return "is no valid UTF-8";
    const auto isControl = [](char c) { return c >= 0 && c < ' ' && c != '\t' && c != '\n' && c != '\r'; };
    if (MayBeInXml(key) && std::ranges::any_of(value, isControl))
        return "holds a control character, which XML cannot carry";
    const size_t width = WidthOf(key);
    if (width == 0 || value.size() <= width) return {};
    return "takes " + std::to_string(value.size()) + " bytes, and the field " + std::to_string(width);
}

}  // namespace

std::string ValueObjection(std::string_view key, std::string_view value, double sampleRate) {
    if (value.empty()) return {};
    if (IsDescriptionOnly(key)) return "is made from no text; a picture is put in with 'meta embed'";
    if (std::string reason = TextObjection(key, value); !reason.empty()) return reason;
    for (const Rule& rule : rules)
        if (Concerns(rule, key)) return rule.check(value, sampleRate);
    const bool isTimer = key.starts_with(cart::timerPrefix) && WidthOf(key) == 0 && key != cart::tagTextKey;
    return isTimer ? PositiveNumber(value, sampleRate) : "";
}

}  // namespace vantor::wavehost
