// What a parse found out, as texts that a test compares whole.
#pragma once

#include <string>
#include <vector>

#include "formats/audio_format.h"

namespace vantor::test {

// "int16 little, 2 ch, 44100 Hz, 4 bytes, 10 frames at 44", and what a file tells of speakers and packets.
std::string AudioText(const AudioFormat& format);
// "loop 1, beats 8/0, tempo 120 ...", nothing for 0 and unknown; empty for a file that is no loop.
std::string LoopText(const AudioFormat& format);
// "2@0.5; 3@1-2 name": ids, seconds, the end of a region, names.
std::string MarkersText(const std::vector<Marker>& markers);
// All of that and the metadata, a line each; nothing but the kind and the audio is always there.
std::string RecordText(const AudioFormat& format);

}  // namespace vantor::test
