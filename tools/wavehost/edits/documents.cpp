#include "wavehost/edits/documents.h"

#include <algorithm>
#include <cctype>

#include "wavehost/edits/tag_values.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/system.h"
#include "wavehost/values/numbers.h"

namespace vantor::wavehost {

namespace {

constexpr std::string_view ixmlKeys[] = {"IXML:", "ASWG:"}, axmlKeys[] = {"AXML:"}, xmpKeys[] = {"XMP:"},
                           pictureKeys[] = {"ID3:APIC"};

constexpr DocumentKind kinds[] = {
    {"iXML", "IXML", ixmlKeys},
    {"axml", "AXML", axmlKeys},
    {"XMP", "XMP", xmpKeys},
    {"picture", nullptr, pictureKeys},
};

std::string Asked(PCM_source& source, const char* scheme) {
    const auto ask = [&](char* bytes, intptr_t room) {
        return source.ExtendedCall(callDocument, const_cast<char*>(scheme), bytes,
                                   reinterpret_cast<void*>(room));
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

// "offset:1234" within "mime:image/png type:3 offset:1234 length:5678".
uint64_t NumberIn(std::string_view description, std::string_view name) {
    const size_t start = description.rfind(name);
    if (start == description.npos) throw Failure("its picture is not where the tag says");
    const std::string_view rest = description.substr(start + name.size());
    return UnsignedOf(rest.substr(0, rest.find(' '))).value_or(0);
}

std::string PictureIn(PCM_source& source, const std::string& file) {
    const std::string description = ValueUnder(MetadataOf(source), "ID3:APIC");
    if (description.empty()) return {};
    const uint64_t offset = NumberIn(description, " offset:"), length = NumberIn(description, " length:");
    const Stream stream(OpenStream(PathOf(file), "rb"));
    std::string picture(length, '\0');
    if (!stream || !SeekStream(stream.get(), static_cast<int64_t>(offset)) ||
        std::fread(picture.data(), 1, picture.size(), stream.get()) != picture.size())
        throw Failure("its picture cannot be read");
    return picture;
}

}  // namespace

const DocumentKind* DocumentKindNamed(std::string_view name) {
    const auto lower = [](unsigned char letter) { return std::tolower(letter); };
    const auto* found = std::ranges::find_if(kinds, [&](const DocumentKind& kind) {
        return std::ranges::equal(kind.name, name, {}, lower, lower);
    });
    return found == std::end(kinds) ? nullptr : found;
}

std::string DocumentIn(PCM_source& source, const std::string& file, const DocumentKind& kind) {
    if (!kind.scheme) return PictureIn(source, file);
    std::string document = Asked(source, kind.scheme);
    if (!IsUtf16(document)) document.resize(document.find_last_not_of('\0') + 1);
    return document;
}

}  // namespace vantor::wavehost
