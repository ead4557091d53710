// Tempo, root note and beats; other flags, the meter and all else stay.
#include <algorithm>
#include <bit>

#include "fileio/byte_order.h"
#include "metadata/acid_layout.h"
#include "metadata/patch/patch_chunks.h"
#include "text/text.h"

namespace vantor {

namespace {

void SetFlag(ChunkBody& body, uint32_t flag, bool isSet) {
    uint8_t* const flags = &body[acid::flagsOffset];
    WriteLe32(flags, isSet ? ReadLe32(flags) | flag : ReadLe32(flags) & ~flag);
}

// Of the length that readers want; a meter that is not there is 4/4, which a tempo goes by. Nothing where
// more than zeros would be lost.
Patched WholeBody(std::span<const uint8_t> stored) {
    const auto isZero = [](uint8_t byte) { return byte == 0; };
    const auto surplus = stored.subspan(std::min(stored.size(), acid::bodyBytes));
    if (stored.size() < acid::leastBytes || !std::ranges::all_of(surplus, isZero)) return std::nullopt;
    ChunkBody body(stored.begin(), stored.end() - std::ssize(surplus));
    body.resize(acid::bodyBytes);
    if (stored.size() < acid::tempoOffset)
        body[acid::meterDenominatorOffset] = body[acid::meterNumeratorOffset] = 4;
    return body;
}

}  // namespace

ChunkBody BlankAcid() {
    return ChunkBody(acid::bodyBytes);
}

Patched PatchAcid(const PatchInput& input) {
    auto whole = WholeBody(input.body);
    if (!whole) return whole;
    ChunkBody& body = *whole;
    if (const auto* tempo = input.change.Get("ACID:BPM")) {
        const double beats = DecimalNumber(*tempo);
        if (!tempo->empty() && !acid::IsTempo(beats)) return whole;
        SetFlag(body, acid::flagTempo, !tempo->empty());
        WriteLe32(&body[acid::tempoOffset], std::bit_cast<uint32_t>(static_cast<float>(beats)));
    }
    if (const auto* key = input.change.Get("ACID:KEY")) {
        const int note = PitchClassOfKeyName(*key);
        if (!key->empty() && note < 0) return whole;
        SetFlag(body, acid::flagRootNote, note >= 0);
        if (note >= 0) body[acid::rootNoteOffset] = static_cast<uint8_t>(note + acid::middleC);
    }
    if (const auto* beats = input.change.Get("ACID:BEATS")) {
        const uint64_t count = UnsignedDecimal(*beats);
        if (!beats->empty() && (count == 0 || count > acid::mostBeats)) return whole;
        if (count > 0) SetFlag(body, acid::flagNoBeatCount, false);
        WriteLe32(&body[acid::beatCountOffset], static_cast<uint32_t>(count));
    }
    return whole;
}

}  // namespace vantor
