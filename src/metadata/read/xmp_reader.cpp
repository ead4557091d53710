// XMP (ISO 16684-1): the Dublin Core and Dynamic Media properties of an RDF/XML packet become "XMP:dc/<name>"
// and "XMP:dm/<name>", the markers of all tracks "XMP:MARK000" and so on.
//   simple property, attribute or element   its text
//   rdf:Bag, rdf:Seq                        the items, joined with "; "
//   rdf:Alt                                 the item of language x-default, else the first; a title's or
//                                           description's language becomes "XMP:dc/language"
//   xmpDM:relativeTimestamp                 milliseconds
//   xmpDM:Tracks                            "start:end" or "start:end:name" a marker, in microseconds
// Other structures are skipped.
#include <algorithm>
#include <string>

#include "metadata/read/read_metadata.h"
#include "metadata/read/xmp_packet.h"
#include "metadata/xmp_marker.h"
#include "text/text.h"

namespace vantor {

namespace {

class PacketReader {
  public:
    explicit PacketReader(MetadataStore& store) : store_(store) {}

    void ReadDescriptions(const XmpNode& rdf) {
        rdf.ForEachChild([this](const XmpNode& description) {
            description.ForEachAttribute([this](XmpName name, const XmlAttribute& attribute) {
                Store(name, Utf8OrLatin1(attribute.value));
            });
            description.ForEachChild([this](const XmpNode& property) { ReadProperty(property); });
        });
        // A property of that name goes before the language of an alternative.
        if (!language_.empty() && !store_.Has(xmpLanguageKey)) store_.Set(xmpLanguageKey, language_);
    }

  private:
    void Store(XmpName name, std::string_view value) {
        if (!value.empty()) store_.Set(XmpKeyOf(name), value);
    }

    void ReadProperty(const XmpNode& property) {
        if (IsXmpTracks(property)) {
            property.ForEachItem([this](const XmpNode& track) { ReadTrack(track); });
        } else if (IsXmpTimestamp(property)) {
            Store(property.Name(), XmpTimestamp(property));
        } else {
            const XmpValue value = ReadXmpValue(property);
            Store(property.Name(), value.text);
            const bool isNamed = !value.language.empty() && value.language != xmpDefaultLanguage;
            if (isNamed && language_.empty() && CarriesXmpLanguage(property.Name()))
                language_ = value.language;
        }
    }

    void ReadTrack(const XmpNode& track) {
        const double rate = XmpFrameRate(track.Field("frameRate").text);
        track.ForEachField([&](const XmpNode& field) {
            if (!field.Is(XmpSpace::DynamicMedia, "markers")) return;
            field.ForEachItem([&](const XmpNode& marker) {
                const auto text = XmpMarkerText(marker, rate);
                if (!text.empty() && markers_ < xmpMarkerLimit) store_.Set(XmpMarkerKey(markers_++), text);
            });
        });
    }

    MetadataStore& store_;
    std::string language_;
    int markers_ = 0;
};

}  // namespace

bool ReadXmp(std::span<const uint8_t> packet, MetadataStore& store) {
    const std::string text = WithDecimalReferences(XmpPacketText(packet));
    // From the first tag on, behind a byte-order mark, to the root's end tag: old bytes may follow, or
    // another packet.
    const std::string_view document = std::string_view(text).substr(std::min(text.find('<'), text.size()));
    XmlMemoryParser parser(reinterpret_cast<const uint8_t*>(document.data()), document.size());
    parser.EndBehindRoot();
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
