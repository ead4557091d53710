#include "edit/document.h"

#include <algorithm>
#include <array>
#include <utility>

#include "edit/chunk_walk.h"
#include "edit/container.h"
#include "edit/picture.h"
#include "formats/document_chunks.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

namespace {

constexpr int64_t largestDocument = 1 << 30;

constexpr std::array<std::string_view, 3> documentSchemes = {"IXML", "AXML", "XMP"};

// Null when it is no scheme of documents.
const TagScheme* DocumentScheme(std::string_view name) {
    const bool isDocument = std::ranges::find(documentSchemes, name) != documentSchemes.end();
    return isDocument ? FindScheme(name) : nullptr;
}

std::vector<DocumentPlace> PlacesOf(FileReader& file, const AudioFormat& format, std::string_view scheme) {
    if (!TakesTags(format)) return FindDocuments(file, scheme);
    std::vector<DocumentPlace> places;
    RiffChunkWalk walk(file, format.fileKind != kindWave, {});
    RiffChunk chunk{};
    while (walk.Next(chunk) == WalkStep::chunk)
        if (chunk.scheme == scheme) places.push_back({chunk.BodyStart(), chunk.bodyBytes});
    return places;
}

std::vector<uint8_t> BytesAt(FileReader& file, const DocumentPlace& place) {
    std::vector<uint8_t> bytes;
    if (place.bytes > largestDocument) return bytes;
    bytes.resize(static_cast<size_t>(place.bytes));
    if (!file.Seek(place.start) || !file.ReadExactly(bytes.data(), place.bytes)) bytes.clear();
    return bytes;
}

// Of the last tag that has one: its values are the ones that count.
std::vector<uint8_t> ReadPictureDocument(FileReader& file, const AudioFormat& format) {
    std::vector<uint8_t> picture;
    for (const auto& place : PlacesOf(file, format, "ID3"))
        if (auto found = FirstPictureIn(BytesAt(file, place))) picture = std::move(*found);
    return picture;
}

std::optional<ChunkImages> ImagesOfChunk(const Document& document) {
    const auto* scheme = DocumentScheme(document.scheme);
    MetadataStore store;
    if (!scheme || document.bytes.size() > largestDocument ||
        !ReadMetadataChunk(document.bytes, scheme->name, store, 0))
        return std::nullopt;
    ChunkImages images;
    AppendChunk(images.main, scheme->WrittenId(), document.bytes.data(), document.bytes.size());
    images.replaced = {paddingScheme, scheme->name};
    return images;
}

}  // namespace

std::vector<uint8_t> ReadDocument(FileReader& file, const AudioFormat& format, std::string_view scheme) {
    if (scheme == pictureScheme) return ReadPictureDocument(file, format);
    if (!DocumentScheme(scheme)) return {};
    const auto places = PlacesOf(file, format, scheme);
    return places.empty() ? std::vector<uint8_t>() : BytesAt(file, places.front());
}

std::optional<ChunkImages> ImagesOf(const Document& document, FileReader& file, bool isRf64) {
    if (document.scheme != pictureScheme) return ImagesOfChunk(document);
    const auto old = ReadTagChunks(file, isRf64, true);
    return old ? ImagesWithPicture(*old, document.bytes) : std::nullopt;
}

}  // namespace vantor
