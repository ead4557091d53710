// Turns the bytes of a metadata chunk into entries of a store: one operation for all schemes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "metadata/metadata_store.h"

namespace vantor {

// `kind` is "BWF", "IXML", "CART", "INFO", "AXML", "ACID", "XMP", "ID3" or "CAFINFO"; `fileOffset` is where
// the bytes lie in the file (pictures are stored by position). For "INFO" the bytes are a whole LIST body,
// its type included. True when the chunk was accepted, even without an entry; false when it was refused as
// malformed. Silent; what was stored stays.
bool ReadMetadataChunk(std::span<const uint8_t> chunk, std::string_view kind, MetadataStore& store,
                       int64_t fileOffset);

// The readers of single schemes; the same contract. In the file <scheme>_reader.cpp each.
bool ReadBext(std::span<const uint8_t> chunk, MetadataStore& store);
bool ReadCart(std::span<const uint8_t> chunk, MetadataStore& store);
bool ReadInfo(std::span<const uint8_t> listBody, MetadataStore& store);
bool ReadAxml(std::span<const uint8_t> chunk, MetadataStore& store);
bool ReadAcid(std::span<const uint8_t> chunk, MetadataStore& store);
bool ReadIxml(std::span<const uint8_t> document, MetadataStore& store);
bool ReadXmp(std::span<const uint8_t> packet, MetadataStore& store);
// A whole ID3v2 tag, header included. Returns the number of entries stored.
int ReadId3Tag(std::span<const uint8_t> tag, MetadataStore& store, int64_t fileOffset);
// An id3 chunk: checks its length against the tag's size, then reads the tag.
bool ReadId3Chunk(std::span<const uint8_t> chunk, MetadataStore& store, int64_t fileOffset);
// The dictionary of a CAF `info` chunk, from its entry count on, into "CAFINFO:" keys. True when all entries
// were found.
bool ReadCafInfo(std::span<const uint8_t> body, MetadataStore& store);

}  // namespace vantor
