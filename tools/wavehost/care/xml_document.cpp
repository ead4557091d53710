#include "wavehost/care/xml_document.h"

#include <algorithm>

#include "text/text.h"
#include "xml/xml_parser.h"

namespace vantor::wavehost {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// From the first mark-up on, up to the zeros that fill the chunk.
std::string_view DocumentIn(std::string_view body) {
    if (body.starts_with(byteOrderMark)) body.remove_prefix(byteOrderMark.size());
    body.remove_prefix(std::min(body.find('<'), body.size()));
    return body.substr(0, body.find('\0'));
}

}  // namespace

std::string XmlFault(std::string_view body) {
    const std::string_view document = DocumentIn(body);
    if (document.size() < 2) return "";
    XmlMemoryParser parser(reinterpret_cast<const uint8_t*>(document.data()), document.size());
    const char* message = parser.Parse();
    if (!message) return "";
    return "line " + std::to_string(parser.ErrorLine()) + ", column " + std::to_string(parser.ErrorColumn()) +
           ": " + message;
}

bool NamesOtherEncoding(std::string_view body) {
    constexpr std::string_view name = "encoding=";
    const std::string_view document = DocumentIn(body);
    const std::string_view declaration = document.substr(0, document.find("?>"));
    const size_t place = declaration.find(name);
    if (place == declaration.npos || place + name.size() + 1 > declaration.size()) return false;
    return !StartsWithIgnoringCase(declaration.substr(place + name.size() + 1), "utf-8");
}

}  // namespace vantor::wavehost
