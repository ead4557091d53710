#include "edit/unfinished_edit.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "edit/placed_parts.h"

namespace vantor {

namespace {

// As they were before the file grew.
void TakeGrowthOff(RunList& runs, int64_t fileBytes) {
    if (!runs.isWholeToTheEnd) return;
    runs.fileSize = runs.end = fileBytes;
    runs.trailing.length = std::max<int64_t>(fileBytes - runs.trailing.start, 0);
}

// The copy stands among what its edit replaces, and begins where the file ended or within it.
bool IsPlausible(const RunList& runs, const ShownCopy& copy) {
    const int64_t end = copy.start + std::ssize(copy.image);
    bool isHeld = false;
    ForEachRun(runs, [&](const Run& run) { isHeld |= run.start <= copy.header && end <= run.End(); });
    return isHeld && copy.header <= copy.mark.fileBytes + 1;
}

// The plan of the edit, from where its copy was shown.
std::optional<InPlacePlan> PlanFrom(FileReader& reader, bool isRf64, ShownCopy copy) {
    InPlacePlan plan;
    plan.replaced = SchemesOf(copy.mark.schemes);
    auto runs = FindRuns(reader, isRf64, plan.replaced);
    if (!runs || !IsPlausible(*runs, copy)) return std::nullopt;
    plan.image = std::move(copy.image);
    plan.isRf64 = isRf64;
    plan.runs = std::move(*runs);
    TakeGrowthOff(plan.runs, copy.mark.fileBytes);
    if (!TakePlaces(plan, copy.mark)) return std::nullopt;
    plan.way = EditWay::throughCopy;
    plan.copy = {copy.header, copy.start, copy.start + plan.ImageBytes()};
    plan.copyGrowsFile = plan.copy.end > copy.mark.fileBytes;
    PlanSwitch(plan);
    return FitHeaders(plan) ? std::optional(std::move(plan)) : std::nullopt;
}

}  // namespace

std::optional<InPlacePlan> FindUnfinishedEdit(FileReader& reader, bool isRf64) {
    auto marks = FindMarks(reader, isRf64);
    if (marks.copy)
        if (auto plan = PlanFrom(reader, isRf64, std::move(*marks.copy))) return plan;
    if (marks.toClean.empty()) return std::nullopt;
    auto plan = PlanInPlace(reader, {{}, {}, {paddingScheme}}, isRf64);
    if (plan) plan->marked = std::move(marks.toClean);
    return plan;
}

}  // namespace vantor
