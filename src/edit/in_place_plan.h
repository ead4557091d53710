// Where the chunks of an edit go in the file itself, found out before a byte is written.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "edit/images.h"
#include "edit/runs.h"

namespace vantor {

// The ways in which nothing is lost, whatever interrupts, and the last one, for files without any room.
enum class EditWay {
    direct,  // there are no old tags: the image is hidden by its own first header until it is whole
    throughCopy,
    overwrite,  // chunks of unchanged id and size as they stand; only the rest is covered first
};

struct SavedBytes {
    int64_t offset = 0;
    std::vector<uint8_t> bytes;
};

// A part that goes to a gap of its own.
struct PlacedPart {
    size_t gap = 0;
    int64_t bytes = 0;
};

struct InPlacePlan {
    ChunkImage image;         // first what goes to the target, then the placed parts
    int64_t targetBytes = 0;  // of it
    std::vector<PlacedPart> placed;
    std::vector<std::string_view> replaced;
    bool isRf64 = false;
    RunList runs;
    std::optional<size_t> chosen;  // of the gaps; else the target is the end
    EditWay way = EditWay::direct;
    CopyPlace copy;                 // throughCopy
    bool copyGrowsFile = false;     // it stands at the end of the file, not in padding
    bool switchesInOne = false;     // the one header in `covers` hides the old tags and shows the new ones
    std::vector<Stretch> covers;    // direct and throughCopy
    std::vector<int64_t> marked;    // sorted starts of the gaps that have a mark: cleaned last
    std::vector<SavedBytes> saved;  // what to write back when an edit fails before old tags are gone
    int64_t sameBytes = 0;          // overwrite: of the image's first chunks, whose headers stand there

    [[nodiscard]] int64_t ImageBytes() const { return std::ssize(image); }
    [[nodiscard]] const Run& Target() const { return chosen ? runs.gaps[*chosen] : runs.trailing; }
    [[nodiscard]] bool TargetHoldsCopy() const {
        return way == EditWay::throughCopy && Holds(Target(), copy);
    }
};

// Nothing when the images cannot go into the file itself. Chunks that have places stay there if the file may
// grow meanwhile.
[[nodiscard]] std::optional<InPlacePlan> PlanInPlace(FileReader& reader, const ChunkImages& images,
                                                     bool isRf64);

// Sets what the switch to `copy` needs: `switchesInOne`, `covers`, `marked`.
void PlanSwitch(InPlacePlan& plan);
// True when everything that must be one chunk on the way can be.
[[nodiscard]] bool FitHeaders(const InPlacePlan& plan);

}  // namespace vantor
