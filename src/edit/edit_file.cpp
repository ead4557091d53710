#include "edit/edit_file.h"

#include <filesystem>
#include <memory>
#include <optional>

#include "edit/images.h"
#include "edit/lossless.h"
#include "edit/rewrite.h"
#include "fileio/file_name.h"

namespace vantor {

namespace {

constexpr ReadParameters editReading{1, 8192, 4};

bool IsRf64(const AudioFormat& format) {
    return format.fileKind != kindWave;
}

std::filesystem::path PathOf(const std::string& name) {
    return std::u8string(name.begin(), name.end());
}

// A copy must never be written over the file that it is read from, whatever name leads there.
bool IsSameFile(const std::string& left, const std::string& right) {
    if (CompareFileNames(left, right) == 0) return true;
    std::error_code notThere;
    return std::filesystem::equivalent(PathOf(left), PathOf(right), notThere);
}

// The new chunks for the file as it is now. Nothing when not all of it can be read: what is merged from would
// be lost.
std::optional<ChunkImages> ImagesFor(const EditRequest& request, FileReader& file, AudioFormat& format) {
    static_cast<void>(ParseAudioFormat(format, file));  // tags are written into what cannot be played, too
    const bool merges = request.flags & writeMerge;
    if (!TakesTags(format) || (merges && (format.isIncomplete || file.HasMissedBytes()))) return std::nullopt;
    auto old = ReadTagChunks(file, IsRf64(format), merges);
    if (!old) return std::nullopt;
    if (merges && (request.flags & writeLossless))
        return LosslessImages({format, request.changes, *old, file}).value_or(ChunkImages());
    return BuildImages({format, request.changes, OldChunksOf(std::move(*old)), file, request.flags});
}

bool IsNothing(const ChunkImages& images) {
    return images.replaced.empty();
}

// The file that is to be written is forgotten before, since a handle that shares reading alone would keep the
// writer out, and after, since a reader may have opened it meanwhile.
bool UpdateInPlace(const EditRequest& request, std::unique_ptr<FileReader> file, const ChunkImages& images,
                   bool isRf64) {
    ChunkImage image = images.main;
    image.insert(image.end(), images.tail.begin(), images.tail.end());
    request.forget(request.fileName);
    const bool updated = RewriteInPlace(request.fileName, std::move(file), image, isRf64, images.replaced);
    request.forget(request.fileName);
    return updated;
}

bool WriteToTarget(const EditRequest& request, const ChunkImages& images, int32_t fileKind) {
    if (IsSameFile(request.fileName, request.target)) return false;
    request.forget(request.target);
    FileReader file(request.fileName, editReading);
    const bool written = IsNothing(images) ? WriteSameBytes(file, request.target)
                                           : WriteCopy(file, request.target, images.main, images.tail,
                                                       fileKind, images.replaced);
    request.forget(request.target);
    return written;
}

}  // namespace

bool TakesTags(const AudioFormat& format) {
    return format.fileKind == kindWave || format.fileKind == kindRf64 || format.fileKind == kindBw64;
}

WriteAnswer EditFile(const EditRequest& request) {
    auto file = std::make_unique<FileReader>(request.fileName, editReading);
    if (!file->IsOpen()) return writeFailed;
    AudioFormat format;
    const auto images = ImagesFor(request, *file, format);
    if (!images) return writeFailed;
    const bool mayUpdate = !(request.flags & writeNeverInPlace);
    if (mayUpdate && IsNothing(*images)) return updatedInPlace;
    if (mayUpdate && UpdateInPlace(request, std::move(file), *images, IsRf64(format))) return updatedInPlace;
    file.reset();
    return WriteToTarget(request, *images, format.fileKind) ? writtenToTarget : writeFailed;
}

}  // namespace vantor
