// Properties are changed where they stand: in an attribute, an element, the item of an alternative that a
// reader takes, the items of a bag or sequence. New ones go to the end of the first rdf:Description. Other
// namespaces, languages, qualifiers and all of a marker but its changed fields stay.
#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include "metadata/patch/patch_chunks.h"
#include "metadata/patch/xml_patch.h"
#include "metadata/patch/xmp_markers_patch.h"
#include "metadata/patch/xmp_scope.h"
#include "metadata/read/read_metadata.h"
#include "metadata/read/xmp_packet.h"
#include "metadata/write/escape_xml.h"
#include "metadata/xmp_marker.h"
#include "text/text.h"

namespace vantor {

namespace {

using Path = std::vector<const XmlElement*>;

constexpr std::string_view timestampKey = "XMP:dm/relativeTimestamp";
constexpr int mostOccurrences = 64;  // of one property

struct Space {
    std::string_view keyPrefix;
    XmpSpace space;
};
constexpr Space spaces[] = {{"XMP:dc/", XmpSpace::DublinCore}, {"XMP:dm/", XmpSpace::DynamicMedia}};

const Space* SpaceOfKey(std::string_view key) {
    const auto* found =
        std::ranges::find_if(spaces, [&](const Space& space) { return key.starts_with(space.keyPrefix); });
    return found == std::end(spaces) ? nullptr : found;
}

// Where a reader takes the value of a key from.
struct Site {
    const XmlAttribute* attribute = nullptr;  // of a description
    Path element;                             // of the property
    XmpValue value;
    XmpText timestamp;  // its value field
    bool isPlainTimestamp = false;
};

class Packet {
  public:
    explicit Packet(std::string text) : text_(std::move(text), WithDecimalReferences) {}

    [[nodiscard]] bool Apply(const MetadataStore& change, const MetadataStore& own);
    [[nodiscard]] const std::string& Text() const { return text_.Text(); }
    [[nodiscard]] bool IsEmpty();

  private:
    [[nodiscard]] bool Set(std::string_view key, std::string_view value);
    [[nodiscard]] bool Remove(std::string_view key);
    [[nodiscard]] std::optional<Site> Find(std::string_view key) const;
    void Put(const XmpText& place, std::string_view value);
    void Put(const Site& site, std::string_view value);
    void PutItems(const XmpValue& list, std::string_view value);
    [[nodiscard]] bool Add(std::string_view key, std::string_view value);
    void AddTo(const XmpNode& description, const Space& space, std::string_view local,
               std::string_view value);
    void ForgetLanguage();
    [[nodiscard]] bool KeepLanguage(const MetadataStore& own);
    void EachDescription(const std::function<void(const XmpNode&)>& visit) const;

