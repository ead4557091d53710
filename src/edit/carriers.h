// The chunks whose entries an edit changes, each on its own: what it says, what becomes of it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "edit/tag_chunks.h"

namespace vantor {

struct Carrier {
    const TagChunk* chunk;
    // Its reader refuses the chunk, though its fields are all in order: nothing of them is in the store until
    // a change goes there, for want of another chunk of the scheme.
    bool isDormant;
    MetadataStore before;   // iXML entries of the chunks before it
    MetadataStore entries;  // its own, as they are numbered in the file
    MetadataStore change;   // its part of the change
    ChunkBody body;         // what it becomes; empty: it goes

    [[nodiscard]] bool IsChanged() const { return change.Count() > 0; }
    [[nodiscard]] bool Counts() const { return !isDormant || IsChanged(); }
};

// In file order. Dormant ones are ID3 tags in a chunk of another length (a footer, zeros behind the tag), and
// the information of a loop that is shorter or longer than it should be.
[[nodiscard]] std::vector<Carrier> CarriersIn(const TagChunks& chunks);

[[nodiscard]] MetadataStore Filtered(const MetadataStore& store,
                                     const std::function<bool(const std::string& key)>& takes);

}  // namespace vantor
