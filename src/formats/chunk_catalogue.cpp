#include "formats/chunk_catalogue.h"

#include <algorithm>
#include <string_view>

#include "fileio/byte_order.h"
#include "metadata/read/read_metadata.h"

namespace vantor {

namespace {

struct MetadataChunk {
    std::string_view id;
    std::string_view kind;  // as ReadMetadataChunk knows it
};

constexpr MetadataChunk metadataChunks[] = {
    {"list", "INFO"}, {"LIST", "INFO"}, {"bext", "BWF"},  {"iXML", "IXML"}, {"cart", "CART"},
    {"CART", "CART"}, {"axml", "AXML"}, {"acid", "ACID"}, {"_PMX", "XMP"},  {"ID3 ", "ID3"},
    {"id3 ", "ID3"},  {"ID3x", "ID3"},  {"id3x", "ID3"},  {"ID3_", "ID3"},  {"id3_", "ID3"},
};

constexpr std::string_view paddingChunks[] = {"JUNK", "junk", "JUNQ", "junq", "FILR",
                                              "filr", "FLLR", "fllr", "PAD_", "pad_"};

constexpr uint32_t clipboardText = 1;  // CF_TEXT, the first word of a DISP chunk

void ReadDisplayText(const std::vector<uint8_t>& body, MetadataStore& metadata) {
    if (body.size() < 5 || ReadLe32(body.data()) != clipboardText) return;
    metadata.Set("DISP:CF_TEXT", {reinterpret_cast<const char*>(body.data()) + 4, body.size() - 4});
}

}  // namespace

void CatalogueChunk(FileReader& reader, const uint8_t* chunkHeader, int64_t bodyStart, uint32_t bodySize,
                    std::vector<uint8_t>& scratch, MetadataStore& metadata) {
    if (bodySize < 4) return;
    const auto id = FourCharacters(chunkHeader);
    const auto* known = std::ranges::find(metadataChunks, id, &MetadataChunk::id);
    if (known != std::end(metadataChunks)) {
        if (ReadBody(reader, bodySize, scratch)) ReadMetadataChunk(scratch, known->kind, metadata, bodyStart);
    } else if (id == "DISP") {
        if (ReadBody(reader, bodySize, scratch)) ReadDisplayText(scratch, metadata);
    } else if (std::ranges::find(paddingChunks, id) == std::end(paddingChunks)) {
        metadata.Set(id, {});
    }
}

}  // namespace vantor
