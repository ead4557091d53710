// File names made of tags: "{IXML:SCENE}-T{IXML:TAKE}".
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vantor::wavehost {

struct PatternPart {
    std::string text;
    bool isKey = false;  // stood in braces
};
using NamePattern = std::vector<PatternPart>;

// "{{" and "}}" stand for braces. Throws Failure when a brace has no partner, a key is empty, no key stands
// in it, or its text holds what leads to another folder.
NamePattern ParseNamePattern(std::string_view text);

// The name, each key's value cleaned. `valueOf` gives an empty text for a key that is missing: Failure then,
// as for a name that is empty or longer than file systems take. `extension` (".wav") ends the name, unless
// the pattern has ended it so.
std::string NameFor(const NamePattern& pattern,
                    const std::function<std::string(const std::string& key)>& valueOf,
                    const std::string& extension);

// What no file name can hold on some system ("/", ":", control characters ...) becomes "_"; no blanks at its
// ends.
std::string CleanNamePart(std::string_view value);

}  // namespace vantor::wavehost
