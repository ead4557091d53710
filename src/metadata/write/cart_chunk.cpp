#include <algorithm>
#include <charconv>

#include "fileio/byte_order.h"
#include "metadata/cart_layout.h"
#include "metadata/key_table.h"
#include "metadata/write/build_chunks.h"

namespace vantor {

namespace {

constexpr std::string_view version = "0101";

// At most `bytes` of the text, without a part of a UTF-8 character at the end.
std::string_view CutAtCharacter(std::string_view text, size_t bytes) {
    if (text.size() <= bytes) return text;
    const auto continues = [&](size_t place) { return (static_cast<uint8_t>(text[place]) & 0xC0) == 0x80; };
    while (bytes > 0 && continues(bytes))
        --bytes;
    return text.substr(0, bytes);
}

// A number above 0 in 32 bits, decimal digits alone; 0 for anything else.
int32_t PositiveNumber(std::string_view text) {
    int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && value > 0 ? value : 0;
}

bool IsNamedField(std::string_view key) {
    return key == cart::levelReferenceKey || key == cart::tagTextKey ||
           std::ranges::any_of(cart::textFields, [&](const TextField& field) { return key == field.key; });
}

void PutText(ChunkImage& body, size_t offset, std::string_view text) {
    std::ranges::copy(text, body.begin() + static_cast<std::ptrdiff_t>(offset));
}

// Every other key with a usage of one to four characters is a timer.
void PutTimers(ChunkImage& body, const MetadataStore& store) {
    const std::string_view prefix = cart::timerPrefix;
    size_t count = 0;
    store.ForEach([&](const MetadataEntry& entry) {
        if (count == cart::timerCount || !entry.key.starts_with(prefix) || IsNamedField(entry.key)) return;
        const auto usage = std::string_view(entry.key).substr(prefix.size());
        const auto position = PositiveNumber(entry.value);
        if (usage.empty() || usage.size() > cart::usageBytes || position == 0) return;
        const auto offset = cart::timersOffset + cart::timerBytes * count++;
        PutText(body, offset, usage);
        WriteLe32(&body[offset + cart::usageBytes], static_cast<uint32_t>(position));
    });
}

}  // namespace

int BuildCartChunk(ChunkImage& image, const MetadataStore& store) {
    if (!StoreHasScheme("CART", store)) return 0;
    ChunkImage body(cart::fixedBytes);
    for (const auto& field : cart::textFields)
        PutText(body, field.offset, CutAtCharacter(store.Value(field.key), field.width));
    const auto level = PositiveNumber(store.Value(cart::levelReferenceKey));
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
