#include "edit/document.h"

#include <algorithm>
#include <array>

#include "edit/chunk_walk.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

namespace {

constexpr int64_t largestDocument = 1 << 30;

struct DocumentChunk {
    std::string_view scheme;
    std::string_view id;
};
constexpr std::array documentChunks = {DocumentChunk{"IXML", "iXML"}, DocumentChunk{"AXML", "axml"},
                                       DocumentChunk{"XMP", "_PMX"}};

const DocumentChunk* ChunkOf(std::string_view scheme) {
    const auto* found = std::ranges::find(documentChunks, scheme, &DocumentChunk::scheme);
    return found == documentChunks.end() ? nullptr : found;
}

}  // namespace

std::vector<uint8_t> ReadDocument(FileReader& file, bool isRf64, std::string_view scheme) {
    std::vector<uint8_t> document;
    if (!ChunkOf(scheme)) return document;
    RiffChunkWalk walk(file, isRf64, {});
    RiffChunk chunk{};
    while (walk.Next(chunk) == WalkStep::chunk) {
        if (chunk.scheme != scheme || chunk.isCutOff || chunk.bodyBytes > largestDocument) continue;
        document.resize(static_cast<size_t>(chunk.bodyBytes));
        file.Seek(chunk.BodyStart());
        if (!file.ReadExactly(document.data(), document.size())) document.clear();
        return document;
    }
    return document;
}

std::optional<ChunkImages> ImagesOf(const Document& document) {
    const auto* chunk = ChunkOf(document.scheme);
    MetadataStore store;
    if (!chunk || document.bytes.empty() || document.bytes.size() > largestDocument ||
        !ReadMetadataChunk(document.bytes, chunk->scheme, store, 0))
        return std::nullopt;
    ChunkImages images;
    AppendChunk(images.main, chunk->id, document.bytes.data(), document.bytes.size());
    images.replaced = {paddingScheme, chunk->scheme};
    return images;
}

}  // namespace vantor
