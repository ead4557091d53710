// iXML: the keys of "IXML", "ASWG" and "BWF" as one document. Sections hold ASWG, BWF and USER fields; every
// other element stands directly below the root. A path ("TRACK_LIST:TRACK:NAME") becomes one name
// ("TRACK_LIST_TRACK_NAME"), so names are made unique: the file that this document is read from gives back
// the same document.
#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>

#include "metadata/key_table.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/escape_xml.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr std::string_view header = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML>";
constexpr std::string_view trailer = "</BWFXML>";
constexpr std::string_view timeReference = "BWF_TIME_REFERENCE";
// A value that begins so stands for something that text cannot hold; it is not written.
constexpr std::string_view junk = "#junk#";
// With section and number a path stays below the 511 bytes that the reader keeps.
constexpr size_t longestName = 480;

struct Section {
    std::string_view keyPrefix;
    std::string_view name;  // empty: directly below the root
};
// In the order in which a key is tested against them.
constexpr std::array<Section, 4> sections = {
    {{"ASWG:", "ASWG"}, {"BWF:", "BWF"}, {"IXML:USER:", "USER"}, {"IXML:", ""}}};

struct BwfField {
    std::string_view field;
    std::string_view element;
};
constexpr std::array<BwfField, 12> bwfFields = {{
    {"Description", "BWF_DESCRIPTION"},
    {"Originator", "BWF_ORIGINATOR"},
    {"OriginatorReference", "BWF_ORIGINATOR_REFERENCE"},
    {"OriginationDate", "BWF_ORIGINATION_DATE"},
    {"OriginationTime", "BWF_ORIGINATION_TIME"},
    {"TimeReference", timeReference},
    {"Version", "BWF_VERSION"},
    {"LoudnessValue", "BWF_LOUDNESS_VALUE"},
    {"LoudnessRange", "BWF_LOUDNESS_RANGE"},
    {"MaxTruePeakLevel", "BWF_MAX_TRUE_PEAK_LEVEL"},
    {"MaxMomentaryLoudness", "BWF_MAX_MOMENTARY_LOUDNESS"},
    {"MaxShortTermLoudness", "BWF_MAX_SHORT_TERM_LOUDNESS"},
}};

const Section* SectionOf(std::string_view key) {
    const auto* section = std::find_if(sections.begin(), sections.end(), [key](const Section& candidate) {
        return key.starts_with(candidate.keyPrefix);
    });
    return section == sections.end() ? nullptr : section;
}

// Without a ":2" that numbers a repeated element.
std::string_view WithoutNumber(std::string_view key) {
    const size_t digits = key.find_last_not_of("0123456789");
    return digits != std::string_view::npos && key[digits] == ':' && digits + 1 < key.size()
               ? key.substr(0, digits)
               : key;
}

// The field of a key read from a BWF section as this document writes it; null for any other key.
const BwfField* BwfFieldOfCopy(std::string_view key) {
    constexpr std::string_view prefix = "IXML:BWF:";
    if (!key.starts_with(prefix)) return nullptr;
    std::string_view element = WithoutNumber(key.substr(prefix.size()));
    if (element == "BWF_TIME_REFERENCE_HIGH" || element == "BWF_TIME_REFERENCE_LOW") element = timeReference;
    const auto* field = std::ranges::find(bwfFields, element, &BwfField::element);
    return field == bwfFields.end() ? nullptr : field;
}

// The name of an element for what a key says behind its section, numbers aside.
std::string ElementName(std::string_view rest) {
    std::string name = XmlNameFrom(rest, longestName);
    // The reader skips this name in a path.
    return name == "BWFXML" ? "_BWFXML" : name;
}

// True for a key read from a BWF section that this document writes anew.
bool IsOwnBwfSection(std::string_view key, const MetadataStore& store) {
    const BwfField* field = BwfFieldOfCopy(key);
    return field != nullptr && store.Has(std::string("BWF:").append(field->field));
}

// Decimal, with an optional "-", up to the first other character; modulo 2^64.
uint64_t LeadingInteger(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    const uint64_t number = UnsignedDecimal(text.substr(0, text.find_first_not_of("0123456789")));
    return negative ? 0 - number : number;
}

