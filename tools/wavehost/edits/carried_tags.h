// The tags of one file as wishes for another.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"
#include "wavehost/values/assignments.h"

namespace vantor::wavehost {

struct CarriedTags {
    Assignments values;
    std::vector<std::string> leftOut;  // keys of pictures and the like, which are no texts
};
// All that a WAV file can take; fields that the file keeps in schemes which WAV files do not carry
// ("IFF:NAME" is TITLE) as common fields.
CarriedTags TagsToCarry(PCM_source& source);

// The same for a stretch of the file from `startSeconds` on, at another rate in Hz and depth: what counts
// samples names the same time, and what tells of the sound tells of the new one.
Assignments TagsOfStretch(PCM_source& source, const CarriedTags& tags, double startSeconds, double sampleRate,
                          int32_t bitDepth);

}  // namespace vantor::wavehost
