// XMP (ISO 16684-1): the Dublin Core and Dynamic Media properties of an RDF/XML packet become "XMP:dc/<name>"
// and "XMP:dm/<name>", the markers of all tracks "XMP:MARK000" and so on.
//   simple property, attribute or element   its text
//   rdf:Bag, rdf:Seq                        the items, joined with "; "
//   rdf:Alt                                 the item of language x-default, else the first; a title's or
//                                           description's language becomes "XMP:dc/language"
//   xmpDM:relativeTimestamp                 milliseconds
//   xmpDM:Tracks                            "start:end" or "start:end:name" a marker, in microseconds
// Other structures are skipped.
#include <cmath>
#include <string>

#include "metadata/read/read_metadata.h"
#include "metadata/read/xmp_node.h"
#include "metadata/xmp_marker.h"
#include "text/text.h"
#include "xml/xml_parser.h"

namespace vantor {

namespace {

constexpr double markerUnitsPerSecond = 1'000'000;

std::string TextOf(std::span<const uint8_t> packet) {
    const auto begins = [&](uint8_t first, uint8_t second) {
        return packet.size() >= 2 && packet[0] == first && packet[1] == second;
    };
    if (begins(0xFE, 0xFF) || begins(0, '<')) return Utf16ToUtf8(packet, true);
    if (begins(0xFF, 0xFE) || begins('<', 0)) return Utf16ToUtf8(packet, false);
    return std::string(UpToNul(packet));
}

// The value of hexadecimal digits that a ";" ends, -1 for anything else.
int64_t HexReference(std::string_view text) {
    int64_t value = 0;
    for (size_t i = 0; i < text.size() && i < 8; ++i) {
        const char digit = text[i];
        if (digit == ';') return i == 0 ? -1 : value;
        const size_t place = std::string_view("0123456789abcdefABCDEF").find(digit);
        if (place == std::string_view::npos) return -1;
        value = value * 16 + static_cast<int64_t>(place < 16 ? place : place - 6);
    }
    return -1;
}

// The parser takes decimal references only; line ends are common as "&#xA;" in packets.
std::string WithDecimalReferences(std::string_view text) {
    constexpr std::string_view start = "&#x";
    std::string result;
    for (size_t found; (found = text.find(start)) != text.npos;) {
        const std::string_view rest = text.substr(found + start.size());
        const int64_t codePoint = HexReference(rest.substr(0, 8));
        result.append(text.substr(0, found));
        if (codePoint < 0)
            result.append(start);
        else
            result.append("&#").append(std::to_string(codePoint)).append(";");
        text = codePoint < 0 ? rest : rest.substr(rest.find(';') + 1);
    }
    return result.append(text);
}

// From the first tag to the last: no byte-order mark, no padding.
std::string_view Document(std::string_view text) {
    const size_t first = text.find('<');
    const size_t last = text.rfind('>');
    if (first == text.npos || last == text.npos || last < first) return {};
    return text.substr(first, last + 1 - first);
}

// "f25", "f30000s1001" (30000 / 1001 a second); 0 when there is none.
double FrameRate(std::string_view text) {
    if (!text.starts_with('f')) return 0;
    text.remove_prefix(1);
    const size_t divisorMark = text.find('s');
    const double divisor = divisorMark == text.npos ? 1 : DecimalNumber(text.substr(divisorMark + 1));
    return divisor > 0 ? DecimalNumber(text) / divisor : 0;
}

// A frame count, which may bring its own rate ("48f24"), in marker units; without any rate as it stands.
double MarkerTime(std::string_view text, double trackRate) {
    const size_t rateMark = text.find('f');
    const double ownRate = rateMark == text.npos ? 0 : FrameRate(text.substr(rateMark));
    const double rate = ownRate > 0 ? ownRate : trackRate;
    return DecimalNumber(text) * (rate > 0 ? markerUnitsPerSecond / rate : 1);
}

class PacketReader {
  public:
    explicit PacketReader(MetadataStore& store) : store_(store) {}

    void ReadDescriptions(const XmpNode& rdf) {
        rdf.ForEachChild([this](const XmpNode& description) {
            description.ForEachAttribute(
                [this](XmpName name, std::string_view value) { Store(name, Utf8OrLatin1(value)); });
            description.ForEachChild([this](const XmpNode& property) { ReadProperty(property); });
        });
        // A property of that name goes before the language of an alternative.
        if (!language_.empty() && !store_.Has("XMP:dc/language")) store_.Set("XMP:dc/language", language_);
    }

