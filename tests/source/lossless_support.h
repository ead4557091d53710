// Files before and after an edit that changes nothing but what was asked for, chunk by chunk.
#pragma once

#include <gtest/gtest.h>

#include <map>

#include "fileio/byte_order.h"
#include "metadata/tag_schemes.h"
#include "tests/metadata/store_entries.h"
#include "tests/source/source_support.h"
#include "tests/support/chunk_list.h"

namespace vantor::test {

inline constexpr intptr_t lossless = 5;  // with mergeTags

// Of a file of any kind; the size of the whole, which is checked, is left out of `ds64`.
inline std::vector<ListedChunk> Chunks(Bytes file) {
    if (TextOf(file).starts_with("RIFF")) return ChunkList(file);
    EXPECT_EQ(ReadLe64(&file[20]), file.size() - 8);
    WriteLe64(&file[20], 0);
    WriteLe32(&file[TextOf(file).find("data\xFF\xFF\xFF\xFF") + 4], ReadLe32(&file[28]));
    return ChunkList(file);
}

// The tag chunks of a scheme become one text; all other chunks by their place.
inline std::map<std::string, std::string> ChunksByScheme(const Bytes& file) {
    std::map<std::string, std::string> chunks;
    for (const auto& chunk : Chunks(file)) {
        const bool isKeptList = chunk.id == "LIST" && TextOf(chunk.body).substr(0, 4) != "INFO";
        const auto* scheme = isKeptList ? nullptr : SchemeOfChunkId(chunk.id);
        if (scheme && scheme->replaced == Replaced::asRoom) continue;
        chunks[scheme ? scheme->name : "kept"] += chunk.id + TextOf(chunk.body);
    }
    return chunks;
}

}  // namespace vantor::test
