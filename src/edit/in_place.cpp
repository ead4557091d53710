// The in-place update: the new chunks go over a run of old ones or to the end of the file.
//
// Whatever interrupts, the chunk list stays walkable: the run that takes the image is first made one "JUNK"
// chunk, the image is written inside it, and the image's first chunk header comes last.

#include <optional>

#include "edit/byte_transfer.h"
#include "edit/chunk_walk.h"
#include "edit/rewrite.h"
#include "fileio/byte_order.h"
#include "formats/riff_data_size.h"

namespace vantor {

namespace {

using Image = std::vector<uint8_t>;

constexpr int64_t riffSizeOffset = 4;
constexpr int64_t ds64RiffSizeOffset = 20;

struct Run {
    int64_t start = 0;
    int64_t length = 0;
};

struct AudioPlace {
    uint32_t sizeField = 0;
    int64_t start = 0;
    int64_t bytes = 0;
};

struct Plan {
    std::vector<Run> gaps;
    std::optional<size_t> chosen;  // of the gaps
    Run trailing;                  // the run that reaches the end of the file; may be empty
    bool isWholeToTheEnd = true;   // nothing follows the last whole chunk
    bool isPadMissing = false;     // the last chunk is kept, odd, and ends with the file
    int64_t end = 0;               // of the last chunk
    int64_t fileSize = 0;
    AudioPlace audio;
};

bool Fits(const Run& gap, const Image& image) {
    const auto bytes = static_cast<int64_t>(image.size());
    return gap.length == bytes || gap.length >= bytes + chunkHeaderBytes;
}

void CloseRun(Plan& plan, Run& run, const Image& image) {
    if (run.length == 0) return;
    if (!plan.chosen && Fits(run, image)) plan.chosen = plan.gaps.size();
    plan.gaps.push_back(run);
    run.length = 0;
}

void AddChunk(Plan& plan, Run& run, const RiffChunk& chunk, const Image& image) {
    if (chunk.isReplaceable) {
        if (run.length == 0) run.start = chunk.start;
        run.length += chunk.End() - chunk.start;
        return;
    }
    CloseRun(plan, run, image);
    if (!chunk.isData) return;
    plan.audio = {ReadLe32(&chunk.header[4]), chunk.BodyStart(), chunk.bodyBytes};
    if (chunk.isCutOff) plan.isWholeToTheEnd = false;
}

std::optional<Plan> MakePlan(FileReader& reader, const Image& image, bool isRf64, Schemes replaced) {
    RiffChunkWalk walk(reader, isRf64, replaced);
    Plan plan;
    plan.fileSize = walk.FileSize();
    Run run;
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk)
        AddChunk(plan, run, chunk, image);
    if (step == WalkStep::refused) return std::nullopt;
    if (step == WalkStep::leftover) plan.isWholeToTheEnd = false;
    // Bytes that are no whole chunk are kept, so the run in front of them is a gap like any other.
    if (!plan.isWholeToTheEnd) CloseRun(plan, run, image);
    plan.end = std::min(walk.Position(), plan.fileSize);
    plan.isPadMissing = run.length == 0 && walk.Position() > plan.fileSize;
    plan.trailing = run.length ? Run{run.start, plan.fileSize - run.start} : Run{walk.Position(), 0};
    return plan;
}

// A recording that was never finished and a plain RIFF file beyond 4 GiB play up to their end: growing into
// that would turn tags into sound.
bool WouldPlayMore(const Plan& plan, int64_t newFileSize, bool isRf64) {
    const auto& audio = plan.audio;
    if (isRf64) return audio.sizeField == 0;
    const int64_t newBytes = RiffDataBytes(audio.sizeField, nullptr, true, audio.start, newFileSize);
    return PlayedRiffBytes(newBytes, audio.start, newFileSize) >
           PlayedRiffBytes(audio.bytes, audio.start, plan.fileSize);
}

bool FitsOneHeader(const Run& run) {
    return run.length - chunkHeaderBytes <= int64_t{UINT32_MAX};
}

// Makes the run one padding chunk, where a chunk can be that long.
bool CoverRun(FileWriter& writer, const Run& run) {
    return !FitsOneHeader(run) || WriteJunkHeader(run.start, writer, run.length);
}

// Writes the image at the start of the covered `run`, which is no shorter than it.
bool PlaceImage(FileWriter& writer, const Run& run, const Image& image) {
    const auto bytes = static_cast<int64_t>(image.size());
    const int64_t rest = run.length - bytes;
    const bool fitsOneHeader = FitsOneHeader(run);
    if (image.empty()) return true;
    if (writer.Seek(run.start + chunkHeaderBytes) != 0 ||
        !WriteBytes(writer, image.data() + chunkHeaderBytes, bytes - chunkHeaderBytes))
        return false;
    if (fitsOneHeader && rest >= chunkHeaderBytes && !WriteJunkHeader(run.start + bytes, writer, rest))
        return false;
    if (writer.Seek(run.start) == 0 && WriteBytes(writer, image.data(), chunkHeaderBytes)) return true;
    if (fitsOneHeader) static_cast<void>(WriteJunkHeader(run.start, writer, run.length));
    return false;
}

bool PlaceInGap(FileWriter& writer, Run& gap, const Image& image) {
    const auto bytes = static_cast<int64_t>(image.size());
    if (!CoverRun(writer, gap) || !PlaceImage(writer, gap, image)) return false;
    if (gap.length > bytes && !FillWithJunk(gap.start + bytes, writer, gap.length - bytes)) return false;
    gap.length = 0;
    return true;
}

// Makes room for the image at the end of the file before any old byte is touched. Zeros are empty chunks to a
// reader.
bool GrowTrailingRun(FileWriter& writer, Run& trailing, int64_t imageBytes) {
    const int64_t end = trailing.start + trailing.length;
    if (writer.Seek(end) != 0 || !WriteZeros(writer, imageBytes - trailing.length)) return false;
    trailing.length = imageBytes;
    return true;
}

bool AppendImage(FileWriter& writer, const Plan& plan, const Image& image) {
    if (writer.Seek(plan.fileSize) != 0) return false;
    if (plan.isPadMissing && !WriteZeros(writer, 1)) return false;
    return WriteBytes(writer, image.data(), static_cast<int64_t>(image.size()));
}

bool PlaceInTrailingRun(FileWriter& writer, Run& trailing, const Image& image) {
    const auto bytes = static_cast<int64_t>(image.size());
    const int64_t oldLength = trailing.length;
    if (trailing.length < bytes && !GrowTrailingRun(writer, trailing, bytes)) return false;
    if (!CoverRun(writer, trailing)) {
        trailing.length = oldLength;  // nothing claims what it grew by
        return false;
    }
    return PlaceImage(writer, trailing, image);
}

// The file as it was in length when the place at its end could not be filled.
void CutBack(FileWriter& writer, int64_t fileSize) {
    if (writer.Seek(fileSize) == 0) static_cast<void>(writer.CutAtPosition());
}

// Afterwards the trailing run is what is left of it behind the image.
bool PlaceAtEnd(FileWriter& writer, Plan& plan, const Image& image) {
    const auto bytes = static_cast<int64_t>(image.size());
    auto& trailing = plan.trailing;
    const bool grows = bytes > trailing.length;
    const bool placed = trailing.length == 0 ? image.empty() || AppendImage(writer, plan, image)
                                             : PlaceInTrailingRun(writer, trailing, image);
    if (!placed) {
        if (grows && trailing.length < bytes) CutBack(writer, plan.fileSize);
        return false;
    }
    trailing = {trailing.start + bytes, std::max<int64_t>(trailing.length - bytes, 0)};
    if (grows) plan.end = trailing.start;
    return true;
}

bool FillGaps(FileWriter& writer, const Plan& plan) {
    for (const auto& gap : plan.gaps)
        if (gap.length >= chunkHeaderBytes && !FillWithJunk(gap.start, writer, gap.length)) return false;
    return true;
}

bool DropTrailingRun(FileWriter& writer, Plan& plan) {
    const auto& trailing = plan.trailing;
    if (trailing.length == 0) return true;
    if (writer.Seek(trailing.start) == 0 && writer.CutAtPosition()) {
        plan.end = trailing.start;
        return true;
    }
    return trailing.length < chunkHeaderBytes || FillWithJunk(trailing.start, writer, trailing.length);
}

bool WriteSizes(FileWriter& writer, int64_t end, bool isRf64) {
    const int64_t riffSize = end - chunkHeaderBytes;
    const auto field = isRf64 ? std::min(riffSize, int64_t{UINT32_MAX}) : riffSize;
    if (writer.Seek(riffSizeOffset) != 0 || !writer.WriteUInt32(static_cast<uint32_t>(field))) return false;
    if (!isRf64) return true;
    uint8_t wide[8];
    WriteLe64(wide, static_cast<uint64_t>(riffSize));
    return writer.Seek(ds64RiffSizeOffset) == 0 && WriteBytes(writer, wide, sizeof wide);
}

bool Apply(FileWriter& writer, Plan& plan, const Image& image, bool isRf64) {
    const bool placed =
        plan.chosen ? PlaceInGap(writer, plan.gaps[*plan.chosen], image) : PlaceAtEnd(writer, plan, image);
    return placed && FillGaps(writer, plan) && DropTrailingRun(writer, plan) &&
           WriteSizes(writer, plan.end, isRf64);
}

}  // namespace

bool RewriteInPlace(const std::string& fileName, std::unique_ptr<FileReader> reader, const Image& image,
                    bool isRf64, Schemes replaced) {
    auto plan = MakePlan(*reader, image, isRf64, replaced);
    if (!plan) return false;
    if (!plan->chosen) {
        const int64_t newFileSize = plan->trailing.start + static_cast<int64_t>(image.size());
        if (!plan->isWholeToTheEnd || WouldPlayMore(*plan, newFileSize, isRf64)) return false;
    }
    // A reader that shares reading only keeps every writer out, this one included.
    reader.reset();
    FileWriter writer(fileName.c_str(), {.mode = 0, .openExisting = true, .shareWrite = true});
    return writer.IsOpen() && Apply(writer, *plan, image, isRf64);
}

}  // namespace vantor
