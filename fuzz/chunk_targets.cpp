// The readers of single metadata chunks, and their builders.
#include <algorithm>

#include "fileio/byte_order.h"
#include "fuzz/world.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/build_chunks.h"

namespace vantor::fuzz {

namespace {

using BuildChunk = void (*)(ChunkImage& image, const MetadataStore& store);

constexpr std::ptrdiff_t chunkHeaderBytes = 8;
constexpr size_t emptyDocumentBytes = 64;  // a document without a field is refused by its reader

ChunkImage Built(BuildChunk build, const MetadataStore& store) {
    ChunkImage image;
    build(image, store);
    return image;
}

// What the reader takes out of a chunk that was built.
MetadataStore Reread(const ChunkImage& image, std::string_view kind) {
    MetadataStore store;
    const Input body = Input(image).subspan(chunkHeaderBytes);
    const bool accepted = ReadMetadataChunk(body, kind, store, 0);
    Require(accepted || image.size() <= emptyDocumentBytes, "a built chunk is accepted");
    return store;
}

// The first building may order and name things anew; from then on a chunk is a fixed point of edits.
void ReadAndRebuild(Input input, std::string_view kind, BuildChunk build) {
    MetadataStore store;
    ReadMetadataChunk(input, kind, store, 0);
    const ChunkImage first = Built(build, store);
    if (first.empty()) return;
    const ChunkImage second = Built(build, Reread(first, kind));
    if (second.empty()) return;  // what was left could not be written
    Require(Built(build, Reread(second, kind)) == second, "a built chunk is built again");
}

}  // namespace

// No fixed point: a negative loudness comes a hundredth nearer to zero with every edit.
void ReadBextBody(Input input) {
    MetadataStore store;
    ReadMetadataChunk(input, "BWF", store, 0);
    const ChunkImage image = Built([](auto& to, const auto& from) { BuildBextChunk(to, from); }, store);
    if (!image.empty()) Reread(image, "BWF");
}

void ReadCartBody(Input input) {
    ReadAndRebuild(input, "CART", [](auto& image, const auto& store) { BuildCartChunk(image, store); });
}

void ReadInfoBody(Input input) {
    ReadAndRebuild(input, "INFO", [](auto& image, const auto& store) { BuildInfoChunk(image, store); });
}

// A document that an edit carries along does not grow.
void ReadAxmlBody(Input input) {
    ChunkBody document(input.begin(), input.end());
    ChunkImage last;
    for (int edit = 0; edit < 3; ++edit) {
        MetadataStore store;
        ReadMetadataChunk(document, "AXML", store, 0);
        ChunkImage image;
        BuildAxmlChunk(image, store, {&document, 1});
        if (image.empty()) return;
        Require(edit < 2 || image == last, "a built chunk is built again");
        document.assign(image.begin() + chunkHeaderBytes,
                        image.begin() + chunkHeaderBytes + ReadLe32(&image[4]));
        last = std::move(image);
    }
}

void ReadIxmlBody(Input input) {
    ReadAndRebuild(input, "IXML", [](auto& image, const auto& store) { BuildIxmlChunk(image, store, 0); });
}

void ReadXmpBody(Input input) {
    ReadAndRebuild(input, "XMP", [](auto& image, const auto& store) { BuildXmpChunk(image, store); });
}

void ReadAcidBody(Input input) {
    MetadataStore store;
    ReadMetadataChunk(input, "ACID", store, 0);
}

void ReadCafInfoBody(Input input) {
    MetadataStore store;
    ReadCafInfo(input, store);
}

// The input is the tag and the file that pictures are copied from.
void ReadId3Body(Input input) {
    Choices choices(input);
    World world(input, choices);
    MetadataStore store;
    ReadMetadataChunk(input, "ID3", store, 0);
    FileReader file(fileName, {});
    ChunkImage image;
    const ChunkBody oldTag(input.begin(), input.end());
    BuildId3Chunk(image, store, &file, {{&oldTag, 1}, {}});
    if (image.empty()) return;
    MetadataStore again;
    ReadMetadataChunk(Input(image).subspan(chunkHeaderBytes), "ID3", again, 0);
}

}  // namespace vantor::fuzz
