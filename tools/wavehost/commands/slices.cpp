#include "wavehost/commands/point_list.h"
#include "wavehost/tables/json_output.h"
#include "wavehost/tables/text_output.h"

namespace vantor::wavehost {

namespace {

int RunSlices(Session& session, const PointOptions& options) {
    return ListPoints<SliceFact>(session, options,
                                 {"slices", &SlicesOf, &SlicesJson, &SliceHeadings, &SliceRow, &PrintSlices});
}

}  // namespace

void AddSlices(CommandLine& line) {
    auto [command, options] =
        AddCommand(line, line.program, "slices", "Slice positions in seconds and beats", &RunSlices);
    AddFiles(command, options->files);
    AddFlag(command, "--json", options->json, jsonHelp);
    AddFlag(command, "--csv", options->csv, "Print comma-separated values, a line a slice",
            {.excludes = "--json"});
}

}  // namespace vantor::wavehost
