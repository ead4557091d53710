// Reads the texts at fixed places of a chunk.
#pragma once

#include <cstdint>
#include <span>

#include "metadata/metadata_store.h"
#include "metadata/text_field.h"

namespace vantor {

// Stores the bytes as found, up to the first NUL; nothing when there are none.
void StoreText(const char* key, std::span<const uint8_t> bytes, MetadataStore& store);
// The chunk reaches to the end of the field at least.
void StoreTextField(const TextField& field, std::span<const uint8_t> chunk, MetadataStore& store);

}  // namespace vantor
