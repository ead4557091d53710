// The copy: every chunk that is kept, byte for byte, with the new ones in between.

#include <optional>

#include "edit/byte_transfer.h"
#include "edit/chunk_walk.h"
#include "edit/rewrite.h"
#include "fileio/byte_order.h"
#include "formats/audio_format.h"
#include "formats/riff_data_size.h"

namespace vantor {

namespace {

using Image = std::vector<uint8_t>;
using namespace std::string_view_literals;

constexpr int64_t riffSizeOffset = 4;
constexpr int64_t ds64RiffSizeOffset = 20;
constexpr int64_t ds64DataSizeOffset = 28;

// What the first walk finds out, before the target is touched.
struct CopyPlan {
    int64_t keptBytes = 0;
    int64_t keptBeforeAudio = 0;
    int64_t audioStart = 0;  // in the source
    int64_t audioBytes = 0;
    std::optional<int64_t> ds64AudioBytes;  // when a `data` chunk of the copy leaves its size to `ds64`
    bool isDs64Ambiguous = false;           // when another leaves another size to it
    bool hasFormat = false;
    bool isFormatBeforeAudio = false;
    int64_t end = 0;            // of the last whole chunk
    int64_t leftoverStart = 0;  // bytes behind the last whole chunk; kept at the end of the copy
    int64_t leftoverBytes = 0;
    bool isTailBeforeAudio = false;
};

struct CopyJob {
    FileReader& reader;
    FileWriter& writer;
    const Image& mainImage;
    const Image& tailImage;
    int32_t fileKind;
    Schemes replaced;
    CopyPlan plan;

