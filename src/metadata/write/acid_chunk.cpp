#include <algorithm>
#include <array>
#include <bit>
#include <iterator>

#include "fileio/byte_order.h"
#include "metadata/acid_layout.h"
#include "metadata/write/build_chunks.h"
#include "text/text.h"

namespace vantor {

namespace {

struct KeyName {
    std::string_view name;
    int pitchClass;
};
constexpr KeyName keyNames[] = {
    {"C", 0},  {"C#", 1}, {"Db", 1}, {"D", 2},  {"D#", 3}, {"Eb", 3},  {"E", 4},   {"F", 5},  {"F#", 6},
    {"Gb", 6}, {"G", 7},  {"G#", 8}, {"Ab", 8}, {"A", 9},  {"A#", 10}, {"Bb", 10}, {"B", 11}, {"Cb", 11},
};

}  // namespace

int BuildAcidChunk(ChunkImage& image, const AcidValues& values) {
    std::array<uint8_t, acid::bodyBytes> body = {};
    uint32_t flags = 0;
    if (values.key >= 0) {
        flags |= acid::flagRootNote;
        body[acid::rootNoteOffset] = static_cast<uint8_t>(values.key + acid::middleC);
    }
    if (values.tempo > 0) {
        flags |= acid::flagTempo;
        body[acid::meterDenominatorOffset] = 4;
        body[acid::meterNumeratorOffset] = 4;
        WriteLe32(&body[acid::tempoOffset], std::bit_cast<uint32_t>(values.tempo));
    }
    if (values.beatCountAlt > 0) flags |= acid::flagNoBeatCount;
    const auto beats = values.beatCountAlt > 0 ? values.beatCountAlt : std::max(values.beatCount, 0);
    WriteLe32(&body[acid::beatCountOffset], static_cast<uint32_t>(beats));
    WriteLe32(&body[acid::flagsOffset], flags);
    AppendChunk(image, "acid", body.data(), body.size());
    return 1;
}

int PitchClassOfKeyName(std::string_view name) {
    const auto* found = std::ranges::find_if(
        keyNames, [&](const KeyName& candidate) { return EqualIgnoringCase(candidate.name, name); });
    return found == std::end(keyNames) ? -1 : found->pitchClass;
}

}  // namespace vantor
