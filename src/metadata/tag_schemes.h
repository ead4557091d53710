// The one table of tag schemes: their keys, their chunks in RIFF and Wave64 files, and what reads, changes
// and builds those. A new scheme is one line of it.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "metadata/metadata_store.h"
#include "metadata/patch/merge_chunks.h"
#include "metadata/patch/patch_chunks.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

// What a builder works from.
struct BuildInput {
    const MetadataStore& store;
    FileReader* file = nullptr;                      // that picture descriptors point into
    std::span<const ChunkBody> oldBodies;            // of the scheme, as far as its reader takes them
    std::span<const FileRange> unsynchronised = {};  // see OldId3Tags
};

// Whose old chunks make way for new ones.
enum class Replaced {
    never,
    withTags,    // whenever tags are built anew
    withItsOwn,  // when there is a new one
    asRoom       // padding: for whatever comes
};

struct TagScheme {
    const char* name;  // with a colon it begins the keys
    // Of its chunks, four characters each, in the spellings that are taken; the first is written.
    std::string_view ids = {};
    Replaced replaced = Replaced::never;
    bool (*read)(std::span<const uint8_t> chunk, MetadataStore& store, int64_t fileOffset) = nullptr;
    ChunkBody (*blank)() = nullptr;  // the body of a chunk without an entry, for the patcher
    Patched (*patch)(const PatchInput& input) = nullptr;
    void (*build)(ChunkImage& image, const BuildInput& input) = nullptr;
    bool inTail = false;             // a copy has it behind the audio
    std::string_view document = {};  // the scheme in whose chunk its keys stand, when it has none

    [[nodiscard]] constexpr std::string_view WrittenId() const { return ids.substr(0, 4); }
    [[nodiscard]] constexpr bool HasId(std::string_view id) const {
        for (size_t at = 0; at + 4 <= ids.size(); at += 4)
            if (ids.substr(at, 4) == id) return true;
        return false;
    }
};

namespace detail {

// Most readers do not ask where in the file their chunk lies.
template <bool (*read)(std::span<const uint8_t>, MetadataStore&)>
bool Anywhere(std::span<const uint8_t> chunk, MetadataStore& store, int64_t) {
    return read(chunk, store);
}
template <int (*build)(ChunkImage&, const MetadataStore&)>
void FromStore(ChunkImage& image, const BuildInput& input) {
    build(image, input.store);
}
template <int (*build)(ChunkImage&, const MetadataStore&, std::span<const ChunkBody>)>
void FromOldBodies(ChunkImage& image, const BuildInput& input) {
    build(image, input.store, input.oldBodies);
}
inline void BuildDocument(ChunkImage& image, const BuildInput& input) {
    BuildIxmlChunk(image, input.store, 0);
}
inline void BuildTag(ChunkImage& image, const BuildInput& input) {
    BuildId3Chunk(image, input.store, input.file, {input.oldBodies, input.unsynchronised});
}

}  // namespace detail

inline constexpr const char* paddingScheme = "PADDING";

// In the order in which their chunks are built. Ids are matched byte for byte; what is not read under its
// spelling is not replaced either.
inline constexpr std::array tagTable = {
    TagScheme{"BWF", "bext", Replaced::withTags, detail::Anywhere<ReadBext>, BlankBext, PatchBext,
              detail::FromStore<BuildBextChunk>},
    TagScheme{"INFO", "LISTlist", Replaced::withTags, detail::Anywhere<ReadInfo>, BlankInfo, PatchInfo,
              detail::FromOldBodies<MergeInfoChunk>, true},
    TagScheme{"IXML", "iXML", Replaced::withTags, detail::Anywhere<ReadIxml>, BlankIxml, PatchIxml,
              detail::BuildDocument},
    TagScheme{.name = "ASWG", .document = "IXML"},
    TagScheme{"XMP", "_PMX", Replaced::withTags, detail::Anywhere<ReadXmp>, BlankXmp, PatchXmp,
              detail::FromStore<BuildXmpChunk>},
    TagScheme{"AXML", "axml", Replaced::withTags, detail::Anywhere<ReadAxml>, nullptr, nullptr,
              detail::FromOldBodies<BuildAxmlChunk>},
    TagScheme{"CART", "cartCART", Replaced::withTags, detail::Anywhere<ReadCart>, BlankCart, PatchCart,
              detail::FromOldBodies<MergeCartChunk>},
    TagScheme{"ID3", "id3 ID3 id3xID3xid3_ID3_", Replaced::withTags, ReadId3Chunk, BlankId3, PatchId3,
              detail::BuildTag},
    TagScheme{"ACID", "acid", Replaced::withItsOwn, detail::Anywhere<ReadAcid>, BlankAcid, PatchAcid},
    TagScheme{.name = "CAFINFO", .read = detail::Anywhere<ReadCafInfo>},
    TagScheme{paddingScheme, "JUNKjunkJUNQjunqFILRfilrFLLRfllrPAD_pad_", Replaced::asRoom},
};

// Null for a name, or a chunk id, that is not in the table.
[[nodiscard]] constexpr const TagScheme* FindScheme(std::string_view name) {
    const auto* found =
        std::ranges::find(tagTable, name, [](const TagScheme& s) { return std::string_view(s.name); });
    return found == tagTable.end() ? nullptr : found;
}
[[nodiscard]] constexpr const TagScheme* SchemeOfChunkId(std::string_view id) {
    const auto* found = std::ranges::find_if(tagTable, [&](const TagScheme& s) { return s.HasId(id); });
    return found == tagTable.end() ? nullptr : found;
}
// The scheme in whose chunk a key stands; null when it has none. The id of a chunk that nobody reads is a
// key, too: "INFO" and "XMP:" are none of the schemes'.
[[nodiscard]] constexpr const TagScheme* SchemeOfKey(std::string_view key) {
    const size_t colon = key.find(':');
    const bool hasScheme = colon != key.npos && colon + 1 < key.size();
    const auto* scheme = hasScheme ? FindScheme(key.substr(0, colon)) : nullptr;
    return scheme && !scheme->document.empty() ? FindScheme(scheme->document) : scheme;
}

namespace detail {

constexpr bool IsReplacedWithTags(const TagScheme& scheme) {
    return scheme.replaced == Replaced::withTags || scheme.replaced == Replaced::asRoom;
}
constexpr auto NamesOfReplaced() {
    std::array<std::string_view, std::ranges::count_if(tagTable, IsReplacedWithTags)> names;
    auto name = names.begin();
    for (const auto& scheme : tagTable)
        if (IsReplacedWithTags(scheme)) *name++ = scheme.name;
    return names;
}

}  // namespace detail

// Whose old chunks, and padding, an edit drops that builds all tags anew.
inline constexpr auto tagSchemes = detail::NamesOfReplaced();

}  // namespace vantor
