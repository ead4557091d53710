#include "formats/chunk_catalogue.h"

#include <span>
#include <string_view>

#include "fileio/byte_order.h"
#include "metadata/tag_schemes.h"

namespace vantor {

namespace {

constexpr uint32_t clipboardText = 1;  // CF_TEXT, the first word of a DISP chunk

void ReadDisplayText(std::span<const uint8_t> body, MetadataStore& metadata) {
    if (body.size() < 5 || ReadLe32(body.data()) != clipboardText) return;
    metadata.Set("DISP:CF_TEXT", {reinterpret_cast<const char*>(body.data()) + 4, body.size() - 4});
}

}  // namespace

void CatalogueChunk(FileReader& reader, const uint8_t* chunkHeader, int64_t bodyStart, uint32_t bodySize,
                    std::vector<uint8_t>& scratch, MetadataStore& metadata) {
    if (bodySize < 4) return;
    const auto id = FourCharacters(chunkHeader);
    const auto* scheme = SchemeOfChunkId(id);
    if (scheme && scheme->read) {
        if (const auto body = LendBody(reader, bodySize, scratch))
            ReadMetadataChunk(*body, scheme->name, metadata, bodyStart);
    } else if (id == "DISP") {
        if (const auto body = LendBody(reader, bodySize, scratch)) ReadDisplayText(*body, metadata);
    } else if (!scheme) {
        metadata.Set(id, {});
    }
}

}  // namespace vantor
