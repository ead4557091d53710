// A file with every kind of tag and chunk, edits of it through a source, and what must hold after each.
#pragma once

#include <string>

#include "tests/source/source_support.h"
#include "tests/support/chunk_list.h"

namespace vantor::test {

inline constexpr int editedFrames = 2501;

// Tags of every scheme before and behind 16-bit samples 0, 1, 2 ..., kept chunks of every kind among them,
// odd sizes too.
Bytes TaggedFile(std::string_view riffId = "RIFF");
// The picture and the audio description that stand in it.
Bytes TaggedPicture();
std::string TaggedDescription();

// The same audio and kept chunks as before ("acid" apart when the edit writes one); the chunks fill the file;
// the sizes say so.
void ExpectOnlyTagsDiffer(const Bytes& before, const Bytes& after, const std::string& what,
                          bool hasNewAcid = false);

}  // namespace vantor::test
