#include "edit/copy_file.h"

#include <algorithm>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "edit/byte_transfer.h"
#include "edit/chunk_walk.h"
#include "edit/container.h"
#include "fileio/byte_order.h"
#include "formats/audio_format.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr ReadParameters targetReading{1, 8192, 4};

using Pieces = std::vector<std::span<const uint8_t>>;

int64_t BytesOf(const Pieces& pieces) {
    int64_t bytes = 0;
    for (const auto& piece : pieces)
        bytes += std::ssize(piece);
    return bytes;
}

// A pad byte that was left out hides the chunks behind it from all readers: they shall not come to light, a
// frame count among them. Padding of odd length, without a pad byte, hides them again.
constexpr int64_t oddPaddingBytes = chunkHeaderBytes + 1;

// What the first walk finds out, before the target is touched.
struct CopyPlan {
    int64_t keptBytes = 0;
    int64_t keptBeforeAudio = 0;
    AudioPlace audio;                       // in the source
    std::optional<int64_t> ds64AudioBytes;  // when a `data` chunk of the copy leaves its size to `ds64`
    bool isDs64Ambiguous = false;           // when another leaves another size to it
    bool hasFormat = false;
    bool isFormatBeforeAudio = false;
    int64_t end = 0;            // of the last whole chunk
    int64_t leftoverStart = 0;  // bytes behind the last whole chunk; kept at the end of the copy
    int64_t leftoverBytes = 0;
    int64_t hiderBytes = 0;  // of padding in front of them
    bool isTailBeforeAudio = false;
    std::vector<std::string_view> replaced;
    std::map<int64_t, std::span<const uint8_t>> placed;  // by the starts of the old chunks
    Pieces main, tail;                                   // what goes to no old chunk's place
    [[nodiscard]] int64_t LastChunkEnd() const {
        return riffHeaderBytes + keptBytes + BytesOf(main) + BytesOf(tail);
    }
    [[nodiscard]] int64_t FileEnd() const { return LastChunkEnd() + hiderBytes + leftoverBytes; }
};

struct CopyJob {
    FileReader& reader;
    ByteSink& sink;
    int32_t fileKind;
    const CopyPlan& plan;

    [[nodiscard]] bool IsRf64() const { return fileKind != kindWave; }
};

int64_t CopiedBytes(const RiffChunk& chunk) {
    return chunkHeaderBytes + chunk.bodyBytes + (chunk.bodyBytes & 1);
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
    plan.audio = {.start = chunk.BodyStart(), .bytes = chunk.bodyBytes};
    if (AudioSizeField(chunk, isRf64) != sizeInDs64) return;
    plan.isDs64Ambiguous |= plan.ds64AudioBytes.value_or(chunk.bodyBytes) != chunk.bodyBytes;
    plan.ds64AudioBytes = chunk.bodyBytes;
}

// What stands where a chunk stood that is replaced; nothing when it goes.
std::span<const uint8_t> Replacement(const CopyPlan& plan, const RiffChunk& old) {
    const auto place = plan.placed.find(old.start);
    return place == plan.placed.end() ? std::span<const uint8_t>() : place->second;
}

// The parts of an image without a place of their own; those that have one are noted.
Pieces PlacePieces(CopyPlan& plan, const ChunkImages& images, bool inTail) {
    const std::span image(inTail ? images.tail : images.main);
    Pieces pieces;
    size_t end = 0;
    for (const ChunkPlace& place : images.places) {
        if (place.inTail != inTail) continue;
        pieces.push_back(image.subspan(end, place.begin - end));
        end = place.end;
        plan.placed[place.oldStart] = image.subspan(place.begin, end - place.begin);
    }
    pieces.push_back(image.subspan(end));
    return pieces;
}

void AddChunk(CopyPlan& plan, const RiffChunk& chunk, bool isRf64) {
    if (chunk.isReplaceable) {
        plan.keptBytes += std::ssize(Replacement(plan, chunk));
        return;
    }
    if (chunk.Id() == "fmt "sv) plan.hasFormat = true;
    if (chunk.isData) AddAudio(plan, chunk, isRf64);
    plan.keptBytes += CopiedBytes(chunk);
}

