// Changes some keys in a metadata chunk and leaves every other byte as it was. One patcher a scheme, in the
// file <scheme>_patch.cpp each.
//
// A patcher takes the body of an old chunk, or of a blank one, and the change: the keys that
// differ with the values wanted, an empty one for a key that goes. What comes back is read as the old body's
// entries with the change, as far as a field can hold its value. It says nothing when it cannot do that, for
// one because the reader refuses the old body. Taking out what was put in brings the old bytes back.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "metadata/metadata_store.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

struct PatchInput {
    std::span<const uint8_t> body;
    const MetadataStore& change;
    // Of the chunks before this one in the file: a repeated iXML element is numbered through all of them.
    const MetadataStore* entriesBefore = nullptr;
    FileReader* file = nullptr;                      // that picture descriptors point into
    std::span<const FileRange> unsynchronised = {};  // see OldId3Tags
    std::span<const uint8_t> newPicture = {};        // that a picture descriptor with offset 0 means
};
using Patched = std::optional<ChunkBody>;

[[nodiscard]] Patched PatchBext(const PatchInput& input);
[[nodiscard]] Patched PatchCart(const PatchInput& input);
[[nodiscard]] Patched PatchInfo(const PatchInput& input);
[[nodiscard]] Patched PatchIxml(const PatchInput& input);
[[nodiscard]] Patched PatchXmp(const PatchInput& input);
[[nodiscard]] Patched PatchId3(const PatchInput& input);
[[nodiscard]] Patched PatchAcid(const PatchInput& input);

// Bodies without an entry, for chunks that are new. What a patcher leaves empty again gives no body at all:
// the chunk goes.
[[nodiscard]] ChunkBody BlankBext();
[[nodiscard]] ChunkBody BlankCart();
[[nodiscard]] ChunkBody BlankInfo();
[[nodiscard]] ChunkBody BlankIxml();
[[nodiscard]] ChunkBody BlankXmp();
[[nodiscard]] ChunkBody BlankId3();
[[nodiscard]] ChunkBody BlankAcid();

// Puts a zero to the end or takes one away, so that a chunk stays even, or odd, as it was: some readers
// forget the pad byte of a chunk that they do not know, and lose the audio behind it. `from`: where zeros
// begin to be padding.
void KeepParity(ChunkBody& body, size_t oldBytes, size_t from = 0);

}  // namespace vantor
