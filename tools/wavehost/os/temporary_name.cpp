#include "wavehost/os/temporary_name.h"

#include <charconv>
#include <cstdio>
#include <random>

#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

constexpr std::string_view prefix = ".vantor-", suffix = ".tmp";
constexpr size_t numberDigits = 8;

}  // namespace

std::string TemporaryName() {
    char digits[2 * numberDigits + 1];
    std::snprintf(digits, sizeof digits, "%08x%08x", static_cast<unsigned>(ProcessNumber()),
                  std::random_device()());
    return std::string(prefix) + digits + std::string(suffix);
}

bool IsTemporaryName(std::string_view name) {
    return name.size() == prefix.size() + 2 * numberDigits + suffix.size() && name.starts_with(prefix) &&
           name.ends_with(suffix) &&
           name.find_first_not_of("0123456789abcdef", prefix.size()) == name.size() - suffix.size();
}

uint32_t OwnerIn(std::string_view temporaryName) {
    const std::string_view digits = temporaryName.substr(prefix.size(), numberDigits);
    uint32_t owner = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), owner, 16);
    return owner;
}

}  // namespace vantor::wavehost
