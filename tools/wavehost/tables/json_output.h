// Results as JSON. Tags that are not valid UTF-8 are taken for Windows-1252; other texts come out with
// replacement characters.
#pragma once

#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"

namespace vantor::wavehost {

// One object each, for the file that it names.
std::string FactsJson(const SourceFacts& facts);
std::string MetadataJson(const std::string& file, const Metadata& metadata);
std::string MarkersJson(const std::string& file, const std::vector<MarkerFact>& markers);
std::string SlicesJson(const std::string& file, const std::vector<SliceFact>& slices);
std::string FailureJson(const std::string& file, const std::string& message);
// One line.
std::string ScanJson(const std::string& file, const Metadata& metadata);

}  // namespace vantor::wavehost
