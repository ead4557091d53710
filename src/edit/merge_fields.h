// What the tags of a file become: the changes that are asked for, merged into those that it has.
#pragma once

#include "edit/old_chunks.h"
#include "formats/audio_format.h"
#include "metadata/metadata_store.h"

namespace vantor {

// The file's tags with the changes; without `merges` the changes alone. A new value wins, an empty one
// removes. A key of a scheme is taken under its own name, any other as a common field; a new picture takes
// the place of all that there were.
[[nodiscard]] MetadataStore EditedTags(const AudioFormat& format, const OldChunks& old,
                                       const MetadataStore& changes, bool merges);

}  // namespace vantor
