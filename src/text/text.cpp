#include "text/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace vantor {

namespace {

constexpr std::string_view digits = "0123456789";

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// The lead bytes of UTF-8 with what may follow (Unicode, table of well-formed byte sequences): continuation
// bytes after the lead, and the range of the first of them, which keeps out overlong forms, surrogates and
// code points above 0x10FFFF.
struct LeadRange {
    uint8_t firstLead, lastLead;
    uint8_t continuations;
    uint8_t lowest, highest;
};
constexpr LeadRange leadRanges[] = {
    {0x00, 0x7F, 0, 0x00, 0x00}, {0xC2, 0xDF, 1, 0x80, 0xBF}, {0xE0, 0xE0, 2, 0xA0, 0xBF},
    {0xE1, 0xEC, 2, 0x80, 0xBF}, {0xED, 0xED, 2, 0x80, 0x9F}, {0xEE, 0xEF, 2, 0x80, 0xBF},
    {0xF0, 0xF0, 3, 0x90, 0xBF}, {0xF1, 0xF3, 3, 0x80, 0xBF}, {0xF4, 0xF4, 3, 0x80, 0x8F},
};

// ASCII bytes at the start, eight at a time: nearly all text is nothing else.
size_t AsciiBytes(std::string_view text) {
    size_t bytes = 0;
    for (uint64_t word = 0; bytes + sizeof word <= text.size(); bytes += sizeof word) {
        std::memcpy(&word, text.data() + bytes, sizeof word);
        if (word & 0x8080808080808080) break;
    }
    while (bytes < text.size() && static_cast<uint8_t>(text[bytes]) < 0x80)
        ++bytes;
    return bytes;
}

bool IsHighSurrogate(uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLowSurrogate(uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}
uint32_t Joined(uint32_t high, uint32_t low) {
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// The UTF-16 units of valid UTF-8.
template <typename Put>
void PutUnits(std::string_view text, Put put) {
    while (!text.empty()) {
        const uint32_t codePoint = TakeCodePoint(text);
        if (codePoint < 0x10000) {
            put(codePoint);
        } else {
            put(0xD800 + ((codePoint - 0x10000) >> 10));
            put(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        }
    }
}

}  // namespace

std::string FixedText(double value, int decimals) {
    constexpr size_t longestWholePart = 310;  // digits and sign of the largest double
    std::string text(longestWholePart + 1 + static_cast<size_t>(std::max(decimals, 0)), '\0');
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr;
    text.resize(static_cast<size_t>(end - text.data()));
    return text;
}

std::string TrimNumber(std::string_view text) {
    const auto separator = text.find_last_not_of(digits);
    if (separator != text.npos && (text[separator] == '.' || text[separator] == ',')) {
        text = text.substr(0, text.find_last_not_of('0') + 1);
        if (text.size() == separator + 1) text.remove_suffix(1);
    }
    return text.empty() ? "0" : std::string(text);
}

uint64_t UnsignedDecimal(std::string_view text) {
    uint64_t value = 0;
    for (const char character : text) {
        if (!IsDigit(character)) return 0;
        value = value * 10 + static_cast<uint64_t>(character - '0');
    }
    return value;
}

double DecimalNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    // from_chars would also take "inf" and "nan".
    if (text.empty() || (text[0] != '.' && !IsDigit(text[0]))) return 0;
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return negative ? -value : value;
}

std::string_view UpToNul(std::span<const uint8_t> bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return text.substr(0, text.find('\0'));
}

size_t CharacterBytes(std::string_view text) {
    const auto byteAt = [&](size_t index) { return static_cast<uint8_t>(text[index]); };
    const auto range =
        std::find_if(std::begin(leadRanges), std::end(leadRanges), [&](const LeadRange& candidate) {
            return byteAt(0) >= candidate.firstLead && byteAt(0) <= candidate.lastLead;
        });
    if (range == std::end(leadRanges) || text.size() <= range->continuations) return 0;
    if (range->continuations > 0 && (byteAt(1) < range->lowest || byteAt(1) > range->highest)) return 0;
    for (size_t i = 2; i <= range->continuations; ++i)
        if ((byteAt(i) & 0xC0) != 0x80) return 0;
    return range->continuations + 1u;
}

bool IsValidUtf8(std::string_view text) {
    for (text.remove_prefix(AsciiBytes(text)); !text.empty(); text.remove_prefix(AsciiBytes(text))) {
        const auto length = CharacterBytes(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

bool AppendUtf8(std::string& text, uint32_t codePoint) {
    const bool isSurrogate = codePoint >= 0xD800 && codePoint < 0xE000;
    if (isSurrogate || codePoint > 0x10FFFF) return false;
    const auto put = [&](uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto putContinuation = [&](int shift) { put(0x80 | (codePoint >> shift & 0x3F)); };
    if (codePoint < 0x80) {
        put(codePoint);
        return true;
    }
    const int continuations = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    constexpr uint32_t leads[] = {0xC0, 0xE0, 0xF0};
    put(leads[continuations - 1] | codePoint >> (6 * continuations));
    for (int i = continuations - 1; i >= 0; --i)
        putContinuation(6 * i);
    return true;
}

uint32_t TakeCodePoint(std::string_view& text) {
    const auto byteAt = [&](size_t index) { return static_cast<uint8_t>(text[index]); };
    const size_t bytes = byteAt(0) < 0x80 ? 1 : byteAt(0) < 0xE0 ? 2 : byteAt(0) < 0xF0 ? 3 : 4;
    uint32_t codePoint = bytes == 1 ? byteAt(0) : byteAt(0) & (0xFFu >> (bytes + 1));
    for (size_t i = 1; i < bytes; ++i)
        codePoint = codePoint << 6 | (byteAt(i) & 0x3F);
    text.remove_prefix(bytes);
    return codePoint;
}

std::string Latin1ToUtf8(std::string_view text) {
    std::string converted;
    converted.reserve(text.size());
    for (const char character : text)
        AppendUtf8(converted, static_cast<uint8_t>(character));
    return converted;
}

std::string Utf8OrLatin1(std::string_view text) {
    return IsValidUtf8(text) ? std::string(text) : Latin1ToUtf8(text);
}

std::string Utf8OrWindows1252(std::string_view text) {
    // From 0x80 on; the five that stand for nothing stay what they are in Latin-1.
    constexpr uint16_t upper[] = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                  0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};
    if (IsValidUtf8(text)) return std::string(text);
    std::string converted;
    for (const char character : text) {
        const auto byte = static_cast<uint8_t>(character);
        AppendUtf8(converted, byte >= 0x80 && byte < 0xA0 ? upper[byte - 0x80] : byte);
    }
    return converted;
}

std::string_view CutAtCharacter(std::string_view text, size_t bytes) {
    if (text.size() <= bytes) return text;
    while (bytes > 0 && IsContinuationByte(text[bytes]))
        --bytes;
    return text.substr(0, bytes);
}

std::string Utf16ToUtf8(std::span<const uint8_t> bytes, bool bigEndian) {
    constexpr uint32_t replacement = 0xFFFD;
    const size_t units = bytes.size() / 2;
    const auto unitAt = [&](size_t index) -> uint32_t {
        if (index >= units) return 0;
        const size_t first = 2 * index;
        return static_cast<uint16_t>(bytes[first + !bigEndian] << 8 | bytes[first + bigEndian]);
    };
    std::string text;
    for (size_t i = 0; const uint32_t unit = unitAt(i); ++i) {
        if (IsHighSurrogate(unit) && IsLowSurrogate(unitAt(i + 1))) {
            ++i;
            AppendUtf8(text, Joined(unit, unitAt(i)));
        } else if (!AppendUtf8(text, unit)) {
            AppendUtf8(text, replacement);
        }
    }
    return text;
}

std::vector<uint8_t> Utf8ToUtf16(std::string_view text, bool bigEndian) {
    std::vector<uint8_t> units;
    PutUnits(text, [&](uint32_t unit) {
        const auto high = static_cast<uint8_t>(unit >> 8), low = static_cast<uint8_t>(unit);
        units.push_back(bigEndian ? high : low);
        units.push_back(bigEndian ? low : high);
    });
    return units;
}

std::optional<std::u16string> WideText(std::string_view utf8) {
    if (!IsValidUtf8(utf8)) return std::nullopt;
    std::u16string wide;
    wide.reserve(utf8.size());
    PutUnits(utf8, [&](uint32_t unit) { wide += static_cast<char16_t>(unit); });
    return wide;
}

std::optional<std::string> NarrowText(std::u16string_view wide) {
    std::string text;
    for (size_t i = 0; i < wide.size(); ++i) {
        uint32_t code = wide[i];
        if (IsHighSurrogate(code) && i + 1 < wide.size() && IsLowSurrogate(wide[i + 1]))
            code = Joined(code, wide[++i]);
        if (!AppendUtf8(text, code)) return std::nullopt;
    }
    return text;
}

char LowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && StartsWithIgnoringCase(left, right);
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [](char left, char right) { return LowerCase(left) == LowerCase(right); });
}

}  // namespace vantor
