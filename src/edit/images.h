// The new chunks of an edit: what the file's tags become, as bytes.
#pragma once

#include <string_view>
#include <vector>

#include "edit/old_chunks.h"
#include "formats/audio_format.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

struct ChunkImages {
    ChunkImage main;                         // goes behind "fmt " in a copy
    ChunkImage tail;                         // goes to the end
    std::vector<std::string_view> replaced;  // schemes whose old chunks make way for these
};

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
