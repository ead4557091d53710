// KEY=VALUE on the command line.
#pragma once

#include <string>
#include <vector>

namespace vantor::wavehost {

struct Assignment {
    std::string key;
    std::string value;  // empty: the key goes
};
using Assignments = std::vector<Assignment>;

// The first "=" ends the key. Throws Failure when there is none, when no key stands before it, and for the
// name of a file that exists: "take=2.wav" among files is a file.
Assignment AssignmentOf(const std::string& text);
// KEY=PATH: the value is what the file holds, less one line end at its end. Throws Failure.
Assignment AssignmentFromFile(const std::string& text);

}  // namespace vantor::wavehost
