#include "properties/file_properties.h"

#include <algorithm>
#include <array>

#include "host/host_services.h"
#include "metadata/key_table.h"

namespace vantor {

namespace {

struct Scheme {
    std::string_view prefix;
    const char* name;
};

constexpr std::array schemes = {
    Scheme{"ACID", "ACID loop"},
    Scheme{"ADM", "Audio definition model"},
    Scheme{"ASWG", "ASWG"},
    Scheme{"AXML", "axml"},
    Scheme{"BWF", "Broadcast Wave"},
    Scheme{"CAFINFO", "CAF information"},
    Scheme{"CART", "Cart"},
    Scheme{"DISP", "Display text"},
    Scheme{"ID3", "ID3v2"},
    Scheme{"IFF", "IFF text"},
    Scheme{"INFO", "RIFF INFO"},
    Scheme{"IXML", "iXML"},
    Scheme{"XMP", "XMP"},
};

}  // namespace

void AppendLine(std::string& text, std::string_view label, std::string_view value) {
    text.append(label).append(": ").append(value).append("\r\n");
}

void AddTag(FileProperties& properties, const std::string& key, const std::string& value) {
    properties.rows.push_back({SchemeName(key), key, value, true});
    if (!IsPictureKey(key)) return;
    if (auto descriptor = ParseDescriptor(value)) properties.pictures.push_back(std::move(*descriptor));
}

std::string SchemeName(std::string_view key) {
    const std::string_view prefix = key.substr(0, key.find(':'));
    const auto* const scheme = std::ranges::find(schemes, prefix, &Scheme::prefix);
    return scheme == schemes.end() ? std::string(prefix) : Localize(scheme->name);
}

std::string_view BaseName(std::string_view fileName) {
    return fileName.substr(fileName.find_last_of("/\\") + 1);  // npos + 1 is 0
}

}  // namespace vantor