    XmlPatch text_;
};

void Packet::EachDescription(const std::function<void(const XmpNode&)>& visit) const {
    const XmpNode root(text_.Root());
    const auto inRdf = [&](const XmpNode& node) {
        if (!node.Is(XmpSpace::Rdf, "RDF")) return;
        node.ForEachChild(visit);
    };
    inRdf(root);
    root.ForEachChild(inRdf);
}

Site SiteOf(const XmpNode& property) {
    Site site{nullptr, property.Path(), {}, {}, false};
    if (!IsXmpTimestamp(property)) {
        site.value = ReadXmpValue(property);
        return site;
    }
    site.value.text = XmpTimestamp(property);
    site.timestamp = property.Field("value");
    const auto scale = property.Field("scale").text;
    site.isPlainTimestamp = !site.timestamp.text.empty() && (scale.empty() || scale == "1/1000");
    return site;
}

// The last of several, which is the one that is stored.
std::optional<Site> Packet::Find(std::string_view key) const {
    std::optional<Site> found;
    EachDescription([&](const XmpNode& description) {
        description.ForEachAttribute([&](XmpName name, const XmlAttribute& attribute) {
            if (!attribute.value.empty() && XmpKeyOf(name) == key)
                found = Site{&attribute, {}, {}, {}, false};
        });
        description.ForEachChild([&](const XmpNode& property) {
            if (IsXmpTracks(property) || XmpKeyOf(property.Name()) != key) return;
            if (Site site = SiteOf(property); !site.value.text.empty()) found = std::move(site);
        });
    });
    return found;
}

void Packet::Put(const XmpText& place, std::string_view value) {
    if (place.attribute != nullptr)
        text_.SetAttribute(*place.attribute, XmlQuoted(value, true));
    else
        text_.SetValue(*place.element, XmlContent(value, true));
}

void Packet::Put(const Site& site, std::string_view value) {
    if (site.attribute != nullptr)
        text_.SetAttribute(*site.attribute, XmlQuoted(value, true));
    else if (site.isPlainTimestamp)
        Put(site.timestamp, value);
    else if (site.value.isList)
        PutItems(site.value, value);
    else
        Put(site.value.holders.front(), value);
}

// Items at both ends that are the same stay as they are, whatever their text looks like; of those between,
// the texts are replaced one by one. From the last to the first, so that places before stay right.
void Packet::PutItems(const XmpValue& list, std::string_view value) {
    constexpr std::string_view comma = "; ";
    size_t first = 0, last = list.items.size();
    const auto text = [&](size_t i) -> const std::string& { return list.holders[i].text; };
    while (first + 1 < last && value.starts_with(text(first) + std::string(comma)))
        value.remove_prefix(text(first++).size() + comma.size());
    while (first + 1 < last && value.ends_with(std::string(comma) + text(last - 1)))
        value.remove_suffix(text(--last).size() + comma.size());
    std::vector<std::string_view> wanted;
    for (size_t place; (place = value.find(comma)) != value.npos; value.remove_prefix(place + comma.size()))
        wanted.push_back(value.substr(0, place));
    wanted.push_back(value);

    const size_t shared = std::min(wanted.size(), last - first);
    std::string added;
    const auto name = std::string(list.items.front()->name);
    for (size_t i = shared; i < wanted.size(); ++i)
        added.append("<")
            .append(name)
            .append(">")
            .append(XmlContent(wanted[i], true))
            .append("</" + name + ">");
    if (!added.empty()) text_.AddBehind(*list.items[last - 1], added);
    for (size_t i = last; i > first + shared; --i)
        text_.RemoveMarkup(*list.items[i - 1]);
    for (size_t i = first + shared; i > first; --i)
        if (text(i - 1) != wanted[i - 1 - first]) Put(list.holders[i - 1], wanted[i - 1 - first]);
}

bool Packet::Set(std::string_view key, std::string_view value) {
    if (!text_.Parse()) return false;
    auto site = Find(key);
    const bool isOddTimestamp =
        site && key == timestampKey && site->attribute == nullptr && !site->isPlainTimestamp;
    if (isOddTimestamp && (!Remove(key) || !text_.Parse())) return false;
    if (!site || isOddTimestamp) return Add(key, value);
    Put(*site, value);
    return true;
}

bool Packet::Remove(std::string_view key) {
    for (int count = 0; count < mostOccurrences; ++count) {
        if (!text_.Parse()) return false;
        const auto site = Find(key);
        if (!site) {
            if (key == xmpLanguageKey) ForgetLanguage();
            return true;
        }
        if (site->attribute != nullptr)
            text_.Remove(*site->attribute);
        else
            text_.Remove(site->element);
    }
    return false;
}

// The language of a title or description is that of the file when no property says otherwise.
void Packet::ForgetLanguage() {
    std::vector<const XmlAttribute*> marks;
    EachDescription([&](const XmpNode& description) {
        description.ForEachChild([&](const XmpNode& property) {
            const XmpValue value = CarriesXmpLanguage(property.Name()) ? ReadXmpValue(property) : XmpValue();
            if (!value.language.empty() && value.language != xmpDefaultLanguage)
                marks.push_back(value.languageMark);
        });
    });
    for (auto mark = marks.rbegin(); mark != marks.rend(); ++mark)
        text_.SetAttribute(**mark, xmpDefaultLanguage);
}

// The language of a text that goes stays that of the file.
bool Packet::KeepLanguage(const MetadataStore& own) {
    const auto* language = own.Get(xmpLanguageKey);
    if (language == nullptr) return true;
    MetadataStore now;
    const std::string& text = text_.Text();
    ReadXmp({reinterpret_cast<const uint8_t*>(text.data()), text.size()}, now);
    return now.Value(xmpLanguageKey) == *language || Set(xmpLanguageKey, *language);
}

// A new property of the first description, as an attribute where it can be one.
bool Packet::Add(std::string_view key, std::string_view value) {
    const Space* space = SpaceOfKey(key);
    const auto local = space ? key.substr(space->keyPrefix.size()) : std::string_view();
    if (!IsXmlName(local)) return true;  // nothing that a packet could hold
    bool isDone = false;
    EachDescription([&](const XmpNode& description) {
        if (!isDone && TakesXmpProperties(description)) {
            isDone = true;
            AddTo(description, *space, local, value);
        }
    });
    return isDone;
}

void Packet::AddTo(const XmpNode& description, const Space& space, std::string_view local,
                   std::string_view value) {
    const XmpScope scope(description);
    const auto name = std::string(scope.Prefix(space.space)).append(":").append(local);
    const XmlElement& element = description.Element();
    if (CarriesXmpLanguage({space.space, local})) {
        const auto rdf = std::string(scope.Prefix(XmpSpace::Rdf));
        text_.AddChild(element, "<" + name + scope.Declarations(space.space) + "><" + rdf + ":Alt><" + rdf +
                                    ":li xml:lang=\"x-default\">" + XmlContent(value, true) + "</" + rdf +
                                    ":li></" + rdf + ":Alt></" + name + ">");
    } else if (const auto* empty = description.Attribute(space.space, local)) {
        text_.SetAttribute(*empty, XmlQuoted(value, true));
    } else if (local == "relativeTimestamp") {
        const auto dm = std::string(scope.Prefix(space.space));
        text_.AddChild(element, "<" + name + scope.Declarations(space.space) + " " + dm + ":value=\"" +
                                    XmlQuoted(value, true) + "\" " + dm + ":scale=\"1/1000\"/>");
    } else if (!scope.Declarations(space.space).empty()) {
        text_.AddChild(element, "<" + name + scope.Declarations(space.space) + ">" + XmlContent(value, true) +
                                    "</" + name + ">");
    } else {
        text_.AddAttribute(element, " " + name + "=\"" + XmlQuoted(value, true) + "\"");
    }
}

// New values for markers and properties that are there come first, then what goes, then what is new. `own` is
// what the packet says.
bool Packet::Apply(const MetadataStore& change, const MetadataStore& own) {
    bool done = PatchXmpMarkers(text_, change);
    for (const bool removes : {false, true})
        change.ForEach([&](const MetadataEntry& entry) {
            if (SpaceOfKey(entry.key) == nullptr || entry.value.empty() != removes) return;
            done = done && (removes ? Remove(entry.key) : Set(entry.key, entry.value));
        });
    return done && (change.Has(xmpLanguageKey) || KeepLanguage(own));
}

bool IsPropertyAttribute(std::string_view name) {
    return !name.starts_with("xmlns") && !name.ends_with(":about");
}

// Nothing but the frame of a packet.
bool Packet::IsEmpty() {
    if (!text_.Parse()) return false;
    bool isEmpty = text_.Root().firstChild == nullptr || text_.Root().firstChild->nextSibling == nullptr;
    EachDescription([&](const XmpNode& description) {
        const XmlElement& element = description.Element();
        isEmpty = isEmpty && element.firstChild == nullptr && element.Value().empty();
        for (const auto* attribute = element.firstAttribute; attribute != nullptr;
             attribute = attribute->next)
            isEmpty = isEmpty && !IsPropertyAttribute(attribute->name);
    });
    return isEmpty;
}

// The bytes of a text whose encoding is that of the old packet.
ChunkBody Encoded(std::string_view text, XmpEncoding encoding) {
    if (encoding == XmpEncoding::Utf8) return {text.begin(), text.end()};
    return Utf8ToUtf16(text, encoding == XmpEncoding::Utf16Big);
}

}  // namespace

ChunkBody BlankXmp() {
    constexpr std::string_view packet =
        "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
        "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
        "<rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\""
        " xmlns:xmpDM=\"http://ns.adobe.com/xmp/1.0/DynamicMedia/\"></rdf:Description>"
        "</rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
    ChunkBody body(packet.begin(), packet.end());
    KeepParity(body, 0);
    return body;
}

Patched PatchXmp(const PatchInput& input) {
    const auto encoding = EncodingOfXmp(input.body);
    const std::string text = XmpPacketText(input.body);
    const size_t start = text.find('<');
    const ChunkBody old = Encoded(text, encoding);
    // Otherwise the encoding is broken somewhere, and writing it anew would change more than the values.
    const bool isWhole =
        old.size() <= input.body.size() && std::equal(old.begin(), old.end(), input.body.begin());
    if (start == text.npos || !isWhole) return std::nullopt;
    Packet packet(text.substr(start));
    MetadataStore own;
    ReadXmp(input.body, own);
    if (!packet.Apply(input.change, own)) return std::nullopt;
    if (packet.IsEmpty()) return ChunkBody();
    ChunkBody body = Encoded(text.substr(0, start) + packet.Text(), encoding);
    body.insert(body.end(), input.body.begin() + static_cast<std::ptrdiff_t>(old.size()), input.body.end());
    KeepParity(body, input.body.size());
    return body;
}

}  // namespace vantor
