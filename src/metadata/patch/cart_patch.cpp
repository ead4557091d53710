// The fields of the changed keys; other timers keep place and value, levels, version and reserved bytes stay.
#include <algorithm>

#include "fileio/byte_order.h"
#include "metadata/cart_layout.h"
#include "metadata/patch/patch_chunks.h"
#include "metadata/write/cart_fields.h"
#include "metadata/write/put_field.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr std::string_view version = "0101";

class Timers {
  public:
    explicit Timers(ChunkBody& body) : body_(body) {}

    // The one whose position a reader ends up with, if any; one that is not in use otherwise.
    void Set(std::string_view usage, int32_t position) {
        uint8_t* place = nullptr;
        ForEach([&](uint8_t* timer) {
            if (UsageOf(timer) == usage && PositionOf(timer) > 0) place = timer;
        });
        if (place == nullptr) place = Free();
        if (place == nullptr) return;
        std::copy(usage.begin(), usage.end(), place);
        WriteLe32(place + cart::usageBytes, static_cast<uint32_t>(position));
    }
    void Remove(std::string_view usage) {
        ForEach([&](uint8_t* timer) {
            if (UsageOf(timer) == usage && PositionOf(timer) > 0)
                std::fill_n(timer, cart::timerBytes, uint8_t{0});
        });
    }

  private:
    static std::string_view UsageOf(const uint8_t* timer) { return UpToNul({timer, cart::usageBytes}); }
    static int32_t PositionOf(const uint8_t* timer) {
        return static_cast<int32_t>(ReadLe32(timer + cart::usageBytes));
    }
    template <typename Visit>
    void ForEach(Visit visit) {
        for (size_t i = 0; i < cart::timerCount; ++i)
            visit(&body_[cart::timersOffset + i * cart::timerBytes]);
    }
    uint8_t* Free() {
        uint8_t* found = nullptr;
        ForEach([&](uint8_t* timer) {
            const bool isFree =
                std::all_of(timer, timer + cart::timerBytes, [](uint8_t byte) { return byte == 0; });
            if (isFree && found == nullptr) found = timer;
        });
        return found;
    }

    ChunkBody& body_;
};

// A position that cannot be one takes the timer away, as a missing one does.
void PatchTimer(ChunkBody& body, std::string_view usage, std::string_view value) {
    if (usage.empty() || usage.size() > cart::usageBytes) return;
    const int32_t position = cart::PositiveNumber(value);
    if (position > 0)
        Timers(body).Set(usage, position);
    else
        Timers(body).Remove(usage);
}

// What follows the text's first zero stays.
void PatchTagText(ChunkBody& body, std::string_view value) {
    const auto start = body.begin() + cart::fixedBytes;
    const auto end = std::find(start, body.end(), uint8_t{0});
    const auto place = body.erase(start, end);
    body.insert(place, value.begin(), value.end());
}

bool IsBlank(const ChunkBody& body) {
    return std::all_of(body.begin() + version.size(), body.end(), [](uint8_t byte) { return byte == 0; });
}

}  // namespace

ChunkBody BlankCart() {
    ChunkBody body(cart::fixedBytes);
    std::copy(version.begin(), version.end(), body.begin());
    return body;
}

Patched PatchCart(const PatchInput& input) {
    if (input.body.size() < cart::fixedBytes) return std::nullopt;
    ChunkBody body(input.body.begin(), input.body.end());
    for (const auto& field : cart::textFields)
        if (const auto* value = input.change.Get(field.key)) PutField(body, field, *value);
    input.change.ForEach([&](const MetadataEntry& entry) {
        const std::string_view key = entry.key;
        if (key == cart::levelReferenceKey)
            WriteLe32(&body[cart::levelReferenceOffset],
                      static_cast<uint32_t>(cart::PositiveNumber(entry.value)));
        else if (key == cart::tagTextKey)
            PatchTagText(body, entry.value);
        else if (key.starts_with(cart::timerPrefix) && !cart::IsNamedField(key))
            PatchTimer(body, key.substr(std::string_view(cart::timerPrefix).size()), entry.value);
    });
    if (IsBlank(body)) return ChunkBody();
    KeepParity(body, input.body.size(), cart::fixedBytes);
    return body;
}

}  // namespace vantor
