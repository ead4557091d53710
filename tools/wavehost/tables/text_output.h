// What a source tells as lines for the person, on standard output.
#pragma once

#include <vector>

#include "wavehost/facts/source_facts.h"

namespace vantor::wavehost {

void PrintFacts(const SourceFacts& facts);
void PrintMarkers(const std::vector<MarkerFact>& markers);
void PrintSlices(const std::vector<SliceFact>& slices);

}  // namespace vantor::wavehost
