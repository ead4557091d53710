#include "edit/placed_parts.h"

#include <algorithm>

namespace vantor {

namespace {

bool IsIn(const Run& run, const ImagePart& part) {
    return part.oldStart >= run.start && part.oldStart < run.End();
}

int64_t BytesIn(const Run& run, std::span<const ImagePart> parts) {
    int64_t bytes = 0;
    for (const auto& part : parts)
        if (IsIn(run, part)) bytes += static_cast<int64_t>(part.end - part.begin);
    return bytes;
}

void Append(ChunkImage& image, const ChunkImage& from, size_t begin, size_t end) {
    const auto start = from.begin();
    image.insert(image.end(), start + static_cast<std::ptrdiff_t>(begin),
                 start + static_cast<std::ptrdiff_t>(end));
}

bool TakePart(InPlacePlan& plan, const CopyMark::Part& part) {
    const auto& gaps = plan.runs.gaps;
    const auto gap = std::ranges::find(gaps, part.start, &Run::start);
    const auto index = static_cast<size_t>(gap - gaps.begin());
    if (gap == gaps.end() || part.bytes < chunkHeaderBytes || !Leaves(gap->length, part.bytes) ||
        IsPlaced(plan, index))
        return false;
    plan.placed.push_back({index, part.bytes});
    return true;
}

}  // namespace

bool Leaves(int64_t room, int64_t bytes) {
    return room == bytes || room >= bytes + chunkHeaderBytes;
}

bool IsPlaced(const InPlacePlan& plan, size_t gap) {
    return std::ranges::find(plan.placed, gap, &PlacedPart::gap) != plan.placed.end();
}

bool PlaceParts(InPlacePlan& plan, std::span<const ImagePart> parts) {
    const auto& gaps = plan.runs.gaps;
    for (size_t i = 0; i < gaps.size() && std::ssize(plan.placed) < mostParts; ++i)
        if (const int64_t bytes = BytesIn(gaps[i], parts); bytes > 0 && Leaves(gaps[i].length, bytes))
            plan.placed.push_back({i, bytes});
    if (plan.placed.empty()) return false;
    ChunkImage rest, placed;
    size_t done = 0;
    const auto isPlaced = [&](const ImagePart& part) {
        return std::ranges::any_of(plan.placed, [&](const auto& to) { return IsIn(gaps[to.gap], part); });
    };
    for (const auto& part : parts) {
        if (!isPlaced(part)) continue;
        Append(rest, plan.image, done, part.begin);
        done = part.end;
    }
    Append(rest, plan.image, done, plan.image.size());
    for (const auto& to : plan.placed)
        for (const auto& part : parts)
            if (IsIn(gaps[to.gap], part)) Append(placed, plan.image, part.begin, part.end);
    plan.targetBytes = std::ssize(rest);
    plan.image = std::move(rest);
    plan.image.insert(plan.image.end(), placed.begin(), placed.end());
    return true;
}

CopyMark MarkOf(const InPlacePlan& plan) {
    CopyMark mark{.schemes = SchemeBits(plan.replaced),
                  .imageBytes = plan.ImageBytes(),
                  .checksum = ChecksumOf(plan.image),
                  .fileBytes = plan.runs.fileSize,
                  .target = {plan.Target().start, plan.targetBytes},
                  .parts = {}};
    for (const auto& part : plan.placed)
        mark.parts.push_back({plan.runs.gaps[part.gap].start, part.bytes});
    return mark;
}

bool TakePlaces(InPlacePlan& plan, const CopyMark& mark) {
    const auto& gaps = plan.runs.gaps;
    const auto gap = std::ranges::find(gaps, mark.target.start, &Run::start);
    if (gap != gaps.end()) plan.chosen = static_cast<size_t>(gap - gaps.begin());
    plan.targetBytes = mark.target.bytes;
    if (plan.Target().start != mark.target.start || (plan.chosen && !Leaves(gap->length, plan.targetBytes)) ||
        (plan.targetBytes == 0 ? plan.chosen.has_value() : plan.targetBytes < chunkHeaderBytes))
        return false;
    int64_t bytes = plan.targetBytes;
    for (const auto& part : mark.parts) {
        if (!TakePart(plan, part)) return false;
        bytes += part.bytes;
    }
    return bytes == plan.ImageBytes() && !(plan.chosen && IsPlaced(plan, *plan.chosen));
}

}  // namespace vantor
