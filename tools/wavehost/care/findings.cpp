#include "wavehost/care/findings.h"

#include <algorithm>
#include <iterator>

namespace vantor::wavehost {

namespace {

using enum Severity;

// In the order of FindingId. `repair` takes them in this order too: first where the sound ends, then what is
// counted from there.
constexpr FindingKind kinds[] = {
    {"unreadable", error, "no file that can be played", ""},
    {"being-written", note, "another program is writing the file: it is not looked at", ""},
    {"unfinished", error, "the size of the sound was never written", "the size of the sound that is there"},
    {"cut-off", error, "the file ends before its sound does", "the size of the sound that is there"},
    {"hidden-sound", error, "what follows the sound is no chunk and may be sound",
     "the size up to the end of the file, or to the tags that end it"},
    {"outgrown", error, "more sound than 32-bit sizes can tell",
     "RF64 with 64-bit sizes, where a padding chunk has kept the room"},
    {"data-size", error, "two fields tell the size of the sound and differ", "the one that fits the file"},
    {"ds64", warning, "a 64-bit size that does not fit", "the size that fits the file"},
    {"frame-count", error, "the count of frames is not that of the sound", "the count of the sound"},
    {"fact", error, "the fact chunk counts other frames than there are", "the count of the sound"},
    {"container-size", warning, "the size of the container is not that of its chunks",
     "the size of the chunks"},
    {"chunk-cut-off", error, "the file ends inside a chunk", "the size of what is there"},
    {"pad-byte", warning, "a chunk of odd size without its pad byte", "the byte is put there"},
    {"block-align", error, "a block alignment that does not follow from the format",
     "the alignment that the sound is played with"},
    {"byte-rate", warning, "a byte rate that does not follow from the format", "the rate that follows"},
    {"doubled-chunk", warning, "a chunk that must be single stands there again",
     "one that is the same becomes padding; of two that differ, when forced, the one that is not shown"},
    {"refused-chunk", warning, "a chunk that its reader refuses", ""},
    {"text-encoding", warning, "text that is not valid UTF-8", ""},
    {"date", warning, "no date or no time of day", ""},
    {"positions", warning, "positions on the timeline that disagree", ""},
    {"trailing-bytes", note, "bytes behind the last chunk", ""},
    {"partial-frame", note, "the sound ends inside a frame", ""},
    {"empty", note, "no sound", ""},
    {"silent", warning, "every sample is silent", ""},
    {"clipped", warning, "samples stay at full scale", ""},
    {"mixed-rates", warning, "several sample rates in a folder", ""},
    {"mixed-depths", note, "several bit depths in a folder", ""},
    {"mixed-channels", note, "several channel counts in a folder", ""},
    {"missing-positions", note, "files without a position in a folder where others have one", ""},
    {"same-audio", note, "the same sound twice in a folder", ""},
};
static_assert(std::size(kinds) == static_cast<size_t>(FindingId::count));

}  // namespace

const FindingKind& KindOf(FindingId id) {
    return kinds[static_cast<size_t>(id)];
}

const char* SeverityName(Severity severity) {
    constexpr const char* names[] = {"error", "warning", "note"};
    return names[static_cast<size_t>(severity)];
}

bool IsWrong(const Findings& findings) {
    return std::ranges::any_of(findings,
                               [](const Finding& finding) { return KindOf(finding.id).severity != note; });
}

}  // namespace vantor::wavehost
