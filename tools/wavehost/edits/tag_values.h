// Values in a list of tags, and their differences.
#pragma once

#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"
#include "wavehost/values/assignments.h"

namespace vantor::wavehost {

// The value under a scheme's key; empty when there is none.
std::string ValueUnder(const Metadata& tags, const std::string& key);
// The value of a common field or a scheme's key, as the module finds it: the first of the field's keys that
// holds one. PREFPOS in milliseconds.
std::string ValueIn(const Metadata& tags, const std::string& key, double sampleRate);

struct KeyChange {
    std::string key;
    std::string before;
    std::string after;
};

// What became of an edit's wishes.
struct Comparison {
    std::vector<KeyChange> asked;
    std::vector<KeyChange> besides;       // what nobody named
    std::vector<std::string> chunks;      // that nobody named a key of, and that are not what they were
    std::vector<std::string> shortfalls;  // what was asked and did not come about
    std::vector<std::string> notes;       // what came about in another form
};

// `replacesAll`: that the tags that are not named go is part of the wish.
Comparison Compare(const Assignments& wishes, const Metadata& before, const Metadata& after,
                   double sampleRate, bool replacesAll);

}  // namespace vantor::wavehost
