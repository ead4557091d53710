// Decides what a RIFF or Wave64 chunk is that its walk does not handle: a metadata chunk for its reader, a
// display text, padding, or a chunk to be listed by its id.
#pragma once

#include <cstdint>
#include <vector>

#include "fileio/file_reader.h"
#include "formats/chunk_cursor.h"  // LendBody
#include "metadata/metadata_store.h"

namespace vantor {

// `reader` stands at `bodyStart`; where it stands afterwards is open. `chunkHeader`: the 4-character id comes
// first. `scratch` is the parse's reusable buffer. Silent: a chunk that cannot be read whole is dropped.
void CatalogueChunk(FileReader& reader, const uint8_t* chunkHeader, int64_t bodyStart, uint32_t bodySize,
                    std::vector<uint8_t>& scratch, MetadataStore& metadata);

}  // namespace vantor
