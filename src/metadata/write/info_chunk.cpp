#include "metadata/write/build_chunks.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr std::string_view prefix = "INFO:";
constexpr size_t idBytes = 4;

// Ids of another length cannot be items of the list.
void AppendItem(ChunkImage& items, const MetadataEntry& entry) {
    const auto id = std::string_view(entry.key).substr(prefix.size());
    if (id.size() != idBytes) return;
    const auto text = Utf8OrLatin1(entry.value);
    AppendChunk(items, id, reinterpret_cast<const uint8_t*>(text.c_str()), text.size() + 1);
}

}  // namespace

int BuildInfoChunk(ChunkImage& image, const MetadataStore& store) {
    constexpr std::string_view type = "INFO";
    ChunkImage list(type.begin(), type.end());
    store.ForEach([&](const MetadataEntry& entry) {
        if (entry.key.starts_with(prefix)) AppendItem(list, entry);
    });
    if (list.size() == type.size()) return 0;
    AppendChunk(image, "LIST", list.data(), list.size());
    return 1;
}

}  // namespace vantor
