// Tempo and root note; flags, meter, beats and all else stay.
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

}  // namespace

Patched PatchAcid(const PatchInput& input) {
    if (input.body.size() != acid::bodyBytes) return std::nullopt;
    ChunkBody body(input.body.begin(), input.body.end());
    if (const auto* tempo = input.change.Get("ACID:BPM")) {
        const double beats = DecimalNumber(*tempo);
        if (!tempo->empty() && !acid::IsTempo(beats)) return body;
        SetFlag(body, acid::flagTempo, !tempo->empty());
        WriteLe32(&body[acid::tempoOffset], std::bit_cast<uint32_t>(static_cast<float>(beats)));
    }
    if (const auto* key = input.change.Get("ACID:KEY")) {
        const int note = PitchClassOfKeyName(*key);
        if (!key->empty() && note < 0) return body;
        SetFlag(body, acid::flagRootNote, note >= 0);
        if (note >= 0) body[acid::rootNoteOffset] = static_cast<uint8_t>(note + acid::middleC);
    }
    return body;
}

}  // namespace vantor
