// The new chunks of an edit: what the file's tags become, as bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "edit/chunk_walk.h"
#include "edit/old_chunks.h"
#include "fileio/byte_order.h"
#include "formats/audio_format.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

// Chunks in one of the images that belong where an old chunk stands.
struct ChunkPlace {
    int64_t oldStart = 0;  // of the old chunk's header
    bool inTail = false;   // else in the main image
    size_t begin = 0;      // of their bytes there
    size_t end = 0;
};

struct ChunkImages {
    ChunkImage main;                         // goes behind "fmt " in a copy
    ChunkImage tail;                         // goes to the end
    std::vector<std::string_view> replaced;  // schemes whose old chunks make way for these
    // Of an edit that leaves alone what it does not change: a copy has padding, too, and these parts of the
    // images, in their order there, are left out where they would go and stand in the old chunks' places.
    bool keepsPlaces = false;
    std::vector<ChunkPlace> places = {};
    std::vector<std::string_view> rebuilt = {};  // schemes whose old chunks could not be patched
};

// The chunks of one scheme, and where old ones stood whose places the first of them take.
struct SchemeImage {
    ChunkImage bytes;
    std::vector<int64_t> oldStarts;
};
// Each chunk goes to the place of an old one; those that are more stand behind the last of them.
void AddInPlaces(ChunkImages& images, const SchemeImage& image, bool inTail);

// All in the main image, that of the tail behind it, with the places in the order of their bytes.
[[nodiscard]] ChunkImages Joined(const ChunkImages& images);

// With the bytes of each chunk, header and pad byte included.
template <typename Visit>
void ForEachChunk(std::span<const uint8_t> image, Visit visit) {
    while (!image.empty()) {
        const size_t body = ReadLe32(&image[4]), whole = chunkHeaderBytes + body + body % 2;
        visit(image.first(whole));
        image = image.subspan(whole);
    }
}

// What the images are made from.
struct ImageSources {
    const AudioFormat& format;  // of the file as it is
    const MetadataStore& changes;
    const OldChunks& old;
    FileReader& file;  // pictures are copied from it
    int32_t flags;     // WriteFlags
};

[[nodiscard]] ChunkImages BuildImages(const ImageSources& sources);

}  // namespace vantor
