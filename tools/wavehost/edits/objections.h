// Wishes looked at before a byte is written.
#pragma once

#include "wavehost/facts/source_facts.h"
#include "wavehost/values/assignments.h"

namespace vantor::wavehost {

// Throws Failure for what no file can take: a name without a scheme that is no common field, a value that is
// wrong at any sample rate.
void CheckWishes(const Assignments& wishes);
// Throws Failure with everything that speaks against the wishes for this file. A key that the file has is
// known.
void CheckWishes(const Assignments& wishes, const Metadata& tags, double sampleRate);

}  // namespace vantor::wavehost
