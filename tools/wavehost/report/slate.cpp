#include "wavehost/report/slate.h"

#include <algorithm>
#include <array>

#include "wavehost/values/numbers.h"

namespace vantor::wavehost {

namespace {

constexpr size_t mostKeys = 3;

struct FieldPlaces {
    SlateField field;
    std::array<std::string_view, mostKeys> keys;
    std::string_view line;
};
constexpr FieldPlaces places[] = {
    {SlateField::project, {"IXML:PROJECT", "ASWG:project", ""}, "PROJECT"},
    {SlateField::roll, {"IXML:TAPE", "", ""}, "TAPE"},
    {SlateField::date, {"BWF:OriginationDate", "IXML:BEXT:BWF_ORIGINATION_DATE", "INFO:ICRD"}, "DATE"},
    {SlateField::scene, {"IXML:SCENE", "", ""}, "SCENE"},
    {SlateField::take, {"IXML:TAKE", "", ""}, "TAKE"},
    {SlateField::note, {"IXML:NOTE", "ASWG:notes", "INFO:ICMT"}, "NOTE"},
};

bool IsTrue(std::string_view text) {
    return text == "TRUE" || text == "true" || text == "True" || text == "1";
}

// "sSCENE=12A": a letter for the kind of recorder, the name in capitals.
bool IsSlateLine(std::string_view line, size_t equals) {
    const auto isCapital = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); };
    return equals != line.npos && equals > 2 && line[0] >= 'a' && line[0] <= 'z' &&
           std::all_of(line.begin() + 1, line.begin() + static_cast<ptrdiff_t>(equals), isCapital);
}

}  // namespace

Slate::Slate(const Metadata& metadata) : metadata_(metadata) {
    const std::string description = Tag("BWF:Description");
    for (size_t start = 0; start < description.size();) {
        const size_t end = std::min(description.find_first_of("\r\n", start), description.size());
        const std::string_view line = std::string_view(description).substr(start, end - start);
        const size_t equals = line.find('=');
        if (IsSlateLine(line, equals))
            lines_.emplace(line.substr(1, equals - 1), Trimmed(line.substr(equals + 1)));
        start = end + 1;
    }
}

std::string Slate::Value(SlateField field) const {
    const auto* const found = std::ranges::find(places, field, &FieldPlaces::field);
    for (const std::string_view key : found->keys)
        if (std::string value = Tag(key); !value.empty()) return value;
    return Line(found->line);
}

bool Slate::IsCircled() const {
    return IsTrue(Tag("IXML:CIRCLED")) || IsTrue(Line("CIRCLED"));
}

const FrameRate* Slate::Rate() const {
    return FrameRateOfIxml(Tag("IXML:SPEED:TIMECODE_RATE"), Tag("IXML:SPEED:TIMECODE_FLAG"));
}

std::string Slate::Tag(std::string_view key) const {
    return FirstValue(metadata_, {key});
}

std::string Slate::Line(std::string_view name) const {
    const auto line = lines_.find(name);
    return line == lines_.end() ? "" : line->second;
}

}  // namespace vantor::wavehost
