// What an edit that builds tags anew takes over from the file's old chunks beside the entries of its store.
#pragma once

#include <map>
#include <string_view>
#include <vector>

#include "edit/tag_chunks.h"
#include "metadata/metadata_store.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

struct OldChunks {
    // Of each scheme those that its reader takes; of ID3 tags the ones whose values count less come first.
    std::map<std::string_view, std::vector<ChunkBody>> bodies;
    std::vector<FileRange> unsynchronised;  // see OldId3Tags
    // Of ID3 tags whose chunk its reader refuses, though their frames are all in order: its length is not
    // that of the tag.
    MetadataStore refusedTagEntries;
    // When an iXML document stands in its chunk and in an ID3 tag, too: what is read of it once.
    bool repeatsDocument = false;
    MetadataStore documentEntries;
    // Whole chunks that their readers refuse: nothing of them is in the store. Documents of iXML go in front
    // of the new one, others to the end of the main image.
    ChunkImage refusedDocuments;
    ChunkImage refused;
};

[[nodiscard]] OldChunks OldChunksOf(TagChunks chunks);

}  // namespace vantor
