// An XMP packet as text, and how its properties and markers say their values: the one place that knows, for
// the reader who stores them and the patcher who changes them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/read/xmp_node.h"

namespace vantor {

// The packet in UTF-8, up to its first zero.
[[nodiscard]] std::string XmpPacketText(std::span<const uint8_t> packet);
enum class XmpEncoding { Utf8, Utf16Little, Utf16Big };
[[nodiscard]] XmpEncoding EncodingOfXmp(std::span<const uint8_t> packet);

// The parser takes decimal references only; line ends are common as "&#xA;" in packets. The text keeps its
// length, but for the private characters from U+F4240 on.
[[nodiscard]] std::string WithDecimalReferences(std::string_view text);

// What a property says, and where: its own text; of alternatives the item of language x-default, else the
// first; all items of a bag or sequence, joined with "; ".
struct XmpValue {
    std::string text;
    std::vector<XmpText> holders;          // of the text, or of one item each
    std::vector<const XmlElement*> items;  // the same items as a whole
    std::string language;                  // of an alternative
    const XmlAttribute* languageMark = nullptr;
    bool isList = false;
};
[[nodiscard]] XmpValue ReadXmpValue(const XmpNode& property);

// The properties in the two spaces that have keys: "XMP:dc/" or "XMP:dm/" and the name; empty for any other.
[[nodiscard]] std::string XmpKeyOf(XmpName name);
[[nodiscard]] bool IsXmpTracks(const XmpNode& property);
[[nodiscard]] bool IsXmpTimestamp(const XmpNode& property);
// True for the alternatives whose language is that of the file's texts.
[[nodiscard]] bool CarriesXmpLanguage(XmpName name);
// xmpDM:relativeTimestamp in milliseconds: its value counts units of "1/<N>" second or the like.
[[nodiscard]] std::string XmpTimestamp(const XmpNode& property);

inline constexpr std::string_view xmpDefaultLanguage = "x-default";
inline constexpr double xmpMarkerUnitsPerSecond = 1'000'000;

// Units a second: "f25", "f30000s1001" (30000 / 1001); 0 when there is none.
[[nodiscard]] double XmpFrameRate(std::string_view text);
// A frame count, which may bring its own rate ("48f24"), in marker units; without any rate as it stands.
[[nodiscard]] double XmpMarkerTime(std::string_view text, double trackRate);
// "start:end" or "start:end:name"; empty for a marker that has no place.
[[nodiscard]] std::string XmpMarkerText(const XmpNode& marker, double trackRate);

}  // namespace vantor
