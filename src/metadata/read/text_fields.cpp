#include "metadata/read/text_fields.h"

#include <string_view>

namespace vantor {

void StoreText(const char* key, std::span<const uint8_t> bytes, MetadataStore& store) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!text.empty() && text.front() != '\0') store.Set(key, text);
}

void StoreTextField(const TextField& field, std::span<const uint8_t> chunk, MetadataStore& store) {
    StoreText(field.key, chunk.subspan(field.offset, field.width), store);
}

}  // namespace vantor
