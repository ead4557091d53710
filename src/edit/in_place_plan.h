// Where the chunks of an edit go in the file itself, found out before a byte is written.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "edit/chunk_walk.h"
#include "edit/container.h"
#include "metadata/write/build_chunks.h"

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
    bool isWholeToTheEnd = true;  // nothing follows the last whole chunk
    bool isPadMissing = false;    // the last chunk is kept, odd, and ends with the file
    int64_t end = 0;              // of the last chunk
    int64_t fileSize = 0;
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

// The ways in which nothing is lost, whatever interrupts, and the last one, for files without any room.
enum class EditWay {
    direct,  // there are no old tags: the image is hidden by its own first header until it is whole
    throughCopy,
    overwrite,  // chunks of unchanged id and size as they stand; only the rest is covered first
};

struct SavedBytes {
    int64_t offset = 0;
    std::array<uint8_t, 8> bytes{};
    int64_t count = 0;
};

struct InPlacePlan {
    ChunkImage image;
    std::vector<std::string_view> replaced;
    bool isRf64 = false;
    RunList runs;
    std::optional<size_t> chosen;  // of the gaps; else the image goes to the end
    EditWay way = EditWay::direct;
    CopyPlace copy;                 // throughCopy
    bool copyGrowsFile = false;     // it stands at the end of the file, not in padding
    bool switchesInOne = false;     // the one header in `covers` hides the old tags and shows the new ones
    std::vector<Stretch> covers;    // direct and throughCopy
    std::vector<SavedBytes> saved;  // what to write back when an edit fails before old tags are gone
    int64_t sameBytes = 0;          // overwrite: of the image's first chunks, whose headers stand there

    [[nodiscard]] int64_t ImageBytes() const { return std::ssize(image); }
    [[nodiscard]] const Run& Target() const { return chosen ? runs.gaps[*chosen] : runs.trailing; }
    [[nodiscard]] bool TargetHoldsCopy() const { return Holds(Target(), copy); }
};

// Nothing when the image cannot go into the file itself.
[[nodiscard]] std::optional<InPlacePlan> PlanInPlace(FileReader& reader, ChunkImage image, bool isRf64,
                                                     Schemes replaced);

}  // namespace vantor
