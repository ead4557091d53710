#include "edit/tag_proof.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "metadata/key_table.h"
#include "metadata/read/id3_entries.h"
#include "metadata/read/id3_picture.h"
#include "metadata/xmp_marker.h"

namespace vantor {

namespace {

constexpr std::string_view markerPrefix = "XMP:MARK";

struct NumberedField {
    std::string base;
    uint64_t number = 1;
};

// "IXML:A:2", "ID3:COMM:002", "XMP:MARK001".
NumberedField SplitField(std::string_view key) {
    const bool isMarker = key.starts_with(markerPrefix);
    const size_t start = isMarker ? markerPrefix.size() : key.rfind(':') + 1;
    uint64_t number = 1;
    const auto read = std::from_chars(key.data() + start, key.data() + key.size(), number);
    const bool isNumber = read.ec == std::errc() && read.ptr == key.data() + key.size();
    const bool counts =
        isMarker || key.starts_with("IXML:") || key.starts_with("ASWG:") || key.starts_with(id3Prefix);
    if (!isNumber || !counts) return {std::string(key), 1};
    return {std::string(key.substr(0, start - (isMarker ? 0 : 1))), number};
}

// A comment without a description is the plain one when it is the first, whatever its language.
std::string CommentBase(std::string base) {
    constexpr std::string_view comment = "ID3:COMM:";
    const bool isPlain = base.starts_with(comment) && base.size() == comment.size() + 3;
    if (isPlain) return std::string(id3CommentKey);
    return base;
}

std::string BaseOf(std::string_view key) {
    return CommentBase(SplitField(key).base);
}

std::string PlainValue(const MetadataEntry& entry) {
    auto picture = IsPictureKey(entry.key) ? ParseDescriptor(entry.value) : std::nullopt;
    if (!picture) return entry.value;
    picture->offset = picture->length = 0;
    return DescriptorText(*picture);
}

// Chapters count themselves, and a broadcast chunk without a time reference has the reference 0.
bool SaysNothing(const MetadataEntry& entry) {
    return entry.value.empty() || entry.key == id3ChapterKey ||
           (entry.key == "BWF:TimeReference" && entry.value == "0");
}

// The one entry that a change of one key makes of a blank chunk.
const MetadataEntry* EntryIn(const MetadataStore& store) {
    const MetadataEntry* found = nullptr;
    store.ForEach([&](const MetadataEntry& entry) {
        if (!SaysNothing(entry)) found = &entry;
    });
    return found;
}

// A number needs the fields before it; it is tried without. A text may be called by a number.
std::string TriedKey(std::string_view key) {
    if (key.starts_with(markerPrefix)) return XmpMarkerKey(0);
    const auto field = SplitField(key);
    const bool isNamed = field.base == "IXML:USER" || key.starts_with("ID3:TXXX:") ||
                         key.starts_with("ID3:WXXX:") || key.starts_with("ID3:UFID:");
    return field.number > 1 && !isNamed ? field.base : std::string(key);
}

}  // namespace

PlainTags PlainTagsOf(std::string_view scheme, const MetadataStore& store) {
    using Value = std::pair<uint64_t, std::string>;
    std::map<std::string, std::vector<Value>> fields;
    store.ForEach([&](const MetadataEntry& entry) {
        const auto* owner = SchemeOfKey(entry.key);
        if (!owner || owner->name != scheme || SaysNothing(entry)) return;
        auto field = SplitField(entry.key);
        fields[CommentBase(std::move(field.base))].emplace_back(field.number, PlainValue(entry));
    });
    PlainTags tags;
    for (auto& [base, values] : fields) {
        std::ranges::sort(values);
        for (auto& value : values)
            tags[base].push_back(std::move(value.second));
        if (base == id3CommentKey) std::ranges::sort(tags[base]);
    }
    return tags;
}

MetadataStore HeldChange(const TagScheme& scheme, const PatchInput& tried) {
    MetadataStore held;
    tried.change.ForEach([&](const MetadataEntry& entry) {
        // A tag before version 2.4 keeps one if it has one; a blank tag would spread it.
        if (entry.key == "ID3:TDRC") return held.Set(entry.key, entry.value);
        const auto key = TriedKey(entry.key);
        MetadataStore one, read;
        one.Set(key, entry.value);
        PatchInput alone{tried.body, one, nullptr, tried.file, tried.unsynchronised};
        const auto body = entry.value.empty() ? Patched() : scheme.patch(alone);
        if (body) scheme.read(*body, read, 1);
        const auto* found = EntryIn(read);
        if (!found)
            held.Set(entry.key, {});
        else
            held.Set(BaseOf(found->key) == BaseOf(key) ? entry.key : found->key, found->value);
    });
    return held;
}

}  // namespace vantor
