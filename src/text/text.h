// Numbers and texts of metadata values, independent of the process's locale.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

// "%f" / "%.4f" and the like without a locale: `decimals` digits after a point.
[[nodiscard]] std::string FixedText(double value, int decimals);
// Removes trailing zeros after a "." or "," and the separator when nothing follows it; an empty result
// becomes "0".
[[nodiscard]] std::string TrimNumber(std::string_view text);
// Digits only, modulo 2^64; anything else, an empty text too, gives 0.
[[nodiscard]] uint64_t UnsignedDecimal(std::string_view text);
// Leading decimal number (blanks, sign, digits, point, exponent); 0 when there is none.
[[nodiscard]] double DecimalNumber(std::string_view text);
// The bytes up to the first NUL.
[[nodiscard]] std::string_view UpToNul(std::span<const uint8_t> bytes);

// Of the well-formed UTF-8 character that a text which is not empty begins with; 0 when there is none.
[[nodiscard]] size_t CharacterBytes(std::string_view text);
[[nodiscard]] bool IsValidUtf8(std::string_view text);
// Appends a code point; "_" is not substituted here: false for surrogates and values above 0x10FFFF.
bool AppendUtf8(std::string& text, uint32_t codePoint);
// Takes the first character off a text of valid UTF-8 that is not empty.
uint32_t TakeCodePoint(std::string_view& text);
// Every byte as one Latin-1 code point.
[[nodiscard]] std::string Latin1ToUtf8(std::string_view text);
// Valid UTF-8 as it stands, anything else read as Latin-1.
[[nodiscard]] std::string Utf8OrLatin1(std::string_view text);
// The same with Windows-1252, which has printable characters where Latin-1 has controls.
[[nodiscard]] std::string Utf8OrWindows1252(std::string_view text);
// At most `bytes` of the text, without a part of a UTF-8 character at the end.
[[nodiscard]] std::string_view CutAtCharacter(std::string_view text, size_t bytes);
// UTF-16 units; surrogate pairs joined, lone surrogates become U+FFFD; ends at the first zero unit.
[[nodiscard]] std::string Utf16ToUtf8(std::span<const uint8_t> bytes, bool bigEndian);

// Valid UTF-8 as UTF-16 units, without a byte-order mark of its own.
[[nodiscard]] std::vector<uint8_t> Utf8ToUtf16(std::string_view text, bool bigEndian);

// Strict, both: nothing for overlong forms, surrogates without a partner, and what is above U+10FFFF.
[[nodiscard]] std::optional<std::u16string> WideText(std::string_view utf8);
[[nodiscard]] std::optional<std::string> NarrowText(std::u16string_view wide);

// Of UTF-8: a byte that begins no character.
[[nodiscard]] constexpr bool IsContinuationByte(char byte) {
    return (static_cast<uint8_t>(byte) & 0xC0) == 0x80;
}

// Of ASCII.
[[nodiscard]] char LowerCase(char character);
// Case-insensitive ASCII comparison.
[[nodiscard]] bool EqualIgnoringCase(std::string_view left, std::string_view right);
[[nodiscard]] bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix);

}  // namespace vantor
