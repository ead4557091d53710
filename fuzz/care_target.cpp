// Whole files: checked, repaired, and checked again.
#include <string>

#include "fuzz/world.h"
#include "tests/support/temp_file.h"
#include "wavehost/care/examine.h"
#include "wavehost/care/repair.h"
#include "wavehost/os/failure.h"

namespace vantor::fuzz {

namespace {

using namespace wavehost;

// False when the file cannot be repaired, which a message says.
bool Repaired(const std::string& file, const RepairOptions& options) {
    try {
        for (const Finding& finding : RepairFile(file, options).left)
            Require(!IsMended(finding, options), "nothing mendable is left");
    } catch (const Failure&) {
        return false;
    }
    return true;
}

}  // namespace

// A complete copy takes the file's place by the system's own calls, so the file lies in a folder.
void CheckAndRepair(Input input) {
    const test::TempFolder folder;
    Choices choices(input);
    const RepairOptions options{.force = choices.OneOf(2) == 1};
    const std::string file = folder.Write("take", {input.begin(), input.end()});
    try {
        (void)ExamineFile(file, {.audio = true});
    } catch (const Failure&) {
        return;
    }
    if (!Repaired(file, options)) return;
    const auto repaired = test::ReadWholeFile(file);
    Require(repaired.size() >= input.size(), "nothing is cut off");
    Require(Repaired(file, options) && test::ReadWholeFile(file) == repaired,
            "a second repair changes nothing");
}

}  // namespace vantor::fuzz
