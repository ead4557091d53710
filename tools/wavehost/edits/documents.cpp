#include "wavehost/edits/documents.h"

#include <algorithm>
#include <cctype>

#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

constexpr std::string_view ixmlKeys[] = {"IXML:", "ASWG:"}, axmlKeys[] = {"AXML:"}, xmpKeys[] = {"XMP:"},
                           pictureKeys[] = {"ID3:APIC"};

constexpr DocumentKind kinds[] = {
    {"iXML", "IXML", ixmlKeys},
    {"axml", "AXML", axmlKeys},
    {"XMP", "XMP", xmpKeys},
    {"picture", "ID3:APIC", pictureKeys},
};

std::string Asked(PCM_source& source, const char* scheme) {
    const auto ask = [&](char* bytes, intptr_t room) {
        return source.ExtendedCall(callDocument, const_cast<char*>(scheme), bytes, Number(room));
    };
    std::string document(static_cast<size_t>(ask(nullptr, 0)), '\0');
    if (ask(document.data(), std::ssize(document)) != std::ssize(document))
        throw Failure("changed while it was read");
    return document;
}

// Half of the bytes of UTF-16 are zeros.
bool IsUtf16(std::string_view text) {
    return text.size() >= 2 && (text[0] == '\0' || text[1] == '\0' || text.starts_with("\xFF\xFE") ||
                                text.starts_with("\xFE\xFF"));
}

}  // namespace

const DocumentKind* DocumentKindNamed(std::string_view name) {
    const auto lower = [](unsigned char letter) { return std::tolower(letter); };
    const auto* found = std::ranges::find_if(kinds, [&](const DocumentKind& kind) {
        return std::ranges::equal(kind.name, name, {}, lower, lower);
    });
    return found == std::end(kinds) ? nullptr : found;
}

std::string DocumentIn(PCM_source& source, const DocumentKind& kind) {
    std::string document = Asked(source, kind.scheme);
    const bool isText = kind.prefixes.data() != pictureKeys;
    if (isText && !IsUtf16(document)) document.resize(document.find_last_not_of('\0') + 1);
    return document;
}

}  // namespace vantor::wavehost
