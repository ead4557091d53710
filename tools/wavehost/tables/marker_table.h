// Markers and slices of files as tables of comma-separated values.
#pragma once

#include <string>
#include <vector>

#include "wavehost/facts/source_facts.h"
#include "wavehost/tables/csv.h"

namespace vantor::wavehost {

// The first row, and one a marker: its place in seconds and in frames of the file; a marker has no end.
CsvRow MarkerHeadings();
CsvRow MarkerRow(const std::string& file, double sampleRate, const MarkerFact& marker);
CsvRow SliceHeadings();
CsvRow SliceRow(const std::string& file, double sampleRate, const SliceFact& slice);
// On standard output.
void PrintRow(const CsvRow& row);

}  // namespace vantor::wavehost
