#include "fileio/byte_order.h"
#include "metadata/cart_layout.h"
#include "metadata/read/read_metadata.h"
#include "metadata/read/text_fields.h"
#include "text/text.h"

namespace vantor {

namespace {

void StorePositive(const std::string& key, const uint8_t* bytes, MetadataStore& store) {
    const auto value = static_cast<int32_t>(ReadLe32(bytes));
    if (value > 0) store.Set(key, std::to_string(value));
}

void StoreTimers(std::span<const uint8_t> timers, MetadataStore& store) {
    for (size_t i = 0; i < cart::timerCount; ++i) {
        const auto timer = timers.subspan(i * cart::timerBytes, cart::timerBytes);
        const auto usage = UpToNul(timer.first(cart::usageBytes));
        if (!usage.empty())
            StorePositive(cart::timerPrefix + std::string(usage), &timer[cart::usageBytes], store);
    }
}

}  // namespace

bool ReadCart(std::span<const uint8_t> chunk, MetadataStore& store) {
    if (chunk.size() < cart::fixedBytes) return false;
    StorePositive(cart::levelReferenceKey, &chunk[cart::levelReferenceOffset], store);
    StoreTimers(chunk.subspan(cart::timersOffset), store);
    for (const auto& field : cart::textFields)
        StoreTextField(field, chunk, store);
    StoreText(cart::tagTextKey, chunk.subspan(cart::fixedBytes), store);
    return true;
}

}  // namespace vantor
