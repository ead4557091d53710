// What the tags of a file are once the images of an edit are in it, told before a byte is written.
#pragma once

#include <vector>

#include "edit/images.h"
#include "edit/tag_chunks.h"

namespace vantor {

struct PlannedTags {
    // As the file opens with them, if its parse reaches its end; pictures that are moved lie nowhere yet.
    MetadataStore entries;
    // In file order, with `bodyStart` as it was. Those without an old place stand behind the others; 1 is
    // their start.
    std::vector<TagChunk> chunks;
};

// `format` is that of the file as it is. Chunks that cannot be read are left out, as they are when it is
// opened.
[[nodiscard]] PlannedTags PlanTags(FileReader& file, const AudioFormat& format, const ChunkImages& images);

}  // namespace vantor