    [[nodiscard]] bool IsRf64() const { return fileKind != kindWave; }
};

int64_t CopiedBytes(const RiffChunk& chunk) {
    return chunk.End() - chunk.start;
}

// The size field of a copied `data` chunk: what is really there, so that chunks behind it are not taken for
// audio.
uint32_t AudioSizeField(const RiffChunk& chunk, bool isRf64) {
    const bool isInDs64 = ReadLe32(&chunk.header[4]) == sizeInDs64 || chunk.bodyBytes >= int64_t{sizeInDs64};
    return isRf64 && isInDs64 ? sizeInDs64 : static_cast<uint32_t>(chunk.bodyBytes);
}

void AddAudio(CopyPlan& plan, const RiffChunk& chunk, bool isRf64) {
    plan.keptBeforeAudio = plan.keptBytes;
    plan.isFormatBeforeAudio = plan.hasFormat;
    plan.audioStart = chunk.BodyStart();
    plan.audioBytes = chunk.bodyBytes;
    if (!isRf64 || AudioSizeField(chunk, isRf64) != sizeInDs64) return;
    plan.isDs64Ambiguous |= plan.ds64AudioBytes.value_or(chunk.bodyBytes) != chunk.bodyBytes;
    plan.ds64AudioBytes = chunk.bodyBytes;
}

void AddChunk(CopyPlan& plan, const RiffChunk& chunk, bool isRf64) {
    if (chunk.isReplaceable) return;
    if (chunk.Id() == "fmt "sv) plan.hasFormat = true;
    if (chunk.isData) AddAudio(plan, chunk, isRf64);
    plan.keptBytes += CopiedBytes(chunk);
}

bool IsLeftoverReplaceable(FileReader& reader, const CopyPlan& plan, Schemes replaced) {
    ChunkHeader header{};
    reader.Seek(plan.leftoverStart);
    return reader.ReadExactly(header.data(), chunkHeaderBytes) &&
           IsReplaceable(SchemeOfChunk(header, reader), replaced);
}

std::optional<CopyPlan> WalkSource(FileReader& reader, bool isRf64, Schemes replaced) {
    RiffChunkWalk walk(reader, isRf64, replaced);
    CopyPlan plan;
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk)
        AddChunk(plan, chunk, isRf64);
    if (step == WalkStep::refused || !plan.hasFormat || plan.isDs64Ambiguous) return std::nullopt;
    plan.end = walk.Position();
    if (step == WalkStep::leftover) {
        plan.leftoverStart = walk.Position();
        if (!IsLeftoverReplaceable(reader, plan, replaced))
            plan.leftoverBytes = walk.FileSize() - walk.Position();
    }
    return plan;
}

// True when a copy would play bytes that the source does not: audio of no length, in a plain RIFF file audio
// beyond 4 GiB too, runs to the end of the file for a player.
bool WouldPlayMore(const CopyPlan& plan, int64_t sourceSize, size_t mainBytes, size_t tailBytes,
                   bool isRf64) {
    if (isRf64 && plan.audioBytes > 0) return false;
    const auto images = static_cast<int64_t>(mainBytes + tailBytes);
    const int64_t newSize = riffHeaderBytes + plan.keptBytes + images + plan.leftoverBytes;
    const auto inFront = plan.isFormatBeforeAudio ? static_cast<int64_t>(mainBytes) : 0;
    const auto tailInFront =
        plan.isFormatBeforeAudio && plan.isTailBeforeAudio ? static_cast<int64_t>(tailBytes) : 0;
    const int64_t newStart =
        riffHeaderBytes + plan.keptBeforeAudio + inFront + tailInFront + chunkHeaderBytes;
    const int64_t newBytes =
        RiffDataBytes(static_cast<uint32_t>(plan.audioBytes), nullptr, true, newStart, newSize);
    return PlayedRiffBytes(newBytes, newStart, newSize) >
           PlayedRiffBytes(plan.audioBytes, plan.audioStart, sourceSize);
}

std::optional<CopyPlan> MakePlan(FileReader& reader, const Image& mainImage, const Image& tailImage,
                                 bool isRf64, Schemes replaced) {
    auto plan = WalkSource(reader, isRf64, replaced);
    if (!plan) return plan;
    const int64_t sourceSize = reader.Size();
    if (!WouldPlayMore(*plan, sourceSize, mainImage.size(), tailImage.size(), isRf64)) return plan;
    plan->isTailBeforeAudio = true;
    if (WouldPlayMore(*plan, sourceSize, mainImage.size(), tailImage.size(), isRf64)) return std::nullopt;
    return plan;
}

bool WriteImage(FileWriter& writer, const Image& image) {
    return WriteBytes(writer, image.data(), static_cast<int64_t>(image.size()));
}

bool WriteFileHeader(CopyJob& job) {
    static constexpr uint8_t allOnes[] = {0xFF, 0xFF, 0xFF, 0xFF};
    static constexpr uint8_t zeros[] = {0, 0, 0, 0};
    const auto id = job.fileKind == kindRf64 ? "RF64"sv : job.fileKind == kindBw64 ? "BW64"sv : "RIFF"sv;
    return WriteBytes(job.writer, reinterpret_cast<const uint8_t*>(id.data()), 4) &&
           WriteBytes(job.writer, job.IsRf64() ? allOnes : zeros, 4) &&
           WriteBytes(job.writer, reinterpret_cast<const uint8_t*>("WAVE"), 4);
}

bool CopyChunk(CopyJob& job, const RiffChunk& chunk) {
    auto header = chunk.header;
    if (chunk.isData) WriteLe32(&header[4], AudioSizeField(chunk, job.IsRf64()));
    job.reader.Seek(chunk.BodyStart());
    if (!WriteBytes(job.writer, header.data(), chunkHeaderBytes) ||
        !CopyBytes(job.reader, job.writer, chunk.bodyBytes))
        return false;
    if (!(chunk.bodyBytes & 1)) return true;
    return chunk.BodyEnd() < job.reader.Size() ? CopyBytes(job.reader, job.writer, 1)
                                               : WriteZeros(job.writer, 1);
}

bool CopyChunks(CopyJob& job) {
    RiffChunkWalk walk(job.reader, job.IsRf64(), job.replaced);
    bool isImageWritten = false;
    RiffChunk chunk;
    while (walk.Next(chunk) == WalkStep::chunk) {
        if (chunk.isReplaceable) continue;
        if (!CopyChunk(job, chunk)) return false;
        if (isImageWritten || chunk.Id() != "fmt "sv) continue;
        isImageWritten = true;
        if (!WriteImage(job.writer, job.mainImage)) return false;
        if (job.plan.isTailBeforeAudio && !WriteImage(job.writer, job.tailImage)) return false;
    }
    const bool isWhole = walk.Position() == job.plan.end;  // no header was lost on the way
    return isWhole && isImageWritten && (job.plan.isTailBeforeAudio || WriteImage(job.writer, job.tailImage));
}

bool CopyLeftover(CopyJob& job) {
    job.reader.Seek(job.plan.leftoverStart);
    return CopyBytes(job.reader, job.writer, job.plan.leftoverBytes);
}

bool WriteUInt64At(FileWriter& writer, int64_t offset, int64_t value) {
    uint8_t bytes[8];
    WriteLe64(bytes, static_cast<uint64_t>(value));
    return writer.Seek(offset) == 0 && WriteBytes(writer, bytes, sizeof bytes);
}

bool WriteSizes(CopyJob& job, int64_t riffSize) {
    const bool fits = riffSize < int64_t{UINT32_MAX};
    if ((!job.IsRf64() || fits) &&
        (job.writer.Seek(riffSizeOffset) != 0 || !job.writer.WriteUInt32(static_cast<uint32_t>(riffSize))))
        return false;
    return !job.IsRf64() || WriteUInt64At(job.writer, ds64RiffSizeOffset, riffSize);
}

bool CorrectDs64DataSize(CopyJob& job) {
    return !job.plan.ds64AudioBytes ||
           WriteUInt64At(job.writer, ds64DataSizeOffset, *job.plan.ds64AudioBytes);
}

}  // namespace

bool WriteCopy(FileReader& reader, const std::string& targetName, const Image& mainImage,
               const Image& tailImage, int32_t fileKind, Schemes replaced) {
    if (!reader.IsOpen()) return false;
    const bool isRf64 = fileKind != kindWave;
    const auto plan = MakePlan(reader, mainImage, tailImage, isRf64, replaced);
    if (!plan) return false;
    FileWriter writer(targetName.c_str(), {.mode = 1});
    if (!writer.IsOpen()) return false;
    CopyJob job{reader, writer, mainImage, tailImage, fileKind, replaced, *plan};
    if (!WriteFileHeader(job) || !CopyChunks(job)) return false;
    const int64_t riffSize = writer.Tell() - chunkHeaderBytes;
    return CopyLeftover(job) && WriteSizes(job, riffSize) && CorrectDs64DataSize(job) && writer.Flush(true);
}

bool WriteSameBytes(FileReader& reader, const std::string& targetName) {
    if (!reader.IsOpen() || !reader.Seek(0)) return false;
    FileWriter writer(targetName.c_str(), {.mode = 1});
    return writer.IsOpen() && CopyBytes(reader, writer, reader.Size()) && writer.Flush(true);
}

}  // namespace vantor