bool IsLeftoverReplaceable(FileReader& reader, const CopyPlan& plan) {
    ChunkHeader header{};
    reader.Seek(plan.leftoverStart);
    return reader.ReadExactly(header.data(), chunkHeaderBytes) &&
           IsReplaceable(SchemeOfChunk(header, reader), plan.replaced);
}

CopyPlan BlankPlan(const ChunkImages& images, bool usesPlaces) {
    CopyPlan plan;
    plan.replaced = images.replaced;
    if (images.keepsPlaces) std::erase(plan.replaced, paddingScheme);
    if (usesPlaces) {
        plan.main = PlacePieces(plan, images, false);
        plan.tail = PlacePieces(plan, images, true);
    } else {
        plan.main = {images.main};
        plan.tail = {images.tail};
    }
    return plan;
}

std::optional<CopyPlan> WalkSource(FileReader& reader, const ChunkImages& images, bool isRf64,
                                   bool usesPlaces) {
    auto plan = BlankPlan(images, usesPlaces);
    RiffChunkWalk walk(reader, isRf64, plan.replaced);
    RiffChunk chunk;
    WalkStep step;
    while ((step = walk.Next(chunk)) == WalkStep::chunk)
        AddChunk(plan, chunk, isRf64);
    if (step == WalkStep::refused || !plan.hasFormat || plan.isDs64Ambiguous) return std::nullopt;
    plan.end = walk.Position();
    if (step == WalkStep::leftover) {
        plan.leftoverStart = walk.Position();
        if (chunk.lacksPad || !IsLeftoverReplaceable(reader, plan))
            plan.leftoverBytes = walk.FileSize() - walk.Position();
        if (chunk.lacksPad) plan.hiderBytes = oddPaddingBytes;
    }
    return plan;
}

// A `data` chunk of a plain RIFF file says what is there; 32 bits of it.
AudioPlace AudioInCopy(const CopyPlan& plan, bool isRf64) {
    int64_t start = riffHeaderBytes + plan.keptBeforeAudio + chunkHeaderBytes;
    if (plan.isFormatBeforeAudio)
        start += BytesOf(plan.main) + (plan.isTailBeforeAudio ? BytesOf(plan.tail) : 0);
    const bool isInDs64 = isRf64 && plan.audio.bytes > 0;
    return {isInDs64 ? sizeInDs64 : static_cast<uint32_t>(plan.audio.bytes), start};
}

bool WouldPlayMore(const CopyPlan& plan, int64_t sourceSize, bool isRf64) {
    return WouldPlayMore(plan.audio, sourceSize, AudioInCopy(plan, isRf64), plan.FileEnd(), isRf64);
}

// Where chunks behind the audio would play, all new ones go in front of it.
std::optional<CopyPlan> MakePlan(FileReader& reader, const ChunkImages& images, bool isRf64) {
    auto plan = WalkSource(reader, images, isRf64, images.keepsPlaces);
    if (!plan || !WouldPlayMore(*plan, reader.Size(), isRf64)) return plan;
    plan = WalkSource(reader, images, isRf64, false);
    if (!plan) return plan;
    plan->isTailBeforeAudio = true;
    if (WouldPlayMore(*plan, reader.Size(), isRf64)) return std::nullopt;
    return plan;
}

bool PutPieces(CopyJob& job, const Pieces& pieces) {
    return std::ranges::all_of(
        pieces, [&](const auto& piece) { return job.sink.Put(piece.data(), std::ssize(piece)); });
}

bool PutFileHeader(CopyJob& job) {
    const auto id = job.fileKind == kindRf64 ? "RF64"sv : job.fileKind == kindBw64 ? "BW64"sv : "RIFF"sv;
    uint8_t header[riffHeaderBytes];
    std::ranges::copy(id, header);
    WriteLe32(header + riffSizeOffset, RiffSizeField(job.plan.LastChunkEnd(), job.IsRf64()));
    std::ranges::copy("WAVE"sv, header + 8);
    return job.sink.Put(header, sizeof header);
}

