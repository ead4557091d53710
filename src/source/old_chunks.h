// What an edit takes over from the file's old metadata chunks beside the entries of its store.
#pragma once

#include <optional>
#include <vector>

#include "fileio/file_reader.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

struct OldChunks {
    ChunkBody id3Tag;  // the first, header included; empty when there is none
    std::vector<ChunkBody> axmlDocuments;
};

// Nothing when a chunk cannot be read or is too large to be taken over: an edit would lose it.
[[nodiscard]] std::optional<OldChunks> ReadOldChunks(FileReader& file, bool isRf64);

}  // namespace vantor