  private:
    void Store(XmpName name, std::string_view value) {
        const bool isDublinCore = name.space == XmpSpace::DublinCore;
        if (!isDublinCore && name.space != XmpSpace::DynamicMedia) return;
        if (name.local.empty() || value.empty()) return;
        const std::string prefix = isDublinCore ? "XMP:dc/" : "XMP:dm/";
        store_.Set(prefix + Utf8OrLatin1(name.local), value);
    }

    void ReadProperty(const XmpNode& property) {
        if (property.Is(XmpSpace::DynamicMedia, "Tracks"))
            property.ForEachItem([this](const XmpNode& track) { ReadTrack(track); });
        else if (property.Is(XmpSpace::DynamicMedia, "relativeTimestamp"))
            Store(property.Name(), Timestamp(property));
        else
            Store(property.Name(), Value(property));
    }

    std::string Value(const XmpNode& property) {
        std::string value = property.Text();
        if (!value.empty()) return value;
        property.ForEachChild([&](const XmpNode& container) {
            if (container.Is(XmpSpace::Rdf, "Alt")) value = Alternative(property, container);
        });
        if (!value.empty()) return value;
        property.ForEachItem([&](const XmpNode& item) {
            const std::string text = item.Text();
            if (!text.empty()) value.append(value.empty() ? "" : "; ").append(text);
        });
        return value;
    }

    std::string Alternative(const XmpNode& property, const XmpNode& alternatives) {
        constexpr std::string_view byDefault = "x-default";
        std::string chosen;
        std::string language;
        alternatives.ForEachChild([&](const XmpNode& item) {
            const std::string_view itemLanguage = item.Attribute(XmpSpace::Xml, "lang").value_or("");
            const bool isDefault = itemLanguage == byDefault && language != byDefault;
            if (!item.Is(XmpSpace::Rdf, "li") || !(chosen.empty() || isDefault)) return;
            chosen = item.Text();
            language = Utf8OrLatin1(itemLanguage);
        });
        const bool carriesLanguage =
            property.Is(XmpSpace::DublinCore, "title") || property.Is(XmpSpace::DublinCore, "description");
        if (carriesLanguage && language_.empty() && language != byDefault) language_ = language;
        return chosen;
    }

    // Its value counts units of "1/<N>" second or the like.
    static std::string Timestamp(const XmpNode& property) {
        const std::string value = property.Field("value");
        const std::string scale = property.Field("scale");
        if (value.empty()) return property.Text();
        if (scale.empty() || scale == "1/1000") return value;
        const size_t slash = scale.find('/');
        const double divisor = slash == scale.npos ? 1 : DecimalNumber(scale.substr(slash + 1));
        const double milliseconds = DecimalNumber(value) * DecimalNumber(scale) * 1000 / divisor;
        return std::isfinite(milliseconds) ? FixedText(milliseconds, 0) : value;
    }

    void ReadTrack(const XmpNode& track) {
        const double rate = FrameRate(track.Field("frameRate"));
        track.ForEachField([&](const XmpNode& field) {
            if (!field.Is(XmpSpace::DynamicMedia, "markers")) return;
            field.ForEachItem([&](const XmpNode& marker) { ReadMarker(marker, rate); });
        });
    }

    void ReadMarker(const XmpNode& marker, double rate) {
        const std::string startTime = marker.Field("startTime");
        const double start = MarkerTime(startTime, rate);
        const double end = start + MarkerTime(marker.Field("duration"), rate);
        if (markers_ >= xmpMarkerLimit || startTime.empty()) return;
        if (!(start >= 0 && end >= start && std::isfinite(end))) return;
        const std::string name = marker.Field("name");
        store_.Set(XmpMarkerKey(markers_++),
                   FixedText(start, 0) + ":" + FixedText(end, 0) + (name.empty() ? "" : ":" + name));
    }

    MetadataStore& store_;
    std::string language_;
    int markers_ = 0;
};

}  // namespace

bool ReadXmp(std::span<const uint8_t> packet, MetadataStore& store) {
    const std::string text = WithDecimalReferences(TextOf(packet));
    const std::string_view document = Document(text);
    XmlMemoryParser parser(reinterpret_cast<const uint8_t*>(document.data()), document.size());
    if (parser.Parse() != nullptr) return false;
    const XmpNode root(*parser.Root());
    PacketReader reader(store);
    bool found = false;
    const auto readRdf = [&](const XmpNode& node) {
        if (!node.Is(XmpSpace::Rdf, "RDF")) return;
        found = true;
        reader.ReadDescriptions(node);
    };
    readRdf(root);
    root.ForEachChild(readRdf);  // in the usual wrapper, x:xmpmeta
    return found;
}

}  // namespace vantor
