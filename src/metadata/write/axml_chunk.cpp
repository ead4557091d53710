#include "metadata/write/build_chunks.h"
#include "metadata/write/escape_xml.h"

namespace vantor {

namespace {

// An EBUCore document (EBU Tech 3293) that carries the ISRC as EBU Tech 3352 asks.
constexpr std::string_view head =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<ebucore:ebuCoreMain xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:ebucore="urn:ebu:metadata-schema:ebuCore_2012">
  <ebucore:coreMetadata>
    <ebucore:identifier typeLabel="GUID" typeDefinition="Globally Unique Identifier" formatLabel="ISRC" formatDefinition="International Standard Recording Code" formatLink="http://www.ebu.ch/metadata/cs/web/ebu_IdentifierTypeCodeCS_p.xml.htm#3.7">
      <dc:identifier>ISRC:)";
constexpr std::string_view tail = R"(</dc:identifier>
    </ebucore:identifier>
  </ebucore:coreMetadata>
</ebucore:ebuCoreMain>
)";

// Readers that search for the code leave references as they find them: a reference already there stays one,
// or it would grow with every edit.
std::string EscapeOnce(std::string_view text) {
    std::string escaped;
    for (; !text.empty(); text.remove_prefix(1)) {
        const bool isReference =
            text.starts_with("&amp;") || text.starts_with("&lt;") || text.starts_with("&gt;");
        if (isReference)
            escaped += '&';
        else
            EscapeXml(escaped, text.substr(0, 1), true);
    }
    return escaped;
}

}  // namespace

int BuildAxmlChunk(ChunkImage& image, const MetadataStore& store) {
    const auto isrc = EscapeOnce(XmlText(store.Value("AXML:ISRC")));
    if (isrc.empty()) return 0;
    const auto document = std::string(head).append(isrc).append(tail);
    AppendChunk(image, "axml", reinterpret_cast<const uint8_t*>(document.data()), document.size());
    return 1;
}

}  // namespace vantor
