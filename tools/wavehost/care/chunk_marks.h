// The chunks of a file before and after its tags were edited.
#pragma once

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace vantor::wavehost {

// What tells one chunk from another. Of the sound it is the size alone.
struct ChunkMark {
    std::string id;
    std::string scheme;  // of tags, as their keys begin; empty for all else
    int64_t bytes = 0;
    uint64_t hash = 0;  // of the body's first 64 MiB
    // NOLINTNEXTLINE(modernize-use-nullptr): the comparison that the compiler writes compares with 0
    auto operator<=>(const ChunkMark&) const = default;
};

// In file order, without padding and without `ds64`, which counts the file's bytes. None of a file that
// cannot be read.
std::vector<ChunkMark> ChunkMarksOf(const std::string& file);

ChunkMark MarkOfTags(const std::string& id, const std::string& scheme, std::span<const uint8_t> body);
// The marks of a file whose chunks of tags become `tags`: of each scheme the first takes the place of the
// first, and so on; those that are more stand behind.
std::vector<ChunkMark> WithTags(const std::vector<ChunkMark>& marks, const std::vector<ChunkMark>& tags);
// All that chunks of tags can have.
std::set<std::string> SchemesOfTags();

// A line for each chunk that went, came or changed, one when they stand in another order: `asked` are the
// schemes that an edit was to change.
std::vector<std::string> ChunkChanges(const std::vector<ChunkMark>& before,
                                      const std::vector<ChunkMark>& after,
                                      const std::set<std::string>& asked);

}  // namespace vantor::wavehost
