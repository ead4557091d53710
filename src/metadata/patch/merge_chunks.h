// Builds the chunks of schemes whose old ones hold more than their entries: what is not changed keeps its
// bytes. Appends one chunk, or nothing when nothing is left; the bytes appended.
#pragma once

#include <span>

#include "metadata/write/build_chunks.h"

namespace vantor {

// One list of the items of all old ones.
int MergeInfoChunk(ChunkImage& image, const MetadataStore& store, std::span<const ChunkBody> oldLists);
// From the last of the old ones, which is the one that the store has the values of.
int MergeCartChunk(ChunkImage& image, const MetadataStore& store, std::span<const ChunkBody> oldCarts);

}  // namespace vantor
