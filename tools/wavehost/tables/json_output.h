// Results as JSON. Texts that are not valid UTF-8 come out with replacement characters.
#pragma once

#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"

namespace vantor::wavehost {

// One object a file; an array of them when `asArray`.
std::string FactsJson(const std::vector<SourceFacts>& facts, bool asArray);
std::string MetadataJson(const Metadata& metadata);
std::string MarkersJson(const std::vector<MarkerFact>& markers);
std::string SlicesJson(const std::vector<SliceFact>& slices);
// One line.
std::string ScanJson(const std::string& file, const Metadata& metadata);

}  // namespace vantor::wavehost