class Document {
  public:
    explicit Document(const MetadataStore& store) : store_(store), text_(header) {
        store.ForEach([this](const MetadataEntry& entry) { Add(entry); });
        OpenSection("");
        text_.append(trailer);
    }
    [[nodiscard]] const std::string& Text() const { return text_; }

  private:
    void Add(const MetadataEntry& entry) {
        const Section* section = SectionOf(entry.key);
        if (section == nullptr || entry.value.starts_with(junk)) return;
        const std::string_view rest = std::string_view(entry.key).substr(section->keyPrefix.size());
        if (section->name == "BWF") return AddBwfField(rest, entry.value);
        if (rest.empty() || IsOwnBwfSection(entry.key, store_)) return;
        OpenSection(section->name);
        AddElement(UniqueName(*section, rest), entry.value);
    }

    void AddBwfField(std::string_view name, std::string_view value) {
        for (const BwfField& field : bwfFields) {
            if (field.field != name) continue;
            OpenSection("BWF");
            if (field.element == timeReference)
                AddTimeReference(LeadingInteger(value));
            else
                AddElement(field.element, value);
        }
    }

    // Two halves, each printed as a signed number.
    void AddTimeReference(uint64_t samples) {
        const std::string name(timeReference);
        AddElement(name + "_HIGH", std::to_string(static_cast<int32_t>(samples >> 32)));
        AddElement(name + "_LOW", std::to_string(static_cast<int32_t>(samples & 0xFFFFFFFF)));
    }

    void OpenSection(std::string_view name) {
        if (name == openSection_) return;
        if (!openSection_.empty()) text_.append("</").append(openSection_).append(">");
        if (!name.empty()) text_.append("<").append(name).append(">");
        openSection_ = name;
    }

    void AddElement(std::string_view name, std::string_view value) {
        text_.append("<");
        EscapeXml(text_, name, false);
        text_.append(">");
        EscapeXml(text_, XmlText(value), true);
        text_.append("</");
        EscapeXml(text_, name, false);
        text_.append(">");
    }

    // A name that stays as it is keeps its place; one that is altered gives way to it by a number.
    std::string UniqueName(const Section& section, std::string_view rest) {
        std::string name = ElementName(rest);
        if (name == rest) return name;
        const std::string base = name;
        const std::string path = std::string(section.keyPrefix).append(base);
        for (int& number = numbers_.emplace(path, 1).first->second; IsTaken(section, name); ++number)
            name = base + "_" + std::to_string(number + 1);
        altered_.insert(std::string(section.keyPrefix).append(name));
        return name;
    }

    [[nodiscard]] bool IsTaken(const Section& section, std::string_view name) const {
        const std::string key = std::string(section.keyPrefix).append(name);
        return store_.Has(key) || altered_.count(key) != 0;
    }

    const MetadataStore& store_;
    std::string text_;
    std::string_view openSection_;
    std::set<std::string> altered_;       // keys that the altered names will be read as
    std::map<std::string, int> numbers_;  // the number last tried for an altered name
};

}  // namespace

void RemoveBwfCopies(MetadataStore& store) {
    if (!store.Has("BWF:TimeReference")) return;  // every broadcast chunk gives one
    store.RemoveWhere([](std::string_view key) { return BwfFieldOfCopy(key) != nullptr; });
}

std::string IxmlKeyAsWritten(std::string_view key) {
    const Section* section = SectionOf(key);
    if (section == nullptr || section->name == "BWF" || key == section->keyPrefix) return std::string(key);
    return std::string(section->keyPrefix).append(ElementName(key.substr(section->keyPrefix.size())));
}

int BuildIxmlChunk(ChunkImage& image, const MetadataStore& store, int minimumDataBytes) {
    if (!StoreHasScheme("IXML", store) && !StoreHasScheme("ASWG", store) && !StoreHasScheme("BWF", store))
        return 0;
    std::string text = Document(store).Text();
    const size_t terminated = text.size() + 1;
    const size_t atLeast = std::max(terminated, static_cast<size_t>(std::max(minimumDataBytes, 0)));
    text.resize(atLeast + atLeast % 2);
    const size_t before = image.size();
    AppendChunk(image, "iXML", reinterpret_cast<const uint8_t*>(text.data()), text.size());
    return static_cast<int>(image.size() - before);
}

}  // namespace vantor
