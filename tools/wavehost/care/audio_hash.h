// Hashes of the bytes of the sound alone, which no edit of tags changes.
#pragma once

#include <string>

#include "wavehost/os/digest.h"

namespace vantor::wavehost {

// Of all bytes from the first sample to the end of the sound as a check sees it, as they lie in the file.
// Throws Failure when the file cannot be read or has no sound.
std::string HashAudio(const std::string& file, DigestKind kind);

// A line of a list of hashes, with its end: the hash, two blanks, the name. A name of several lines stands
// there as the tools for whole files write it: with a backslash in front of the line, and "\n", "\r" and
// "\\" in the name.
std::string HashLineText(const std::string& hash, const std::string& name);

struct HashLine {
    std::string hash;  // lower case
    std::string name;
    DigestKind kind = DigestKind::md5;  // by its length
};
// False for a line that is none.
bool ParseHashLine(std::string line, HashLine& parsed);

}  // namespace vantor::wavehost
