#include "text/fold_case.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "text/text.h"

namespace vantor {

namespace {

// Capital letters beyond ASCII from `first` to `last`, each `step`-th one; the small letter stands `distance`
// behind.
struct CapitalRange {
    uint32_t first;
    uint32_t last;
    uint32_t step;
    uint32_t distance;
};

constexpr std::array capitals = {
    CapitalRange{0xC0, 0xD6, 1, 32},    CapitalRange{0xD8, 0xDE, 1, 32},    CapitalRange{0x100, 0x136, 2, 1},
    CapitalRange{0x139, 0x147, 2, 1},   CapitalRange{0x14A, 0x176, 2, 1},   CapitalRange{0x179, 0x17D, 2, 1},
    CapitalRange{0x1CD, 0x1DB, 2, 1},   CapitalRange{0x1DE, 0x1EE, 2, 1},   CapitalRange{0x1F8, 0x21E, 2, 1},
    CapitalRange{0x222, 0x232, 2, 1},   CapitalRange{0x386, 0x386, 1, 38},  CapitalRange{0x388, 0x38A, 1, 37},
    CapitalRange{0x38C, 0x38C, 1, 64},  CapitalRange{0x38E, 0x38F, 1, 63},  CapitalRange{0x391, 0x3AB, 1, 32},
    CapitalRange{0x400, 0x40F, 1, 80},  CapitalRange{0x410, 0x42F, 1, 32},  CapitalRange{0x460, 0x480, 2, 1},
    CapitalRange{0x48A, 0x4BE, 2, 1},   CapitalRange{0x4D0, 0x52E, 2, 1},   CapitalRange{0x531, 0x556, 1, 48},
    CapitalRange{0x1E00, 0x1E94, 2, 1}, CapitalRange{0x1EA0, 0x1EFE, 2, 1},
};

uint32_t SmallLetter(uint32_t codePoint) {
    const auto range = std::ranges::lower_bound(capitals, codePoint, {}, &CapitalRange::last);
    if (range == capitals.end() || codePoint < range->first) return codePoint;
    return (codePoint - range->first) % range->step == 0 ? codePoint + range->distance : codePoint;
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// Cuts the digits off the front; leading zeros do not count.
std::string_view TakeNumber(std::string_view& text) {
    const auto end = std::ranges::find_if_not(text, IsDigit);
    std::string_view digits = text.substr(0, static_cast<size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

}  // namespace

std::string FoldCase(std::string_view text) {
    std::string folded;
    folded.reserve(text.size());
    while (!text.empty()) {
        if (CharacterBytes(text) > 1) {
            AppendUtf8(folded, SmallLetter(TakeCodePoint(text)));
        } else {
            folded += LowerCase(text.front());
            text.remove_prefix(1);
        }
    }
    return folded;
}

int CompareNaturally(std::string_view left, std::string_view right) {
    while (!left.empty() && !right.empty()) {
        if (IsDigit(left.front()) && IsDigit(right.front())) {
            const std::string_view leftNumber = TakeNumber(left);
            const std::string_view rightNumber = TakeNumber(right);
            if (leftNumber.size() != rightNumber.size())
                return leftNumber.size() < rightNumber.size() ? -1 : 1;
            if (const int order = leftNumber.compare(rightNumber)) return order;
            continue;
        }
        if (left.front() != right.front())
            return static_cast<uint8_t>(left.front()) < static_cast<uint8_t>(right.front()) ? -1 : 1;
        left.remove_prefix(1);
        right.remove_prefix(1);
    }
    return static_cast<int>(!left.empty()) - static_cast<int>(!right.empty());
}

}  // namespace vantor
