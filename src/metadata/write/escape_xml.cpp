#include "metadata/write/escape_xml.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "text/text.h"

namespace vantor {

namespace {

struct CodePointRange {
    uint32_t first;
    uint32_t last;
};

// XML 1.0, fifth edition, productions 4 and 4a, without the colon.
constexpr std::array<CodePointRange, 15> nameStart = {{{'A', 'Z'},
                                                       {'_', '_'},
                                                       {'a', 'z'},
                                                       {0xC0, 0xD6},
                                                       {0xD8, 0xF6},
                                                       {0xF8, 0x2FF},
                                                       {0x370, 0x37D},
                                                       {0x37F, 0x1FFF},
                                                       {0x200C, 0x200D},
                                                       {0x2070, 0x218F},
                                                       {0x2C00, 0x2FEF},
                                                       {0x3001, 0xD7FF},
                                                       {0xF900, 0xFDCF},
                                                       {0xFDF0, 0xFFFD},
                                                       {0x10000, 0xEFFFF}}};
constexpr std::array<CodePointRange, 5> nameFurther = {
    {{'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}}};

template <size_t count>
bool Holds(const std::array<CodePointRange, count>& ranges, uint32_t codePoint) {
    return std::any_of(ranges.begin(), ranges.end(), [codePoint](const CodePointRange& range) {
        return codePoint >= range.first && codePoint <= range.last;
    });
}

bool MayBegin(uint32_t codePoint) {
    return Holds(nameStart, codePoint);
}
bool MayFollow(uint32_t codePoint) {
    return MayBegin(codePoint) || Holds(nameFurther, codePoint);
}

bool IsForbidden(uint32_t codePoint) {
    const bool control = codePoint < 0x20 && codePoint != '\t' && codePoint != '\n' && codePoint != '\r';
    return control || codePoint == 0xFFFE || codePoint == 0xFFFF;
}

struct Character {
    uint32_t codePoint;
    std::string_view bytes;
};

// The character at `place` of valid UTF-8.
Character CharacterAt(std::string_view text, size_t place) {
    const auto byte = [&](size_t offset) { return static_cast<uint8_t>(text[place + offset]); };
    const uint8_t lead = byte(0);
    const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    uint32_t codePoint = length == 1 ? lead : lead & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i)
        codePoint = codePoint << 6 | (byte(i) & 0x3Fu);
    return {codePoint, text.substr(place, length)};
}

// Calls visit(const Character&) for every character of valid UTF-8 until it answers false.
template <typename Visit>
void ForEachCharacter(std::string_view text, Visit visit) {
    for (size_t place = 0; place < text.size();) {
        const Character character = CharacterAt(text, place);
        if (!visit(character)) return;
        place += character.bytes.size();
    }
}

std::string_view ReferenceFor(char byte, bool attribute) {
    switch (byte) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return attribute ? "&quot;" : "";
        case '\t':
            return attribute ? "&#9;" : "";
        case '\n':
            return attribute ? "&#10;" : "";
        case '\r':
            return attribute ? "&#13;" : "";
        default:
            return "";
    }
}

void AppendEscaped(std::string& output, char byte, bool attribute) {
    const std::string_view reference = ReferenceFor(byte, attribute);
    if (reference.empty())
        output.push_back(byte);
    else
        output.append(reference);
}

}  // namespace

void EscapeXml(std::string& output, std::string_view input, bool textMode) {
    for (const char byte : input.substr(0, input.find('\0')))
        AppendEscaped(output, !textMode && (byte == ' ' || byte == ':') ? '_' : byte, false);
}

void EscapeXmlAttribute(std::string& output, std::string_view input) {
    for (const char byte : input.substr(0, input.find('\0')))
        AppendEscaped(output, byte, true);
}

std::string XmlText(std::string_view value) {
    std::string text;
    ForEachCharacter(Utf8OrLatin1(value), [&](const Character& character) {
        text.append(IsForbidden(character.codePoint) ? " " : character.bytes);
        return true;
    });
    return text;
}

bool IsXmlName(std::string_view name) {
    if (name.empty() || !IsValidUtf8(name) || !MayBegin(CharacterAt(name, 0).codePoint)) return false;
    bool valid = true;
    ForEachCharacter(name, [&](const Character& character) {
        valid = MayFollow(character.codePoint);
        return valid;
    });
    return valid;
}

std::string XmlNameFrom(std::string_view text, size_t maximumBytes) {
    const std::string source = Utf8OrLatin1(text);
    std::string name;
    if (source.empty() || !MayBegin(CharacterAt(source, 0).codePoint)) name = "_";
    ForEachCharacter(source, [&](const Character& character) {
        const bool fits = name.size() + character.bytes.size() <= maximumBytes;
        if (fits) name.append(MayFollow(character.codePoint) ? character.bytes : "_");
        return fits;
    });
    return name;
}

}  // namespace vantor
