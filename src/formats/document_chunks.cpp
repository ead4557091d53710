#include "formats/document_chunks.h"

#include <algorithm>

#include "fileio/byte_order.h"
#include "formats/chunk_cursor.h"
#include "formats/containers.h"
#include "metadata/tag_schemes.h"

namespace vantor {

namespace {

// Whose document a chunk holds, and what stands in its body in front of it.
struct DocumentHead {
    std::string_view scheme;  // empty: none
    int64_t bytes = 0;
};

DocumentHead HeadInWave64(FileReader&, const Chunk& chunk) {
    const auto* scheme = IsRiffChunk(chunk) ? SchemeOfChunkId(chunk.Id()) : nullptr;
    return {scheme ? std::string_view(scheme->name) : std::string_view()};
}

DocumentHead HeadInIff(FileReader& reader, const Chunk& chunk) {
    uint8_t signature[4];
    const auto* scheme = SchemeOfChunkId(chunk.Id());
    if (scheme && scheme->name == std::string_view("ID3")) return {scheme->name};
    if (chunk.Id() != "APPL" || !reader.ReadExactly(signature, sizeof signature)) return {};
    return FourCharacters(signature) == xmpSignature ? DocumentHead{"XMP", sizeof signature} : DocumentHead{};
}

DocumentHead HeadInCaf(FileReader& reader, const Chunk& chunk) {
    uint8_t uuid[sizeof xmpUuid];
    if (chunk.Id() != "uuid" || !reader.ReadExactly(uuid, sizeof uuid)) return {};
    return std::ranges::equal(uuid, xmpUuid) ? DocumentHead{"XMP", sizeof uuid} : DocumentHead{};
}

struct Carrier {
    FileKind kind;
    ChunkFraming framing;
    DocumentHead (*headOf)(FileReader& reader, const Chunk& chunk);
};
constexpr Carrier carriers[] = {{kindWave64, wave64Framing, HeadInWave64},
                                {kindIff, iffFraming, HeadInIff},
                                {kindCaf, cafFraming, HeadInCaf}};

}  // namespace

std::vector<DocumentPlace> FindDocuments(FileReader& reader, std::string_view scheme) {
    std::vector<DocumentPlace> places;
    const Container* container = RecogniseContainer(reader);
    if (!container) return places;
    const auto* carrier = std::ranges::find(carriers, container->kind, &Carrier::kind);
    if (carrier == std::end(carriers) || !reader.Seek(container->firstChunk)) return places;
    Chunk chunk;
    while (ReadChunkHeader(reader, carrier->framing, chunk)) {
        const auto head = carrier->headOf(reader, chunk);
        const int64_t left = reader.Size() - chunk.bodyStart;
        const bool isWhole = left >= 0 && chunk.bodyBytes <= static_cast<uint64_t>(left);
        if (isWhole && head.scheme == scheme && chunk.bodyBytes >= static_cast<uint64_t>(head.bytes))
            places.push_back(
                {chunk.bodyStart + head.bytes, static_cast<int64_t>(chunk.bodyBytes) - head.bytes});
        if (!isWhole || !SeekPastChunk(reader, carrier->framing, chunk)) break;
    }
    return places;
}

}  // namespace vantor
