#include "wavehost/values/numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vantor::wavehost {

namespace {

template <typename Number>
std::optional<Number> WholeNumber(std::string_view text) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stopped, failed] = std::from_chars(text.data(), end, number);
    if (failed != std::errc() || stopped != end) return std::nullopt;
    return number;
}

}  // namespace

std::optional<uint64_t> UnsignedOf(std::string_view text) {
    return WholeNumber<uint64_t>(text);
}

std::optional<double> DecimalOf(std::string_view text) {
    const auto number = WholeNumber<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

}  // namespace vantor::wavehost
