#include "wavehost/commands/commands.h"
#include "wavehost/facts/report.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

int RunMarkers(const Module& module, const FileOptions& options) {
    return ForFile(options.file, [&] {
        const std::vector<MarkerFact> markers = MarkersOf(*OpenSource(module, options.file).Get());
        if (options.json)
            std::puts(MarkersJson(markers).c_str());
        else
            PrintMarkers(markers);
        return exitDone;
    });
}

int RunSlices(const Module& module, const FileOptions& options) {
    return ForFile(options.file, [&] {
        const std::vector<SliceFact> slices = SlicesOf(*OpenSource(module, options.file).Get());
        if (options.json)
            std::puts(SlicesJson(slices).c_str());
        else
            PrintSlices(slices);
        return exitDone;
    });
}

}  // namespace vantor::wavehost
