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

struct EditCase {
    const char* name;
    Bytes file;  // of samples 0 to editedFrames - 1
    Fields fields;
    intptr_t flags;
    Fields wanted;  // afterwards; an empty value is absent
    bool hasNewAcid = false;
};
std::vector<EditCase> EditCases();

// The same audio and kept chunks as before ("acid" apart when the edit writes one); the chunks fill the file;
// the sizes say so.
void ExpectOnlyTagsDiffer(const Bytes& before, const Bytes& after, bool hasNewAcid = false);
// The same, and the tags that the edit asks for.
void ExpectOutcome(const EditCase& edit, const std::string& path);
void ExpectTags(const Fields& wanted, const std::string& path);
void ExpectEverySample(PCM_source& source);

}  // namespace vantor::test
