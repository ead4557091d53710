#include <iterator>

#include "fileio/byte_order.h"
#include "metadata/acid_layout.h"
#include "metadata/read/read_metadata.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr const char* noteNames[] = {"C", "Db", "D", "Eb", "E", "F", "F#", "G", "G#", "A", "Bb", "B"};

}  // namespace

bool ReadAcid(std::span<const uint8_t> chunk, MetadataStore& store) {
    if (chunk.size() != acid::bodyBytes) return false;
    const auto flags = ReadLe32(&chunk[acid::flagsOffset]);
    if (flags & acid::flagOneShot) return false;
    const int note = chunk[acid::rootNoteOffset] - acid::middleC;
    if ((flags & acid::flagRootNote) && note >= 0 && note < static_cast<int>(std::size(noteNames)))
        store.Set("ACID:KEY", noteNames[note]);
    const auto tempo = ReadLeFloat(&chunk[acid::tempoOffset]);
    if ((flags & acid::flagTempo) && tempo > 2 && tempo < 960) store.Set("ACID:BPM", FixedText(tempo, 6));
    const auto beats = ReadLe32(&chunk[acid::beatCountOffset]);
    if (!(flags & acid::flagNoBeatCount) && beats >= 1 && beats <= acid::mostBeats)
        store.Set("ACID:BEATS", std::to_string(beats));
    return true;
}

}  // namespace vantor
