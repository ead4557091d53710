#include "edit/runs.h"

#include <algorithm>
#include <utility>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

void CloseRun(RunList& runs, Run& run) {
    if (run.length > 0) runs.gaps.push_back(std::move(run));
    run = {};
}

void AddToSplit(RunList& runs, const Run& run, const RiffChunk& padding) {
    const int64_t start = run.tags.empty() ? run.start : run.tags.back().End();
    if (run.length == 0 || start == padding.start) return;
    if (runs.split.empty() || runs.split.back().start != start) runs.split.push_back({start, 0});
    runs.split.back().length = std::min(padding.End(), runs.fileSize) - start;
}

void AddToRun(RunList& runs, Run& run, const RiffChunk& chunk) {
    if (chunk.scheme == paddingScheme) AddToSplit(runs, run, chunk);
    if (run.length == 0) run.start = chunk.start;
    run.length = chunk.End() - run.start;
    if (chunk.scheme == paddingScheme) return;
    if (!run.tags.empty() && run.tags.back().End() == chunk.start) {
        run.tags.back().length += chunk.End() - chunk.start;
    } else {
        run.tags.push_back({chunk.start, chunk.End() - chunk.start});
    }
}

// What an edit was adding when it was interrupted: the file ends in front of it.
bool IsGrowth(const RiffChunk& chunk) {
    return chunk.isCutOff && !chunk.isData;
}

void AddChunk(RunList& runs, Run& run, const RiffChunk& chunk) {
    if (chunk.isReplaceable) {
        AddToRun(runs, run, chunk);
        return;
    }
    CloseRun(runs, run);
    if (!chunk.isData) return;
    runs.audio = {ReadLe32(&chunk.header[4]), chunk.BodyStart(), chunk.bodyBytes};
    if (chunk.isCutOff) runs.isWholeToTheEnd = false;
}

}  // namespace

std::optional<RunList> FindRuns(FileReader& reader, bool isRf64, Schemes replaced) {
    RiffChunkWalk walk(reader, isRf64, replaced);
    RunList runs;
    runs.fileSize = walk.FileSize();
    Run run;
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk && !IsGrowth(chunk))
        AddChunk(runs, run, chunk);
    const bool isGrowing = step == WalkStep::chunk;
    if (isGrowing) runs.fileSize = chunk.start;
    const int64_t end = isGrowing ? chunk.start : walk.Position();
    if (step == WalkStep::refused) return std::nullopt;
    if (step == WalkStep::leftover) runs.isWholeToTheEnd = false;
    // Bytes that are no whole chunk are kept, so the run in front of them is a gap like any other.
    if (!runs.isWholeToTheEnd) CloseRun(runs, run);
    runs.end = std::min(end, runs.fileSize);
    runs.trailing = std::move(run);
    if (runs.trailing.length == 0) runs.trailing.start = end;
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
        const auto add = [&](int64_t start, int64_t end) { covers.push_back({start, end - start}); };
        if (!Holds(run, copy)) {
            if (!run.tags.empty()) add(run.start, run.End());
            return;
        }
        if (run.start < copy.header) add(run.start, copy.start);
        if (!run.tags.empty() && run.tags.back().End() > copy.end) add(copy.end, run.End());
    });
    return covers;
}

}  // namespace vantor
