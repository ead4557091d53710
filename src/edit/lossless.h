// The chunks of an edit that changes nothing but what was asked for: the keys whose values differ between the
// file's tags and those wanted decide which schemes' chunks are patched; all other chunks stay where they
// are.
#pragma once

#include <optional>

#include "edit/images.h"
#include "edit/tag_chunks.h"

namespace vantor {

struct LosslessSources {
    const AudioFormat& format;  // of the file as it is
    const MetadataStore& changes;
    TagChunks& old;    // moved from
    FileReader& file;  // pictures are copied from it
};

// Nothing when nothing would change. Every patch has been read back: it says what it should, as far as its
// fields can hold it, and keeps what no key names. A scheme of which that cannot be had is built anew.
[[nodiscard]] std::optional<ChunkImages> LosslessImages(const LosslessSources& sources);

}  // namespace vantor
