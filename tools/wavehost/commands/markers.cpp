#include "wavehost/commands/point_list.h"
#include "wavehost/tables/json_output.h"
#include "wavehost/tables/text_output.h"

namespace vantor::wavehost {

namespace {

int RunMarkers(Session& session, const PointOptions& options) {
    return ListPoints<MarkerFact>(
        session, options, {"markers", &MarkersOf, &MarkersJson, &MarkerHeadings, &MarkerRow, &PrintMarkers});
}

}  // namespace

void AddMarkers(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "markers", "Cue points and regions", &RunMarkers);
    AddFiles(command, options->files);
    AddFlag(command, "--json", options->json, jsonHelp);
    AddFlag(command, "--csv", options->csv, "Print comma-separated values, a line a marker",
            {.excludes = "--json"});
}

}  // namespace vantor::wavehost
