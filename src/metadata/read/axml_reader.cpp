#include "metadata/read/read_metadata.h"

namespace vantor {

// Of an EBUCore document only the ISRC is wanted (EBU Tech 3352); it is found without parsing the XML.
bool ReadAxml(std::span<const uint8_t> chunk, MetadataStore& store) {
    constexpr std::string_view mark = "ISRC:";
    const std::string_view document(reinterpret_cast<const char*>(chunk.data()), chunk.size());
    const auto found = document.find(mark);
    if (found == document.npos) return true;
    const auto value = document.substr(found + mark.size());
    const auto end = value.find('<');
    if (end != value.npos) store.Set("AXML:ISRC", value.substr(0, end));
    return true;
}

}  // namespace vantor
