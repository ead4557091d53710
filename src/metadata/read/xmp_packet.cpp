#include "metadata/read/xmp_packet.h"

#include <cmath>
#include <utility>

#include "text/text.h"

namespace vantor {

namespace {

// The value of hexadecimal digits that a ";" ends, -1 for anything else.
int64_t HexReference(std::string_view text) {
    int64_t value = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char digit = text[i];
        if (digit == ';') return i == 0 ? -1 : value;
        const size_t place = std::string_view("0123456789abcdefABCDEF").find(digit);
        if (place == std::string_view::npos) return -1;
        value = value * 16 + static_cast<int64_t>(place < 16 ? place : place - 6);
    }
    return -1;
}

}  // namespace

XmpEncoding EncodingOfXmp(std::span<const uint8_t> packet) {
    const auto begins = [&](uint8_t first, uint8_t second) {
        return packet.size() >= 2 && packet[0] == first && packet[1] == second;
    };
    if (begins(0xFE, 0xFF) || begins(0, '<')) return XmpEncoding::Utf16Big;
    if (begins(0xFF, 0xFE) || begins('<', 0)) return XmpEncoding::Utf16Little;
    return XmpEncoding::Utf8;
}

std::string XmpPacketText(std::span<const uint8_t> packet) {
    const auto encoding = EncodingOfXmp(packet);
    if (encoding != XmpEncoding::Utf8) return Utf16ToUtf8(packet, encoding == XmpEncoding::Utf16Big);
    return std::string(UpToNul(packet));
}

std::string WithDecimalReferences(std::string_view text) {
    constexpr std::string_view start = "&#x";
    std::string result;
    for (size_t found; (found = text.find(start)) != text.npos;) {
        const std::string_view rest = text.substr(found + start.size());
        const int64_t codePoint = HexReference(rest.substr(0, 8));
        result.append(text.substr(0, found));
        if (codePoint < 0) {
            result.append(start);
            text = rest;
            continue;
        }
        const size_t digits = rest.find(';');
        const auto decimal = std::to_string(codePoint);
        const size_t zeros = digits + 1 > decimal.size() ? digits + 1 - decimal.size() : 0;
        result.append("&#").append(zeros, '0').append(decimal).append(";");
        text = rest.substr(digits + 1);
    }
    return result.append(text);
}

std::string XmpKeyOf(XmpName name) {
    const bool isDublinCore = name.space == XmpSpace::DublinCore;
    if (name.local.empty() || (!isDublinCore && name.space != XmpSpace::DynamicMedia)) return {};
    return (isDublinCore ? "XMP:dc/" : "XMP:dm/") + Utf8OrLatin1(name.local);
}

bool IsXmpTracks(const XmpNode& property) {
    return property.Is(XmpSpace::DynamicMedia, "Tracks");
}

bool IsXmpTimestamp(const XmpNode& property) {
    return property.Is(XmpSpace::DynamicMedia, "relativeTimestamp");
}

bool CarriesXmpLanguage(XmpName name) {
    return name == XmpName{XmpSpace::DublinCore, "title"} ||
           name == XmpName{XmpSpace::DublinCore, "description"};
}

namespace {

XmpValue Alternative(const XmpNode& alternatives) {
    XmpValue chosen;
    alternatives.ForEachChild([&](const XmpNode& item) {
        const XmlAttribute* mark = item.Attribute(XmpSpace::Xml, "lang");
        const std::string language = mark ? Utf8OrLatin1(mark->value) : std::string();
        const bool isDefault = language == xmpDefaultLanguage && chosen.language != xmpDefaultLanguage;
        if (!item.Is(XmpSpace::Rdf, "li") || !(chosen.text.empty() || isDefault)) return;
        auto text = item.Text();
        chosen = {text.text, {text}, {&item.Element()}, language, mark, false};
    });
    return chosen;
}

}  // namespace

XmpValue ReadXmpValue(const XmpNode& property) {
    const XmpText own = property.Text();
    XmpValue value{own.text, {own}, {}, {}, nullptr, false};
    if (!value.text.empty()) return value;
    property.ForEachChild([&](const XmpNode& container) {
        if (container.Is(XmpSpace::Rdf, "Alt")) value = Alternative(container);
    });
    if (!value.text.empty()) return value;
    XmpValue list{{}, {}, {}, value.language, value.languageMark, true};
    property.ForEachItem([&](const XmpNode& item) {
        auto text = item.Text();
        if (text.text.empty()) return;
        list.text.append(list.text.empty() ? "" : "; ").append(text.text);
        list.holders.push_back(std::move(text));
        list.items.push_back(&item.Element());
    });
    return list.text.empty() ? value : list;
}

std::string XmpTimestamp(const XmpNode& property) {
    std::string value = property.Field("value").text;
    const std::string scale = property.Field("scale").text;
    if (value.empty()) return ReadXmpValue(property).text;
    if (scale.empty() || scale == "1/1000") return value;
    const size_t slash = scale.find('/');
    const double divisor = slash == scale.npos ? 1 : DecimalNumber(scale.substr(slash + 1));
    const double milliseconds = DecimalNumber(value) * DecimalNumber(scale) * 1000 / divisor;
    return std::isfinite(milliseconds) ? FixedText(milliseconds, 0) : value;
}

double XmpFrameRate(std::string_view text) {
    if (!text.starts_with('f')) return 0;
    text.remove_prefix(1);
    const size_t divisorMark = text.find('s');
    const double divisor = divisorMark == text.npos ? 1 : DecimalNumber(text.substr(divisorMark + 1));
    return divisor > 0 ? DecimalNumber(text) / divisor : 0;
}

double XmpMarkerTime(std::string_view text, double trackRate) {
    const size_t rateMark = text.find('f');
    const double ownRate = rateMark == text.npos ? 0 : XmpFrameRate(text.substr(rateMark));
    const double rate = ownRate > 0 ? ownRate : trackRate;
    return DecimalNumber(text) * (rate > 0 ? xmpMarkerUnitsPerSecond / rate : 1);
}

std::string XmpMarkerText(const XmpNode& marker, double trackRate) {
    const std::string startTime = marker.Field("startTime").text;
    const double start = XmpMarkerTime(startTime, trackRate);
    const double end = start + XmpMarkerTime(marker.Field("duration").text, trackRate);
    if (startTime.empty() || !(start >= 0 && end >= start && std::isfinite(end))) return {};
    const std::string name = marker.Field("name").text;
    return FixedText(start, 0) + ":" + FixedText(end, 0) + (name.empty() ? "" : ":" + name);
}

}  // namespace vantor
