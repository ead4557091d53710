// Texts compared as a person compares them: without regard to case, numbers by their value.
#pragma once

#include <string>
#include <string_view>

namespace vantor {

// Letters of the Latin, Greek, Cyrillic and Armenian scripts made small, each for itself; everything else,
// bytes that are no UTF-8 too, as it stands.
[[nodiscard]] std::string FoldCase(std::string_view text);

// Below, equal or above 0 as `left` comes before `right`: runs of digits by their value, so that "take 9"
// comes before "take 10", everything else byte by byte. For folded texts.
[[nodiscard]] int CompareNaturally(std::string_view left, std::string_view right);

}  // namespace vantor
