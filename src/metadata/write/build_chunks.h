// Builds the chunks of a file's metadata. Each builder takes the store and appends one complete RIFF chunk
// (header, data, pad byte) to the image, or nothing when the store has no key of its scheme. In the file
// <scheme>_chunk.cpp each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fileio/file_reader.h"
#include "metadata/metadata_store.h"

namespace vantor {

using ChunkImage = std::vector<uint8_t>;
using ChunkBody = std::vector<uint8_t>;

// Appends a chunk with its size and, after an odd body, its pad byte: the one place where chunks are framed.
// Builders fill their bodies to an even size where they can: some readers forget the pad byte of a chunk that
// they do not know, and with it lose the audio behind.
void AppendChunk(ChunkImage& image, std::string_view id, const uint8_t* body, size_t bodyBytes);

int BuildBextChunk(ChunkImage& image, const MetadataStore& store);  // 1 when a chunk was appended
// Returns the bytes appended; the data are filled with zeros to an even size of at least minimumDataBytes.
int BuildIxmlChunk(ChunkImage& image, const MetadataStore& store, int minimumDataBytes);
// Removes the keys under which the "BWF" section that BuildIxmlChunk writes is read back, when the store has
// the broadcast chunk itself: a field that is then removed from the one must not live on in the copy.
void RemoveBwfCopies(MetadataStore& store);
int BuildXmpChunk(ChunkImage& image, const MetadataStore& store);
int BuildInfoChunk(ChunkImage& image, const MetadataStore& store);
int BuildCartChunk(ChunkImage& image, const MetadataStore& store);
// `oldDocuments` are the bodies of the file's "axml" chunks in file order (none: an edit that replaces
// everything). They are written back byte for byte but for their ISRC, which becomes the store's.
int BuildAxmlChunk(ChunkImage& image, const MetadataStore& store, std::span<const ChunkBody> oldDocuments);

struct FileRange {
    uint64_t start;
    uint64_t end;
};
// The ID3v2 tags of the file that is edited.
struct OldId3Tags {
    // Header included each; of two that hold one key, the store has the later one's value. None: an edit that
    // replaces everything. Frames that the store cannot hold are carried over from them.
    std::span<const ChunkBody> bodies;
    // Where in the file unsynchronised ones lie, in file order: pictures there hold zeros that are not
    // theirs.
    std::span<const FileRange> unsynchronised;
};
// `source` is the file that the picture descriptors of the store point into; may be null.
int BuildId3Chunk(ChunkImage& image, const MetadataStore& store, FileReader* source, const OldId3Tags& old);

// The key under which an entry is read back once it is written: an iXML element has one name, without blanks
// and colons; a comment in English needs no language. The key itself for those that stay as they are.
[[nodiscard]] std::string IxmlKeyAsWritten(std::string_view key);
[[nodiscard]] std::string Id3KeyAsWritten(std::string_view key);

struct AcidValues {
    int key = -1;     // pitch class, may be any root note offset; negative: none
    float tempo = 0;  // > 0: written with a 4/4 meter
    int beatCount = 0;
    int beatCountAlt = 0;  // > 0: wins over beatCount
};
int BuildAcidChunk(ChunkImage& image, const AcidValues& values);
// "C" 0 ... "B" 11 with their enharmonic spellings, ignoring case; -1 for anything else.
int PitchClassOfKeyName(std::string_view name);

}  // namespace vantor
