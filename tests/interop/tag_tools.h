// The tags of a file as independent readers show them.
#pragma once

#include <map>
#include <string>

namespace vantor::test {

using Tags = std::map<std::string, std::string>;

// What a command prints.
std::string OutputOf(const std::string& command);
// "title" and the like; lower case.
Tags FfprobeTags(const std::string& path);
// "RIFF:Title", "XMP-dc:Title", "ID3v2_4:Artist" ...
Tags ExiftoolTags(const std::string& path);
// "TIT2", "COMM:eng", "TXXX:name", "APIC" ... of the ID3v2 tag of a WAV or AIFF file.
Tags TaglibFrames(const std::string& path);

}  // namespace vantor::test
