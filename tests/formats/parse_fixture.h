// Parses files that a test has made in memory, and puts what was found into texts that it compares whole.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "formats/audio_format.h"
#include "tests/formats/container_files.h"
#include "tests/support/temp_file.h"

namespace vantor::test {

// One staged block: the smallest reader there is, so that seeks within a file are real ones.
inline constexpr ReadParameters smallReader{.mode = 0, .blockBytes = 8192, .blockCount = 1};

// False when the file is refused; then `format.errorMessage` says why, and nothing of its audio is kept.
bool Parse(AudioFormat& format, const std::string& path);
std::unique_ptr<AudioFormat> ParsePlayable(const Bytes& file);

struct Found {
    std::string audio;    // "int16 little, 2 ch, 44100 Hz, 4 bytes, 10 frames at 44", and what else it is; or
                          // why the file is refused
    std::string loop;     // "loop 1, beats 8, slices 0 600"
    std::string markers;  // "2@0.5; 3@1-2 name": ids, seconds, the end of a region, names
};
Found FoundIn(const Bytes& file);

std::string MarkersText(const std::vector<Marker>& markers);
// The kind, all of that and the metadata, a line each.
std::string RecordText(const AudioFormat& format);

}  // namespace vantor::test
