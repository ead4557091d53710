// What the tags of a file become: the changes that are asked for, merged into those that it has.
#pragma once

#include <cstdint>
#include <optional>

#include "edit/old_chunks.h"
#include "formats/audio_format.h"
#include "metadata/metadata_store.h"

namespace vantor {

// The file's tags with the changes; without `merges` the changes alone. A new value wins, an empty one
// removes. A key of a scheme is taken under its own name, any other as a common field; a new picture takes
// the place of all that there were.
[[nodiscard]] MetadataStore EditedTags(const AudioFormat& format, const OldChunks& old,
                                       const MetadataStore& changes, bool merges);

// The same for an edit that leaves alone what it does not change: nothing but the changes.
[[nodiscard]] MetadataStore MergedTags(const AudioFormat& format, const MetadataStore& changes);
// The file's place on the timeline in frames; nothing when it has none, or when the changes name it.
[[nodiscard]] std::optional<uint64_t> PositionToKeep(const AudioFormat& format, const MetadataStore& changes);

}  // namespace vantor
