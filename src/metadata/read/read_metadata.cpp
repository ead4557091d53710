#include "metadata/read/read_metadata.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace vantor {

namespace {

using Bytes = std::span<const uint8_t>;

// Most readers do not ask where in the file their chunk lies.
template <bool (*read)(Bytes, MetadataStore&)>
bool Anywhere(Bytes chunk, MetadataStore& store, int64_t) {
    return read(chunk, store);
}

struct Reader {
    std::string_view kind;
    bool (*read)(Bytes chunk, MetadataStore& store, int64_t fileOffset);
};
constexpr Reader readers[] = {
    {"BWF", Anywhere<ReadBext>},  {"IXML", Anywhere<ReadIxml>}, {"CART", Anywhere<ReadCart>},
    {"INFO", Anywhere<ReadInfo>}, {"AXML", Anywhere<ReadAxml>}, {"ACID", Anywhere<ReadAcid>},
    {"XMP", Anywhere<ReadXmp>},   {"ID3", ReadId3Chunk},        {"CAFINFO", Anywhere<ReadCafInfo>},
};

}  // namespace

bool ReadMetadataChunk(std::span<const uint8_t> chunk, std::string_view kind, MetadataStore& store,
                       int64_t fileOffset) try {
    const auto* reader = std::ranges::find(readers, kind, &Reader::kind);
    return chunk.data() && reader != std::end(readers) && reader->read(chunk, store, fileOffset);
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace vantor
