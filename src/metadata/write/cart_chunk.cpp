#include <algorithm>
#include <charconv>

#include "fileio/byte_order.h"
#include "metadata/cart_layout.h"
#include "metadata/key_table.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/cart_fields.h"
#include "metadata/write/put_field.h"

namespace vantor {

namespace {

constexpr std::string_view version = "0101";

void PutText(ChunkImage& body, size_t offset, std::string_view text) {
    std::ranges::copy(text, body.begin() + static_cast<std::ptrdiff_t>(offset));
}

void PutTimers(ChunkImage& body, const MetadataStore& store) {
    const std::string_view prefix = cart::timerPrefix;
    size_t count = 0;
    store.ForEach([&](const MetadataEntry& entry) {
        if (count == cart::timerCount || !entry.key.starts_with(prefix) || cart::IsNamedField(entry.key))
            return;
        const auto usage = std::string_view(entry.key).substr(prefix.size());
        const auto position = cart::PositiveNumber(entry.value);
        if (usage.empty() || usage.size() > cart::usageBytes || position == 0) return;
        const auto offset = cart::timersOffset + cart::timerBytes * count++;
        PutText(body, offset, usage);
        WriteLe32(&body[offset + cart::usageBytes], static_cast<uint32_t>(position));
    });
}

}  // namespace

int32_t cart::PositiveNumber(std::string_view text) {
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && value > 0 ? value : 0;
}

bool cart::IsNamedField(std::string_view key) {
    return key == levelReferenceKey || key == tagTextKey ||
           std::ranges::any_of(textFields, [&](const TextField& field) { return key == field.key; });
}

int BuildCartChunk(ChunkImage& image, const MetadataStore& store) {
    if (!StoreHasScheme("CART", store)) return 0;
    ChunkImage body(cart::fixedBytes);
    for (const auto& field : cart::textFields)
        PutField(body, field, store.Value(field.key));
    const auto level = cart::PositiveNumber(store.Value(cart::levelReferenceKey));
    WriteLe32(&body[cart::levelReferenceOffset], static_cast<uint32_t>(level));
    PutTimers(body, store);
    const auto tagText = store.Value(cart::tagTextKey);
    body.insert(body.end(), tagText.begin(), tagText.end());
    if (std::ranges::all_of(body, [](uint8_t byte) { return byte == 0; })) return 0;
    PutText(body, 0, version);
    if (body.size() % 2 != 0) body.push_back(0);  // see AppendChunk
    AppendChunk(image, "cart", body.data(), body.size());
    return 1;
}

}  // namespace vantor
