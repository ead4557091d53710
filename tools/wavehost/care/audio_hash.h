// Hashes of the bytes of the sound alone, which no edit of tags changes.
#pragma once

#include <string>

#include "wavehost/os/digest.h"

namespace vantor::wavehost {

// Of all bytes from the first sample to the end of the sound as a check sees it, as they lie in the file.
// Throws Failure when the file cannot be read or has no sound.
std::string HashAudio(const std::string& file, DigestKind kind);

// A line of a list of hashes: the hash, two blanks, the name.
struct HashLine {
    std::string hash;  // lower case
    std::string name;
    DigestKind kind = DigestKind::md5;  // by its length
};
// False for a line that is none.
bool ParseHashLine(const std::string& line, HashLine& parsed);

}  // namespace vantor::wavehost
