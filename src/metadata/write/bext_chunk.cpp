#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>

#include "fileio/byte_order.h"
#include "metadata/bext_layout.h"
#include "metadata/key_table.h"
#include "metadata/write/bext_fields.h"
#include "metadata/write/build_chunks.h"
#include "text/text.h"

namespace vantor {

namespace {

using Body = std::array<uint8_t, bext::bodyBytes>;

// True when the characters at all these places are digits.
bool HasDigitsAt(std::string_view text, std::initializer_list<size_t> places) {
    return std::ranges::all_of(places, [&](size_t place) {
        return place < text.size() && text[place] >= '0' && text[place] <= '9';
    });
}

// Hundredths in 16 bits. A half is added before the cut towards zero whatever the sign: positive values round
// to the nearest hundredth, negative ones come out a hundredth nearer to zero (-23 as -2299).
// A better rounding would store other bytes for the same text than the files that exist hold.
uint16_t LoudnessField(std::string_view value) {
    const double hundredths = std::trunc(DecimalNumber(value) * 100 + 0.5);
    if (!std::isfinite(hundredths)) return 0;
    return static_cast<uint16_t>(static_cast<int32_t>(std::fmod(hundredths, 65536.0)));
}

void PutText(Body& body, const TextField& field, std::string_view value) {
    std::ranges::copy(value.substr(0, field.width), body.begin() + static_cast<std::ptrdiff_t>(field.offset));
}

void PutLoudness(Body& body, const MetadataStore& store) {
    const bool any = std::ranges::any_of(bext::loudnessKeys, [&](const char* key) { return store.Has(key); });
    WriteLe16(&body[bext::versionOffset], any ? bext::versionWithLoudness : 1);
    size_t offset = bext::loudnessOffset;
    for (const auto* key : bext::loudnessKeys) {
        WriteLe16(&body[offset], LoudnessField(store.Value(key)));
        offset += 2;
    }
}

}  // namespace

std::string_view bext::DateField(std::string_view value) {
    const bool isDate = value.size() == originationDate.width && HasDigitsAt(value, {0, 1, 2, 3, 5, 6, 8, 9});
    return isDate ? value : std::string_view();
}

std::string bext::TimeField(std::string_view value) {
    if (value.size() > originationTime.width || !HasDigitsAt(value, {0, 1, 3, 4})) return {};
    const auto seconds = HasDigitsAt(value, {6, 7}) ? value.substr(5) : ":00";
    return std::string(value.substr(0, 5)).append(seconds);
}

int BuildBextChunk(ChunkImage& image, const MetadataStore& store) {
    if (!StoreHasScheme("BWF", store)) return 0;
    Body body = {};
    for (const auto& field : {bext::description, bext::originator, bext::originatorReference})
        PutText(body, field, store.Value(field.key));
    PutText(body, bext::originationDate, bext::DateField(store.Value(bext::originationDate.key)));
    PutText(body, bext::originationTime, bext::TimeField(store.Value(bext::originationTime.key)));
    WriteLe64(&body[bext::timeReferenceOffset], UnsignedDecimal(store.Value(bext::timeReferenceKey)));
    PutLoudness(body, store);
    AppendChunk(image, "bext", body.data(), body.size());
    return 1;
}

}  // namespace vantor
