// What the XML parser says of a document in a chunk.
#pragma once

#include <string>
#include <string_view>

namespace vantor::wavehost {

// "line 3, column 17: ..." where the parser stops; empty when it does not, or when the document is in UTF-16.
std::string XmlFault(std::string_view body);
// The document's declaration names an encoding that is not UTF-8.
bool NamesOtherEncoding(std::string_view body);

}  // namespace vantor::wavehost
