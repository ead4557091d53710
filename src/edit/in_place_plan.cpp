#include "edit/in_place_plan.h"

#include <algorithm>
#include <cstring>

#include "edit/edit_mark.h"
#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr int64_t copyHeaderBytes = chunkHeaderBytes + editMarkBytes;

bool Leaves(int64_t room, int64_t bytes) {
    return room == bytes || room >= bytes + chunkHeaderBytes;
}

void CloseRun(RunList& runs, Run& run) {
    if (run.length > 0) runs.gaps.push_back(std::move(run));
    run = {};
}

void AddToRun(Run& run, const RiffChunk& chunk) {
    if (run.length == 0) run.start = chunk.start;
    run.length = chunk.End() - run.start;
    if (chunk.scheme == paddingScheme) return;
    if (!run.tags.empty() && run.tags.back().End() == chunk.start) {
        run.tags.back().length += chunk.End() - chunk.start;
    } else {
        run.tags.push_back({chunk.start, chunk.End() - chunk.start});
    }
}

void AddChunk(RunList& runs, Run& run, const RiffChunk& chunk) {
    if (chunk.isReplaceable) {
        AddToRun(run, chunk);
        return;
    }
    CloseRun(runs, run);
    if (!chunk.isData) return;
    runs.audio = {ReadLe32(&chunk.header[4]), chunk.BodyStart(), chunk.bodyBytes};
    if (chunk.isCutOff) runs.isWholeToTheEnd = false;
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

template <typename Visit>
void ForEachRun(const RunList& runs, Visit visit) {
    for (const auto& gap : runs.gaps)
        visit(gap);
    visit(runs.trailing);
}

bool HasTags(const RunList& runs) {
    bool has = !runs.trailing.tags.empty();
    for (const auto& gap : runs.gaps)
        has |= !gap.tags.empty();
    return has;
}

// The copy at the end of padding, if it may stand there.
bool FitsInPadding(const InPlacePlan& plan, const Run& run, const Stretch& padding, CopyPlace& copy) {
    const Run& target = plan.Target();
    copy = {padding.start, padding.End() - plan.ImageBytes(), padding.End()};
    if (copy.start - copy.header < copyHeaderBytes || copy.end % 2 != 0) return false;
    return run.start != target.start || copy.start >= target.start + plan.ImageBytes() + chunkHeaderBytes;
}

bool FindPadding(InPlacePlan& plan) {
    bool found = false;
    ForEachRun(plan.runs, [&](const Run& run) {
        int64_t start = run.start;
        const auto consider = [&](int64_t end) {
            CopyPlace copy;
            if (!found && end > start && FitsInPadding(plan, run, {start, end - start}, copy)) {
                plan.copy = copy;
                found = true;
            }
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
    int64_t start = header + copyHeaderBytes;
    if (!plan.chosen)
        start = std::max(start, plan.runs.trailing.start + plan.ImageBytes() + chunkHeaderBytes);
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
    const int64_t room = plan.Target().length, bytes = plan.ImageBytes();
    if (!PlaceCopyAtEnd(plan) && !(Leaves(room, bytes) && FindPadding(plan))) return false;
    plan.way = EditWay::throughCopy;
    plan.switchesInOne = SwitchesInOne(plan);
    plan.covers = CoversOfTags(plan.runs, plan.copy);
    const Stretch hidden{plan.Target().start, plan.copy.end - plan.Target().start};
    return FitsOneHeader(plan.Target()) && (!plan.TargetHoldsCopy() || FitsOneHeader(hidden));
}

bool IsDirect(const InPlacePlan& plan) {
    const auto& target = plan.Target();
    if (plan.image.empty()) return true;
    return !HasTags(plan.runs) && FitsOneHeader(target) &&
           ((!plan.chosen && target.length == 0) || Leaves(target.length, plan.ImageBytes()));
}

// The bytes of the image's first chunks that stand in the target with the same id and size.
int64_t SameBytes(FileReader& reader, const InPlacePlan& plan) {
    const Run& target = plan.Target();
    const auto most = std::min(plan.ImageBytes(), target.length);
    int64_t same = 0;
    while (most - same >= chunkHeaderBytes) {
        ChunkHeader there;
        const uint8_t* wanted = &plan.image[static_cast<size_t>(same)];
        if (!reader.Seek(target.start + same) || !reader.ReadExactly(there.data(), chunkHeaderBytes) ||
            std::memcmp(there.data(), wanted, chunkHeaderBytes) != 0)
            break;
        const int64_t body = ReadLe32(wanted + 4);
        const int64_t next = same + chunkHeaderBytes + body + (body & 1);
        if (next > most) break;
        same = next;
    }
    return same;
}

bool Save(FileReader& reader, InPlacePlan& plan, int64_t offset, int64_t count) {
    SavedBytes saved{.offset = offset, .count = count};
    if (!reader.Seek(offset) || !reader.ReadExactly(saved.bytes.data(), count)) return false;
    plan.saved.push_back(saved);
    return true;
}

bool SaveAll(FileReader& reader, InPlacePlan& plan) {
    bool saved = Save(reader, plan, riffSizeOffset, 4);
    if (plan.isRf64) saved = saved && Save(reader, plan, ds64RiffSizeOffset, 8);
    for (const auto& cover : plan.covers)
        saved = saved && Save(reader, plan, cover.start, chunkHeaderBytes);
    return saved;
}

}  // namespace

std::optional<RunList> FindRuns(FileReader& reader, bool isRf64, Schemes replaced) {
    RiffChunkWalk walk(reader, isRf64, replaced);
    RunList runs;
    runs.fileSize = walk.FileSize();
    Run run;
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk)
        AddChunk(runs, run, chunk);
    if (step == WalkStep::refused) return std::nullopt;
    if (step == WalkStep::leftover) runs.isWholeToTheEnd = false;
    // Bytes that are no whole chunk are kept, so the run in front of them is a gap like any other.
    if (!runs.isWholeToTheEnd) CloseRun(runs, run);
    runs.end = std::min(walk.Position(), runs.fileSize);
    runs.isPadMissing = run.length == 0 && walk.Position() > runs.fileSize;
    runs.trailing = std::move(run);
    if (runs.trailing.length == 0) runs.trailing.start = walk.Position();
    runs.trailing.length = std::max<int64_t>(runs.fileSize - runs.trailing.start, 0);
    if (!runs.isWholeToTheEnd) runs.trailing.length = 0;
    return runs;
}

bool FitsOneHeader(const Stretch& stretch) {
    return stretch.length - chunkHeaderBytes <= int64_t{UINT32_MAX};
}

bool Holds(const Run& run, const CopyPlace& copy) {
    return copy.header >= run.start && copy.header <= run.End() + 1;  // a pad byte may be missing
}

std::vector<Stretch> CoversOfTags(const RunList& runs, const CopyPlace& copy) {
    std::vector<Stretch> covers;
    ForEachRun(runs, [&](const Run& run) {
        const auto add = [&](int64_t start, int64_t end) {
            if (end > start) covers.push_back({start, end - start});
        };
        const auto isOld = [&](const Stretch& tags) {
            return tags.start < copy.start || tags.End() > copy.end;
        };
        if (!Holds(run, copy)) {
            if (!run.tags.empty()) add(run.start, run.End());
            return;
        }
        if (run.start < copy.header) add(run.start, copy.start);
        if (!run.tags.empty() && isOld(run.tags.back()) && run.tags.back().End() > copy.end)
            add(copy.end, run.End());
    });
    return covers;
}

std::optional<InPlacePlan> PlanInPlace(FileReader& reader, ChunkImage image, bool isRf64, Schemes replaced) {
    auto runs = FindRuns(reader, isRf64, replaced);
    if (!runs) return std::nullopt;
    InPlacePlan plan;
    plan.image = std::move(image);
    plan.replaced.assign(replaced.begin(), replaced.end());
    plan.isRf64 = isRf64;
    plan.runs = std::move(*runs);
    for (size_t i = plan.runs.gaps.size(); i-- > 0;)
        if (Leaves(plan.runs.gaps[i].length, plan.ImageBytes())) plan.chosen = i;
    const Run& target = plan.Target();
    if (!plan.chosen && !plan.image.empty() && !MayGrowTo(plan, target.start + plan.ImageBytes()))
        return std::nullopt;
    if (!plan.chosen && !plan.runs.isWholeToTheEnd) return std::nullopt;
    if (IsDirect(plan)) {
        plan.way = EditWay::direct;
        for (const auto& gap : plan.runs.gaps)
            if (!gap.tags.empty()) plan.covers.push_back(gap);
    } else if (!PlanCopy(plan)) {
        plan.way = EditWay::overwrite;
        plan.covers.clear();
        plan.sameBytes = SameBytes(reader, plan);
    }
    if (!std::ranges::all_of(plan.covers, FitsOneHeader) || !SaveAll(reader, plan)) return std::nullopt;
    return plan;
}

}  // namespace vantor
