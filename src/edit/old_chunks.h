// What an edit takes over from the file's old metadata chunks beside the entries of its store.
#pragma once

#include <optional>
#include <vector>

#include "fileio/file_reader.h"
#include "metadata/metadata_store.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

struct OldChunks {
    OldId3Tags id3;
    // Of the tags among them whose chunk its reader refuses, though their frames are all in order: its length
    // is not that of the tag.
    MetadataStore refusedTagEntries;
    std::vector<ChunkBody> axmlDocuments;
    // Whole chunks that their readers refuse, for the main image: nothing of them is in the store.
    ChunkImage refused;
};

// An edit that replaces everything (`carriesOver` false) only learns where unsynchronised tags lie. Nothing
// when a chunk cannot be read or is too large to be taken over: an edit would lose it.
[[nodiscard]] std::optional<OldChunks> ReadOldChunks(FileReader& file, bool isRf64, bool carriesOver);

}  // namespace vantor
