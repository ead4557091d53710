#include "metadata/key_table.h"

#include <algorithm>
#include <iterator>

#include "metadata/tag_schemes.h"
#include "text/text.h"

namespace vantor {

namespace {

using Keys = std::span<const char* const>;

// The keys of a field, first the one that wins when several hold a value.
constexpr const char* titleKeys[] = {
    "INFO:INAM",    "ID3:TIT2",     "APE:Title",     "VORBIS:TITLE", "CART:Title", "IXML:PROJECT",
    "ASWG:project", "XMP:dc/title", "CAFINFO:title", "IFF:NAME",     "REX:Name",
};
constexpr const char* artistKeys[] = {
    "INFO:IART",   "ID3:TPE1",      "APE:Artist",     "VORBIS:ARTIST",
    "CART:Artist", "XMP:dm/artist", "CAFINFO:artist", "IFF:AUTH",
};
constexpr const char* albumKeys[] = {
    "INFO:IALB", "INFO:IPRD", "ID3:TALB", "APE:Album", "VORBIS:ALBUM", "XMP:dm/album", "CAFINFO:album",
};
constexpr const char* trackKeys[] = {
    "INFO:TRCK",
    "ID3:TRCK",
    "APE:Track",
    "VORBIS:TRACKNUMBER",
    "CART:CutID",
    "XMP:dm/trackNumber",
    "CAFINFO:track number",
};
constexpr const char* dateKeys[] = {
    "BWF:OriginationDate", "INFO:ICRD",   "ID3:TYER",       "ID3:TDRC",    "APE:Year",
    "APE:Record Date",     "VORBIS:DATE", "CART:StartDate", "XMP:dc/date", "CAFINFO:year",
};
constexpr const char* genreKeys[] = {
    "INFO:IGNR", "ID3:TCON", "APE:Genre", "VORBIS:GENRE", "CART:Category", "XMP:dm/genre", "CAFINFO:genre",
};
constexpr const char* commentKeys[] = {
    "INFO:ICMT",  "ID3:COMM",          "APE:Comment",      "VORBIS:COMMENT",  "CART:TagText", "IXML:NOTE",
    "ASWG:notes", "XMP:dm/logComment", "CAFINFO:comments", "CAFINFO:comment", "REX:FreeText",
};
constexpr const char* descriptionKeys[] = {
    "BWF:Description", "INFO:ISBJ",          "INFO:IKEY",          "ID3:TIT3",
    "APE:Subtitle",    "VORBIS:DESCRIPTION", "XMP:dc/description", "IFF:ANNO",
};
constexpr const char* tempoKeys[] = {
    "ACID:BPM", "ID3:TBPM", "APE:BPM", "VORBIS:BPM", "XMP:dm/tempo", "CAFINFO:tempo",
};
constexpr const char* musicalKeyKeys[] = {
    "ACID:KEY", "ID3:TKEY", "APE:Key", "VORBIS:KEY", "XMP:dm/key", "CAFINFO:key signature",
};

// Where a name without a row of its own is kept: under that name in the schemes with free field names.
constexpr std::string_view openSchemes[] = {"ID3:TXXX", "APE", "VORBIS", "IXML:USER"};

struct Field {
    const char* name;
    const char* label;
    Keys keys;                       // empty: kept in the open schemes
    const char* openName = nullptr;  // the name there, when it is not the field's
};

constexpr Field fields[] = {
    {"TITLE", "Title", titleKeys},
    {"ARTIST", "Artist", artistKeys},
    {"ALBUM", "Album", albumKeys},
    {"TRACKNUMBER", "Track", trackKeys},
    {"YEAR", "Date", dateKeys},
    {"GENRE", "Genre", genreKeys},
    {"COMMENT", "Comment", commentKeys},
    {"DESC", "Description", descriptionKeys},
    {"BPM", "BPM", tempoKeys},
    {"KEY", "Key", musicalKeyKeys},
    {"DB_CUSTOM", "Browser Tags", {}, "VANTOR"},
};

// Schemes of the host's that stand in no RIFF file.
constexpr std::string_view otherSchemes[] = {"IFF", "DISP", "ADM", "VORBIS", "APE", "REX", "FLACPIC"};

const Field* FindField(std::string_view name) {
    if (name == "DATE") name = "YEAR";
    const auto* field = std::ranges::find(fields, name, &Field::name);
    return field == std::end(fields) ? nullptr : field;
}

std::string_view ValueOfField(const char* name, const MetadataStore& store) {
    char key[schemeKeyBytes];
    for (int index = 0; SchemeKeyFor(name, index, key, sizeof key); ++index)
        if (const auto value = store.Value(key); !value.empty()) return value;
    return std::string_view(name).find(':') == std::string_view::npos ? std::string_view()
                                                                      : store.Value(name);
}

}  // namespace

bool SchemeKeyFor(const char* name, int index, char* out, size_t outBytes) {
    if (!name || !*name || index < 0 || !out || outBytes == 0) return false;
    const auto row = static_cast<size_t>(index);
    const auto* field = FindField(name);
    if (field && !field->keys.empty()) {
        if (row >= field->keys.size()) return false;
        CopyText(out, outBytes, field->keys[row]);
        return true;
    }
    if (row >= std::size(openSchemes)) return false;
    CopyText(out, outBytes, std::string(openSchemes[row]) + ":" + (field ? field->openName : name));
    return true;
}

const char* CommonField(int index, const char** label) {
    if (index < 0 || static_cast<size_t>(index) >= std::size(fields)) return nullptr;
    if (label) *label = fields[index].label;
    return fields[index].name;
}

bool LookupField(const char* name, char* out, size_t outBytes, const MetadataStore* store) {
    if (!name || !*name || !out || outBytes == 0 || !store) return false;
    const auto value = ValueOfField(name, *store);
    CopyText(out, outBytes, value);
    return !value.empty();
}

bool StoreHasScheme(std::string_view scheme, const MetadataStore& store) {
    const auto* entry = store.LowerBound(scheme);
    return entry && StartsWithIgnoringCase(entry->key, scheme);
}

bool HasSchemePrefix(std::string_view key) {
    const size_t colon = key.find(':');
    if (colon == key.npos) return false;
    const auto* scheme = FindScheme(key.substr(0, colon));
    const bool hasKeys = scheme && (scheme->read || !scheme->document.empty());
    return hasKeys || std::ranges::find(otherSchemes, key.substr(0, colon)) != std::end(otherSchemes);
}

void CopyText(char* out, size_t outBytes, std::string_view text) {
    if (outBytes == 0) return;
    const auto copied = text.copy(out, outBytes - 1);
    out[copied] = '\0';
}

}  // namespace vantor
