// What the fields of a cart chunk take.
#pragma once

#include <cstdint>
#include <string_view>

namespace vantor::cart {

// A number above 0 in 32 bits, decimal digits alone; 0 for anything else.
[[nodiscard]] int32_t PositiveNumber(std::string_view text);
// True for the keys of texts and levels; every other one with a usage of one to four characters is a timer.
[[nodiscard]] bool IsNamedField(std::string_view key);

}  // namespace vantor::cart
