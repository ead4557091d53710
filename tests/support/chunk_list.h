// A plain walk over the chunks of a small RIFF file, for checking what the module wrote.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/byte_writer.h"

namespace vantor::test {

struct ListedChunk {
    std::string id;
    Bytes body;
    bool operator==(const ListedChunk&) const = default;
};

// Ends at the first chunk that is not whole. Follows 32-bit sizes alone.
std::vector<ListedChunk> ChunkList(const Bytes& file);
// The ids one after the other.
std::string Ids(const Bytes& file);
std::optional<ListedChunk> Find(const Bytes& file, std::string_view id);
// Everything but metadata and padding.
std::vector<ListedChunk> KeptChunks(const Bytes& file);
uint32_t RiffSizeField(const Bytes& file);

}  // namespace vantor::test
