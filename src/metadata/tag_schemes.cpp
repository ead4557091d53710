#include "metadata/tag_schemes.h"

#include <new>

namespace vantor {

bool ReadMetadataChunk(std::span<const uint8_t> chunk, std::string_view kind, MetadataStore& store,
                       int64_t fileOffset) try {
    const auto* scheme = FindScheme(kind);
    return chunk.data() && scheme && scheme->read && scheme->read(chunk, store, fileOffset);
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace vantor
