#include "metadata/read/text_fields.h"

#include "text/text.h"

namespace vantor {

void StoreText(const char* key, std::span<const uint8_t> bytes, MetadataStore& store) {
    if (const auto text = UpToNul(bytes); !text.empty()) store.Set(key, text);
}

void StoreTextField(const TextField& field, std::span<const uint8_t> chunk, MetadataStore& store) {
    StoreText(field.key, chunk.subspan(field.offset, field.width), store);
}

}  // namespace vantor
