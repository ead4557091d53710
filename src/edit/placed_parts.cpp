#include "edit/placed_parts.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

namespace vantor {

namespace {

std::optional<size_t> GapOf(const std::vector<Run>& gaps, int64_t offset) {
    const auto behind = std::ranges::upper_bound(gaps, offset, {}, &Run::start);
    if (behind == gaps.begin() || offset >= std::prev(behind)->End()) return std::nullopt;
    return static_cast<size_t>(behind - gaps.begin()) - 1;
}

std::optional<size_t> GapThatStartsAt(const std::vector<Run>& gaps, int64_t offset) {
    const auto gap = GapOf(gaps, offset);
    return gap && gaps[*gap].start == offset ? gap : std::nullopt;
}

void Append(ChunkImage& image, const ChunkImage& from, size_t begin, size_t end) {
    const auto start = from.begin();
    image.insert(image.end(), start + static_cast<std::ptrdiff_t>(begin),
                 start + static_cast<std::ptrdiff_t>(end));
}

bool TakePart(InPlacePlan& plan, const CopyMark::Part& part) {
    const auto& gaps = plan.runs.gaps;
    const auto gap = GapThatStartsAt(gaps, part.start);
    if (!gap || part.bytes < chunkHeaderBytes || !Leaves(gaps[*gap].length, part.bytes) ||
        IsPlaced(plan, *gap))
        return false;
    plan.placed.push_back({*gap, part.bytes});
    return true;
}

}  // namespace

bool Leaves(int64_t room, int64_t bytes) {
    return room == bytes || room >= bytes + chunkHeaderBytes;
}

bool IsPlaced(const InPlacePlan& plan, size_t gap) {
    return std::ranges::find(plan.placed, gap, &PlacedPart::gap) != plan.placed.end();
}

bool PlaceParts(InPlacePlan& plan, std::span<const ChunkPlace> places) {
    const auto& gaps = plan.runs.gaps;
    std::map<size_t, ChunkImage> images;  // of each gap
    for (const auto& place : places)
        if (const auto gap = GapOf(gaps, place.oldStart))
            Append(images[*gap], plan.image, place.begin, place.end);
    for (const auto& [gap, image] : images)
        if (std::ssize(plan.placed) < mostParts && Leaves(gaps[gap].length, std::ssize(image)))
            plan.placed.push_back({gap, std::ssize(image)});
    if (plan.placed.empty()) return false;
    ChunkImage rest;
    size_t done = 0;
    for (const auto& place : places) {
        const auto gap = GapOf(gaps, place.oldStart);
        if (!gap || !IsPlaced(plan, *gap)) continue;
        Append(rest, plan.image, done, place.begin);
        done = place.end;
    }
    Append(rest, plan.image, done, plan.image.size());
    plan.targetBytes = std::ssize(rest);
    plan.image = std::move(rest);
    for (const auto& placed : plan.placed)
        Append(plan.image, images[placed.gap], 0, images[placed.gap].size());
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
    plan.chosen = GapThatStartsAt(plan.runs.gaps, mark.target.start);
    plan.targetBytes = mark.target.bytes;
    const Run& target = plan.Target();
    if (target.start != mark.target.start || (plan.chosen && !Leaves(target.length, plan.targetBytes)) ||
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