// The sizes at the start of `ds64` are those of the copy.
bool PutDs64Sizes(CopyJob& job) {
    uint8_t sizes[16];
    if (!job.reader.ReadExactly(sizes, sizeof sizes)) return false;
    WriteLe64(sizes, static_cast<uint64_t>(job.plan.LastChunkEnd() - chunkHeaderBytes));
    if (job.plan.ds64AudioBytes) WriteLe64(sizes + 8, static_cast<uint64_t>(*job.plan.ds64AudioBytes));
    return job.sink.Put(sizes, sizeof sizes);
}

bool CopyChunk(CopyJob& job, const RiffChunk& chunk) {
    auto header = chunk.header;
    if (chunk.isData) WriteLe32(&header[4], AudioSizeField(chunk, job.IsRf64()));
    job.reader.Seek(chunk.BodyStart());
    if (!job.sink.Put(header.data(), chunkHeaderBytes)) return false;
    const bool isDs64 = job.IsRf64() && chunk.start == riffHeaderBytes;
    if (isDs64 && !PutDs64Sizes(job)) return false;
    if (!CopyBytes(job.reader, job.sink, chunk.BodyEnd() - job.reader.Tell())) return false;
    if (!(chunk.bodyBytes & 1)) return true;
    return chunk.lacksPad || chunk.BodyEnd() >= job.reader.Size() ? WriteZeros(job.sink, 1)
                                                                  : CopyBytes(job.reader, job.sink, 1);
}

bool CopyChunks(CopyJob& job) {
    RiffChunkWalk walk(job.reader, job.IsRf64(), job.plan.replaced);
    bool isImageWritten = false;
    RiffChunk chunk;
    while (walk.Next(chunk) == WalkStep::chunk) {
        if (chunk.isReplaceable) {
            if (!PutPieces(job, {Replacement(job.plan, chunk)})) return false;
            continue;
        }
        if (!CopyChunk(job, chunk)) return false;
        if (isImageWritten || chunk.Id() != "fmt "sv) continue;
        isImageWritten = true;
        if (!PutPieces(job, job.plan.main)) return false;
        if (job.plan.isTailBeforeAudio && !PutPieces(job, job.plan.tail)) return false;
    }
    // The file is as it was when this was planned: no header was lost on the way.
    return walk.Position() == job.plan.end && (job.plan.isTailBeforeAudio || PutPieces(job, job.plan.tail));
}

bool CopyAll(CopyJob job) {
    if (!PutFileHeader(job) || !CopyChunks(job)) return false;
    const int64_t hider = job.plan.hiderBytes;
    if (hider > 0 && !FillWithJunk(job.sink, job.plan.LastChunkEnd(), hider)) return false;
    job.reader.Seek(job.plan.leftoverStart);
    return CopyBytes(job.reader, job.sink, job.plan.leftoverBytes);
}

bool CopyAsItIs(FileReader& source, ByteSink& sink) {
    return source.Seek(0) && CopyBytes(source, sink, source.Size());
}

// `put(sink)` gives the bytes, once to be written and once to be compared.
template <typename Put>
bool WriteAndReadBack(const std::string& target, int64_t bytes, Put put) {
    {
        FileWriter writer(target.c_str(), {.mode = 1});
        FileSink sink(writer);
        if (!put(sink) || !writer.FlushToDisk()) return false;
    }
    FileReader written(target, targetReading);
    ComparingSink sink(written);
    return written.Size() == bytes && put(sink);
}

}  // namespace

bool CanCopy(FileReader& source, const ChunkImages& images, int32_t fileKind) {
    return images.replaced.empty() || MakePlan(source, images, fileKind != kindWave);
}

bool WriteCopy(FileReader& source, const std::string& target, const ChunkImages& images, int32_t fileKind) {
    if (!source.IsOpen()) return false;
    if (images.replaced.empty())
        return WriteAndReadBack(target, source.Size(),
                                [&](ByteSink& sink) { return CopyAsItIs(source, sink); });
    const auto plan = MakePlan(source, images, fileKind != kindWave);
    if (!plan) return false;
    return WriteAndReadBack(target, plan->FileEnd(), [&](ByteSink& sink) {
        return CopyAll({source, sink, fileKind, *plan});
    });
}

}  // namespace vantor
