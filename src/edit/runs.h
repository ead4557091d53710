// Where the tags of a file stand and what may be written over: the runs of chunks that an edit replaces.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "edit/chunk_walk.h"
#include "edit/container.h"

namespace vantor {

struct Stretch {
    int64_t start = 0;
    int64_t length = 0;
    [[nodiscard]] int64_t End() const { return start + length; }
};

// A longest run of chunks that an edit replaces, one behind the other.
struct Run : Stretch {
    std::vector<Stretch> tags;  // between them lies padding
};

struct RunList {
    std::vector<Run> gaps;        // something that is kept follows
    Run trailing;                 // reaches the end of the file; may be empty
    std::vector<Stretch> split;   // padding in them that is several chunks, one behind the other
    bool isWholeToTheEnd = true;  // nothing follows the last whole chunk
    int64_t end = 0;              // of the last chunk
    int64_t fileSize = 0;         // without what an interrupted edit was adding
    AudioPlace audio;
};
// Nothing when the chunks cannot be followed. Without `isWholeToTheEnd` the trailing run is empty.
[[nodiscard]] std::optional<RunList> FindRuns(FileReader& reader, bool isRf64, Schemes replaced);

// Where new chunks stand while old ones are still there.
struct CopyPlace {
    int64_t header = 0;  // of the "JUNK" chunk in front, which hides them at first
    int64_t start = 0;
    int64_t end = 0;
};

// True when the copy stands in the run, or at the end of the file behind it.
[[nodiscard]] bool Holds(const Run& run, const CopyPlace& copy);

// What becomes "JUNK", a header each, to hide all old tags from a file in which the copy is shown.
[[nodiscard]] std::vector<Stretch> CoversOfTags(const RunList& runs, const CopyPlace& copy);
// False for one that is longer than one chunk can be.
[[nodiscard]] bool FitsOneHeader(const Stretch& stretch);
// Calls `visit(run)` for all in file order, the trailing one too.
template <typename Visit>
void ForEachRun(const RunList& runs, Visit visit) {
    for (const auto& gap : runs.gaps)
        visit(gap);
    visit(runs.trailing);
}

}  // namespace vantor
