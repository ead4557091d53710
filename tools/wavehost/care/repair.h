// Mends what the checks mark as mendable. Never a byte of the sound is changed; a repair that is stopped at
// any point leaves a file that the next one brings to the same end.
#pragma once

#include "wavehost/care/findings.h"

namespace vantor::wavehost {

struct RepairOptions {
    bool force = false;  // also what is likely, but not told by the file alone; and write-protected files
};

struct Repair {
    Findings mended;  // in the order in which it was done
    Findings left;    // what the file still has
};

// True for what a repair under these options takes on.
bool IsMended(const Finding& finding, const RepairOptions& options);

// Throws Failure when the file is being written by somebody, cannot be locked, has been replaced meanwhile or
// cannot be written; what was mended by then stays mended. `between` is called between two findings and may
// throw.
Repair RepairFile(
    const std::string& file, const RepairOptions& options, void (*between)() = [] {});

}  // namespace vantor::wavehost
