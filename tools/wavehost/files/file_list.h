// The files that a command works through: names, folders and patterns as they were given on the command line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "wavehost/os/folder.h"

namespace vantor::wavehost {

// What FILE... and its options say.
struct FileArguments {
    std::vector<std::string> names;  // "-": names from standard input
    bool recursive = false;          // folders with all that is below them
    bool nulTerminated = false;      // names on standard input end with NUL instead of a line end
};

struct ListedFile {
    std::string name;
    std::string obstacle;  // why there is nothing to work on; empty: it can be tried
};

// In the order given; the audio files of a folder, by their extensions, in the order of their names; a folder
// that has none as an obstacle. A name that is no folder is listed whatever it is: opening it says what is
// wrong.
std::vector<ListedFile> ListFiles(const FileArguments& arguments);

// Every regular file of a folder in the order of the names, each with what is below it; folders that cannot
// be read as obstacles, and so what has an audio file's name and is none (a link to nothing, a pipe). Links
// to folders are not followed, so that no loop catches the walk.
std::vector<ListedFile> FilesBelow(const fs::path& folder, bool recursive);

// Why it is no folder: the system's reason, or "is not a folder"; empty when it is one.
std::string WhyNoFolder(const fs::path& path);

// Whether a name carries an extension that audio files of the module's containers have. What another system
// keeps beside a file under its name ("._take.wav") is none.
bool IsAudioName(const fs::path& name);

// `*` stands for any characters, `?` for one; upper and lower case of ASCII letters are the same.
bool MatchesPattern(std::string_view name, std::string_view pattern);
// The files and folders that a pattern in the last part of a name stands for, in order.
std::vector<std::string> ExpandPattern(const std::string& pattern);

}  // namespace vantor::wavehost
