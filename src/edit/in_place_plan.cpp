#include "edit/in_place_plan.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "edit/byte_transfer.h"
#include "edit/placed_parts.h"
#include "fileio/byte_order.h"

namespace vantor {

namespace {

// In front of the copy, behind the image in its place too: for the copy's mark, and for that of the clean-up.
int64_t CopyHeaderBytes(const InPlacePlan& plan) {
    return chunkHeaderBytes + cleanUpMarkBytes + copyMarkBytes + partMarkBytes * std::ssize(plan.placed);
}

// Where the file may grow: behind its last chunk, with its pad byte.
int64_t GrowthStart(const RunList& runs) {
    return runs.fileSize + (runs.fileSize & 1);
}

bool MayGrowTo(const InPlacePlan& plan, int64_t fileSize) {
    const auto& runs = plan.runs;
    return runs.isWholeToTheEnd &&
           !WouldPlayMore(runs.audio, runs.fileSize, runs.audio, fileSize, plan.isRf64);
}

bool HasTags(const RunList& runs) {
    bool has = !runs.trailing.tags.empty();
    for (const auto& gap : runs.gaps)
        has |= !gap.tags.empty();
    return has;
}

// The copy at the end of padding, if it may stand there.
bool FitsInPadding(const InPlacePlan& plan, const CopyPlace& copy) {
    const int64_t room = CopyHeaderBytes(plan);
    return copy.start >= copy.header + room && copy.start >= plan.Target().start + plan.targetBytes + room &&
           copy.end % 2 == 0;
}

bool FindPadding(InPlacePlan& plan) {
    bool found = false;
    ForEachRun(plan.runs, [&](const Run& run) {
        int64_t start = run.start;
        const auto consider = [&](int64_t end) {
            const CopyPlace copy{start, end - plan.ImageBytes(), end};
            if (!FitsInPadding(plan, copy)) return;
            plan.copy = copy;
            found = true;
        };
        for (const auto& tags : run.tags) {
            consider(tags.start);
            start = tags.End();
        }
        consider(run.End());
    });
    return found;
}

// At the end of the file, far enough behind its final place when that is there too.
bool PlaceCopyAtEnd(InPlacePlan& plan) {
    const int64_t header = GrowthStart(plan.runs);
    int64_t start = header + CopyHeaderBytes(plan);
    if (!plan.chosen)
        start = std::max(start, plan.runs.trailing.start + plan.targetBytes + CopyHeaderBytes(plan));
    plan.copy = {header, start, start + plan.ImageBytes()};
    plan.copyGrowsFile = MayGrowTo(plan, plan.copy.end);
    return plan.copyGrowsFile;
}

// True when all old tags stand in front of the copy in its own run.
bool SwitchesInOne(const InPlacePlan& plan) {
    bool inOne = true;
    ForEachRun(plan.runs, [&](const Run& run) {
        if (!run.tags.empty() && !(Holds(run, plan.copy) && run.tags.back().End() <= plan.copy.header))
            inOne = false;
    });
    return inOne;
}

bool PlanCopy(InPlacePlan& plan) {
    if (!PlaceCopyAtEnd(plan) && !FindPadding(plan)) return false;
    plan.way = EditWay::throughCopy;
    PlanSwitch(plan);
    return FitHeaders(plan);
}

bool IsDirect(const InPlacePlan& plan) {
    const auto& target = plan.Target();
    if (plan.image.empty()) return true;
    return !HasTags(plan.runs) && FitsOneHeader(target) &&
           (target.length == 0 || Leaves(target.length, plan.targetBytes));
}

// Of an edit that only removes.
void PlanCovers(InPlacePlan& plan) {
    for (const auto& gap : plan.runs.gaps) {
        if (gap.tags.empty()) continue;
        plan.covers.push_back(gap);
        plan.marked.push_back(gap.start);
    }
}

// The bytes of the image's first chunks that stand in the target with the same id and size.
int64_t SameBytes(FileReader& reader, const InPlacePlan& plan) {
    const Run& target = plan.Target();
    const auto most = std::min(plan.ImageBytes(), target.length);
    int64_t same = 0;
    while (most - same >= chunkHeaderBytes) {
        ChunkHeader there{};
        const uint8_t* wanted = &plan.image[static_cast<size_t>(same)];
        reader.Seek(target.start + same);
        if (!reader.ReadExactly(there.data(), chunkHeaderBytes) ||
            std::memcmp(there.data(), wanted, chunkHeaderBytes) != 0)
            break;
        const int64_t body = ReadLe32(wanted + 4);
        const int64_t next = same + chunkHeaderBytes + body + (body & 1);
        if (next > most) break;
        same = next;
    }
    return same;
}

// With padding that is one chunk by then.
bool Save(FileReader& reader, InPlacePlan& plan, int64_t offset, int64_t count) {
    SavedBytes saved{offset, std::vector<uint8_t>(static_cast<size_t>(count))};
    if (!reader.Seek(offset) || !reader.ReadExactly(saved.bytes.data(), count)) return false;
    const auto joined = std::ranges::find(plan.runs.split, offset, &Stretch::start);
    if (joined != plan.runs.split.end())
        std::copy_n(JunkHeader(joined->length).begin(), std::min(count, chunkHeaderBytes),
                    saved.bytes.begin());
    plan.saved.push_back(std::move(saved));
    return true;
}

// What the image, and the start of the padding behind it, goes over.
bool SaveOverwritten(FileReader& reader, InPlacePlan& plan) {
    const Run& target = plan.Target();
    return Save(reader, plan, target.start,
                std::min(target.length, plan.ImageBytes() + chunkHeaderBytes + cleanUpMarkBytes));
}

// A body comes back before its header shows it.
bool SaveAll(FileReader& reader, InPlacePlan& plan) {
    if (plan.way == EditWay::overwrite && !SaveOverwritten(reader, plan)) return false;
    const int64_t behindHeader = plan.way == EditWay::direct ? cleanUpMarkBytes : 0;
    const auto saveCovered = [&](const Stretch& cover) {
        const int64_t bytes = std::min(cover.length - chunkHeaderBytes, behindHeader);
        return Save(reader, plan, cover.start + chunkHeaderBytes, bytes) &&
               Save(reader, plan, cover.start, chunkHeaderBytes);
    };
    return std::ranges::all_of(plan.covers, saveCovered) && Save(reader, plan, riffSizeOffset, 4) &&
           (!plan.isRf64 || Save(reader, plan, ds64RiffSizeOffset, 8));
}

// The first gap that takes what has no gap of its own.
void ChooseTarget(InPlacePlan& plan) {
    for (size_t i = plan.runs.gaps.size(); i-- > 0;)
        if (Leaves(plan.runs.gaps[i].length, plan.targetBytes) && !IsPlaced(plan, i)) plan.chosen = i;
}

bool FitsTarget(const InPlacePlan& plan) {
    return plan.chosen ||
           (plan.runs.isWholeToTheEnd &&
            (plan.targetBytes == 0 || MayGrowTo(plan, plan.Target().start + plan.targetBytes)));
}

// Chunks stay where they are as far as they can, also at the end.
bool PlanPlaces(InPlacePlan& plan, std::span<const ChunkPlace> places) {
    const int64_t end = plan.runs.trailing.start;
    const bool isAtEnd =
        std::ranges::any_of(places, [&](const auto& place) { return place.oldStart >= end; });
    if (!PlaceParts(plan, places)) return false;
    if (plan.targetBytes > 0 && !isAtEnd) ChooseTarget(plan);
    return PlanCopy(plan) && plan.copyGrowsFile;
}

bool PlanWay(FileReader& reader, InPlacePlan& plan) {
    if (!FitsTarget(plan)) return false;
    if (IsDirect(plan)) {
        PlanCovers(plan);
    } else if (!PlanCopy(plan)) {
        if (!FitsOneHeader(plan.Target())) return false;
        plan.way = EditWay::overwrite;
        plan.covers.clear();
        plan.sameBytes = SameBytes(reader, plan);
    }
    return true;
}

}  // namespace

void PlanSwitch(InPlacePlan& plan) {
    plan.switchesInOne = SwitchesInOne(plan);
    plan.covers = CoversOfTags(plan.runs, plan.copy);
    for (const auto& gap : plan.runs.gaps)
        if (Holds(gap, plan.copy)) plan.marked.push_back(gap.start);
}

bool FitHeaders(const InPlacePlan& plan) {
    const Stretch hidden{plan.Target().start, plan.copy.end - plan.Target().start};
    return std::ranges::all_of(plan.covers, FitsOneHeader) && FitsOneHeader(plan.Target()) &&
           (!plan.TargetHoldsCopy() || FitsOneHeader(hidden));
}

std::optional<InPlacePlan> PlanInPlace(FileReader& reader, const ChunkImages& images, bool isRf64) {
    auto runs = FindRuns(reader, isRf64, images.replaced);
    if (!runs) return std::nullopt;
    const auto joined = Joined(images);
    InPlacePlan plan;
    plan.targetBytes = std::ssize(joined.main);
    plan.image = joined.main;
    plan.replaced = joined.replaced;
    plan.isRf64 = isRf64;
    plan.runs = std::move(*runs);
    std::erase_if(plan.runs.split, [](const Stretch& padding) { return !FitsOneHeader(padding); });
    std::optional<InPlacePlan> inPlaces;
    if (!joined.places.empty()) inPlaces = plan;
    if (inPlaces && PlanPlaces(*inPlaces, joined.places)) {
        plan = std::move(*inPlaces);
    } else {
        ChooseTarget(plan);
        if (!PlanWay(reader, plan)) return std::nullopt;
    }
    if (!std::ranges::all_of(plan.covers, FitsOneHeader) || !SaveAll(reader, plan)) return std::nullopt;
    return plan;
}

}  // namespace vantor
