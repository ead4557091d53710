// The fields of the changed keys; UMID, coding history, reserved bytes and other fields stay.
#include <algorithm>
#include <cmath>
#include <limits>

#include "fileio/byte_order.h"
#include "metadata/bext_layout.h"
#include "metadata/patch/patch_chunks.h"
#include "metadata/write/bext_fields.h"
#include "metadata/write/put_field.h"
#include "text/text.h"

namespace vantor {

namespace {

// To the nearest hundredth: a plain rewrite has reasons of its own for another rounding.
uint16_t LoudnessField(std::string_view value) {
    const double hundredths = std::round(DecimalNumber(value) * 100);
    constexpr double least = std::numeric_limits<int16_t>::min(), most = std::numeric_limits<int16_t>::max();
    return static_cast<uint16_t>(static_cast<int16_t>(std::clamp(hundredths, least, most)));
}

void PatchLoudness(ChunkBody& body, const MetadataStore& change) {
    uint8_t* const version = &body[bext::versionOffset];
    uint8_t* const fields = &body[bext::loudnessOffset];
    constexpr size_t bytes = 2 * std::size(bext::loudnessKeys);
    const bool changes = std::ranges::any_of(bext::loudnessKeys, [&](auto* key) { return change.Has(key); });
    if (!changes) return;
    // Before version 2 they are no loudness, whatever they hold.
    if (ReadLe16(version) < bext::versionWithLoudness) std::fill_n(fields, bytes, uint8_t{0});
    for (size_t i = 0; i < std::size(bext::loudnessKeys); ++i)
        if (const auto* value = change.Get(bext::loudnessKeys[i]))
            WriteLe16(fields + 2 * i, LoudnessField(*value));
    const bool any = std::any_of(fields, fields + bytes, [](uint8_t byte) { return byte != 0; });
    if (any && ReadLe16(version) < bext::versionWithLoudness) WriteLe16(version, bext::versionWithLoudness);
    if (!any && ReadLe16(version) == bext::versionWithLoudness) WriteLe16(version, 1);
}

bool IsBlank(const ChunkBody& body) {
    constexpr size_t versionEnd = bext::versionOffset + 2;
    const auto isZero = [](uint8_t byte) { return byte == 0; };
    return body.size() == bext::bodyBytes &&
           std::all_of(body.begin(), body.begin() + bext::versionOffset, isZero) &&
           std::all_of(body.begin() + versionEnd, body.end(), isZero);
}

}  // namespace

ChunkBody BlankBext() {
    ChunkBody body(bext::bodyBytes);
    WriteLe16(&body[bext::versionOffset], 1);
    return body;
}

Patched PatchBext(const PatchInput& input) {
    if (input.body.size() < bext::bodyBytes) return std::nullopt;
    ChunkBody body(input.body.begin(), input.body.end());
    for (const auto& field : {bext::description, bext::originator, bext::originatorReference})
        if (const auto* value = input.change.Get(field.key)) PutField(body, field, *value);
    if (const auto* date = input.change.Get(bext::originationDate.key))
        PutField(body, bext::originationDate, bext::DateField(*date));
    if (const auto* time = input.change.Get(bext::originationTime.key))
        PutField(body, bext::originationTime, bext::TimeField(*time));
    if (const auto* frames = input.change.Get(bext::timeReferenceKey))
        WriteLe64(&body[bext::timeReferenceOffset], UnsignedDecimal(*frames));
    PatchLoudness(body, input.change);
    return IsBlank(body) ? ChunkBody() : body;
}

}  // namespace vantor
