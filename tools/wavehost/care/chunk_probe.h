// Whether chunks stand at a place of a file: how sound is told from tags where a size lies.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "formats/chunk_cursor.h"
#include "formats/containers.h"

namespace vantor::wavehost {

// How a container of this kind frames its chunks, and the ids that stand beside sound in it.
struct ContainerRules {
    ChunkFraming framing;
    std::string_view data;  // id of the chunk that holds the sound
    std::span<const std::string_view> knownIds;

    [[nodiscard]] int64_t HeaderBytes() const { return framing.idBytes + framing.sizeBytes; }
};
// Null for one that `check` knows nothing of.
const ContainerRules* RulesOf(const Container& container);

class ChunkProbe {
  public:
    ChunkProbe(FileReader& reader, const ContainerRules& rules)
        : reader_(reader), rules_(rules), fileBytes_(reader.Size()) {}

    // The header at `position`: false when the file ends first, or when it is none (an id that is no text, or
    // for Wave64 no size).
    [[nodiscard]] bool HeaderAt(int64_t position, Chunk& chunk);
    [[nodiscard]] bool IsKnown(const Chunk& chunk) const;
    // A chunk can stand there: the file ends, or a known id follows, whole or cut off by the end, or whole
    // chunks up to the end, or nothing but zeros.
    [[nodiscard]] bool ChunksFollow(int64_t position);
    // The file ends there, or a known id stands there. Zeros may be silence, and are not taken for chunks.
    [[nodiscard]] bool KnownChunkFollows(int64_t position);
    // Whole chunks, the first one known, fill the file from there on (but for the last one's pad bytes).
    [[nodiscard]] bool ChunksFillFrom(int64_t position);
    // The first place from `from` on where chunks of known ids fill the rest of the file, or where a tag
    // begins that the end of the file cuts off. Reads the file up to there.
    [[nodiscard]] std::optional<int64_t> FindTags(int64_t from);
    [[nodiscard]] bool IsZeroFrom(int64_t position);
    // The searches came to too many chunks to follow them all: what they say is not the whole truth.
    [[nodiscard]] bool HasGivenUp() const { return stepsLeft_ < 0; }

  private:
    [[nodiscard]] bool ReachesEnd(int64_t position);
    [[nodiscard]] bool IsCutOffTag(const Chunk& chunk);
    [[nodiscard]] bool TagsStartAt(int64_t position);

    FileReader& reader_;
    const ContainerRules& rules_;
    int64_t fileBytes_;
    int stepsLeft_ = 1 << 20;  // over all searches: a file may be made of chains that lead nowhere
};

}  // namespace vantor::wavehost
