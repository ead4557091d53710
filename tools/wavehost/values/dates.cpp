#include "wavehost/values/dates.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "wavehost/values/numbers.h"

namespace vantor::wavehost {

namespace {

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

// A number of exactly that many digits at a place of the text.
std::optional<unsigned> NumberAt(std::string_view text, size_t place, size_t digits) {
    if (place > text.size() || text.size() - place < digits) return std::nullopt;
    const std::string_view number = text.substr(place, digits);
    if (!std::ranges::all_of(number, IsDigit)) return std::nullopt;
    return static_cast<unsigned>(UnsignedOf(number).value_or(0));
}

bool IsDay(unsigned year, unsigned month, unsigned day) {
    namespace calendar = std::chrono;
    return calendar::year_month_day(calendar::year(static_cast<int>(year)), calendar::month(month),
                                    calendar::day(day))
        .ok();
}

bool IsBelow(std::optional<unsigned> number, unsigned limit) {
    return number && *number < limit;
}

// "hh:mm" with "hh:mm:ss" and parts of a second, and "Z" or a distance from it.
bool IsIsoTime(std::string_view time) {
    const size_t zone = time.find_first_of("Z+-");
    const std::string_view offset = zone == time.npos ? "Z" : time.substr(zone);
    if (offset != "Z" && !(offset.size() == 6 && offset[3] == ':' && IsBelow(NumberAt(offset, 1, 2), 24) &&
                           IsBelow(NumberAt(offset, 4, 2), 60)))
        return false;
    time = time.substr(0, zone);
    if (!IsBelow(NumberAt(time, 0, 2), 24)) return false;
    if (time.size() == 2) return zone == std::string_view::npos;
    if (time[2] != ':' || !IsBelow(NumberAt(time, 3, 2), 60)) return false;
    if (time.size() == 5) return true;
    if (time[5] != ':' || !IsBelow(NumberAt(time, 6, 2), 61)) return false;
    if (time.size() == 8) return true;
    return time[8] == '.' && time.size() > 9 && std::ranges::all_of(time.substr(9), IsDigit);
}

}  // namespace

bool IsBroadcastDate(std::string_view text) {
    const auto year = NumberAt(text, 0, 4), month = NumberAt(text, 5, 2), day = NumberAt(text, 8, 2);
    if (text.size() != 10 || !year || !month || !day) return false;
    return !IsDigit(text[4]) && !IsDigit(text[7]) && IsDay(*year, *month, *day);
}

bool IsBroadcastTime(std::string_view text) {
    if (!IsBelow(NumberAt(text, 0, 2), 24) || !IsBelow(NumberAt(text, 3, 2), 60) || IsDigit(text[2]))
        return false;
    return text.size() == 5 || (text.size() == 8 && !IsDigit(text[5]) && IsBelow(NumberAt(text, 6, 2), 61));
}

bool IsIsoDate(std::string_view text) {
    const auto year = NumberAt(text, 0, 4), month = NumberAt(text, 5, 2), day = NumberAt(text, 8, 2);
    if (!year) return false;
    if (text.size() == 4) return true;
    if (text[4] != '-' || !month || !IsDay(2000, *month, 1)) return false;
    if (text.size() == 7) return true;
    if (text[7] != '-' || !day || !IsDay(*year, *month, *day)) return false;
    if (text.size() == 10) return true;
    return (text[10] == 'T' || text[10] == ' ') && IsIsoTime(text.substr(11));
}

}  // namespace vantor::wavehost
