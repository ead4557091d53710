// XMP (ISO 16684-1, RDF/XML): the "XMP:" keys as one packet. Properties are attributes of one
// rdf:Description; title and description are language alternatives, markers a track of microseconds.
#include <initializer_list>
#include <optional>
#include <string>

#include "metadata/key_table.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/escape_xml.h"
#include "metadata/xmp_marker.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr std::string_view header =
    "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
    "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
    "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
    "<rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\""
    " xmlns:xmpDM=\"http://ns.adobe.com/xmp/1.0/DynamicMedia/\"";
constexpr std::string_view trailer = "</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
constexpr std::string_view tracksStart =
    "<xmpDM:Tracks><rdf:Bag><rdf:li rdf:parseType=\"Resource\"><xmpDM:trackType>Cue</xmpDM:trackType>"
    "<xmpDM:frameRate>f1000000</xmpDM:frameRate><xmpDM:markers><rdf:Seq>";
constexpr std::string_view tracksEnd = "</rdf:Seq></xmpDM:markers></rdf:li></rdf:Bag></xmpDM:Tracks>";

struct Property {
    std::string_view prefix;
    std::string_view name;
};

// The property that a key stands for, if any.
std::optional<Property> PropertyOf(std::string_view key) {
    if (key.starts_with("XMP:dc/")) return Property{"dc", key.substr(7)};
    if (key.starts_with("XMP:dm/")) return Property{"xmpDM", key.substr(7)};
    return {};
}

bool IsAlternative(std::string_view key) {
    return key == "XMP:dc/title" || key == "XMP:dc/description";
}

std::string InAttribute(std::string_view value) {
    std::string escaped;
    EscapeXmlAttribute(escaped, XmlText(value));
    return escaped;
}

std::string InElement(std::string_view value) {
    std::string escaped;
    EscapeXml(escaped, XmlText(value), true);
    return escaped;
}

void Add(std::string& text, std::initializer_list<std::string_view> pieces) {
    for (const std::string_view piece : pieces)
        text.append(piece);
}

// The language has an element of its own only where no alternative can carry it.
bool IsAttribute(std::string_view key, const MetadataStore& store) {
    if (key == "XMP:dc/language") return !store.Has("XMP:dc/title") && !store.Has("XMP:dc/description");
    return !IsAlternative(key) && key != "XMP:dm/relativeTimestamp";
}

void AddAttributes(std::string& text, const MetadataStore& store) {
    store.ForEach([&](const MetadataEntry& entry) {
        const auto property = PropertyOf(entry.key);
        if (!property || !IsAttribute(entry.key, store) || !IsXmlName(property->name)) return;
        Add(text, {" ", property->prefix, ":", property->name, "=\"", InAttribute(entry.value), "\""});
    });
}

void AddElements(std::string& text, const MetadataStore& store) {
    const auto* language = store.Get("XMP:dc/language");
    const std::string lang = InAttribute(language != nullptr ? *language : "x-default");
    store.ForEach([&](const MetadataEntry& entry) {
        if (IsAlternative(entry.key)) {
            const Property property = *PropertyOf(entry.key);
            Add(text,
                {"<", property.prefix, ":", property.name, "><rdf:Alt><rdf:li xml:lang=\"", lang, "\">",
                 InElement(entry.value), "</rdf:li></rdf:Alt></", property.prefix, ":", property.name, ">"});
        } else if (entry.key == "XMP:dm/relativeTimestamp") {
            Add(text, {"<xmpDM:relativeTimestamp xmpDM:value=\"", InAttribute(entry.value),
                       "\" xmpDM:scale=\"1/1000\"/>"});
        }
    });
}

void AddMarker(std::string& text, const XmpMarkerValue& marker) {
    Add(text, {"<rdf:li rdf:parseType=\"Resource\"><xmpDM:startTime>", FixedText(marker.start, 0),
               "</xmpDM:startTime>"});
    if (marker.end > marker.start)
        Add(text, {"<xmpDM:duration>", FixedText(marker.end - marker.start, 0), "</xmpDM:duration>"});
    if (!marker.name.empty()) Add(text, {"<xmpDM:name>", InElement(marker.name), "</xmpDM:name>"});
    Add(text, {"</rdf:li>"});
}

void AddMarkers(std::string& text, const MetadataStore& store) {
    std::string markers;
    for (int number = 0; number < xmpMarkerLimit; ++number) {
        if (const auto marker = ParseXmpMarker(store.Value(XmpMarkerKey(number))))
            AddMarker(markers, *marker);
    }
    if (!markers.empty()) Add(text, {tracksStart, markers, tracksEnd});
}

}  // namespace

int BuildXmpChunk(ChunkImage& image, const MetadataStore& store) {
    if (!StoreHasScheme("XMP", store)) return 0;
    std::string text(header);
    AddAttributes(text, store);
    Add(text, {">"});
    AddElements(text, store);
    AddMarkers(text, store);
    Add(text, {trailer});
    if (text.size() % 2 != 0) text.push_back('\0');  // see AppendChunk
    const size_t before = image.size();
    AppendChunk(image, "_PMX", reinterpret_cast<const uint8_t*>(text.data()), text.size());
    return static_cast<int>(image.size() - before);
}

}  // namespace vantor
