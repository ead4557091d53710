// The tag chunks of a file as they stand, in file order.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "edit/chunk_walk.h"
#include "fileio/file_reader.h"
#include "metadata/tag_schemes.h"

namespace vantor {

struct TagChunk {
    const TagScheme* scheme;
    std::string id;
    int64_t bodyStart;
    ChunkBody body;
    bool isRefused;  // by its reader: nothing of it is in the store

    [[nodiscard]] bool Is(std::string_view name) const { return scheme->name == name; }
};

struct TagChunks {
    std::vector<TagChunk> list;             // of an edit that carries nothing over: empty
    std::vector<FileRange> unsynchronised;  // see OldId3Tags
};

[[nodiscard]] bool ReadChunkBody(FileReader& file, const RiffChunk& chunk, ChunkBody& body);

// Loop information is among them, padding is not. Nothing when a chunk cannot be read or is too large to be
// taken over: an edit would lose it.
[[nodiscard]] std::optional<TagChunks> ReadTagChunks(FileReader& file, bool isRf64, bool carriesOver);

}  // namespace vantor
