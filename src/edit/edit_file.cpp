#include "edit/edit_file.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "edit/copy_file.h"
#include "edit/images.h"
#include "edit/in_place.h"
#include "edit/lossless.h"
#include "fileio/file_lock.h"
#include "fileio/file_name.h"
#include "host/host_services.h"

namespace vantor {

namespace {

constexpr ReadParameters editReading{1, 8192, 4};
constexpr WriteParameters editWriting{.mode = 0, .openExisting = true, .mustExist = true};
constexpr std::chrono::seconds longestWait(5);  // for others that edit the file
constexpr int mostAttempts = 5;                 // at a file that is never the one that was read

std::filesystem::path PathOf(const std::string& name) {
    return std::u8string(name.begin(), name.end());
}

// A copy must never be written over the file that it is read from, whatever name leads there.
bool IsSameFile(const std::string& left, const std::string& right) {
    if (CompareFileNames(left, right) == 0) return true;
    std::error_code notThere;
    return std::filesystem::equivalent(PathOf(left), PathOf(right), notThere);
}

// One attempt at an edit, and the file as it was read for it.
struct Attempt {
    const EditRequest& request;
    std::unique_ptr<FileReader> file = std::make_unique<FileReader>(request.fileName, editReading);
    platform::FileStatus status = file->Status();
    AudioFormat format{};
    ChunkImages images{};
    PlannedTags planned{};

    [[nodiscard]] bool Wants(WriteFlags flag) const { return (request.flags & flag) != 0; }
    [[nodiscard]] bool IsRf64() const { return format.fileKind != kindWave; }
    void CloseFile() {
        if (file) ReportDiskRead(file->BytesRead());
        file.reset();
    }
};

// Nothing: the file is not, or no longer, the one that was read, and the edit starts again.
using Answer = std::optional<WriteAnswer>;

// The file for writing. It is forgotten before, since a handle that shares reading alone would keep the
// writer out.
std::unique_ptr<FileWriter> OpenForWriting(Attempt& attempt) {
    attempt.request.forget(attempt.request.fileName);
    attempt.CloseFile();
    return std::make_unique<FileWriter>(attempt.request.fileName.c_str(), editWriting);
}

bool IsStillTheFile(const Attempt& attempt, FileWriter& writer) {
    return writer.Status() == attempt.status;
}

// False when not all of the file can be read: what is merged from would be lost. What cannot be played takes
// tags, too.
bool Parse(Attempt& attempt) {
    static_cast<void>(ParseAudioFormat(attempt.format, *attempt.file));
    const bool isWhole = !attempt.format.isIncomplete && !attempt.file->HasMissedBytes();
    return TakesTags(attempt.format) && (isWhole || !attempt.Wants(writeMerge));
}

// Then the file is read anew.
Answer FinishFirst(Attempt& attempt, const InPlacePlan& unfinished) {
    const auto writer = OpenForWriting(attempt);
    if (!writer->IsOpen()) return writeFailed;
    if (IsStillTheFile(attempt, *writer) && !FinishInPlace(*writer, unfinished)) return writeFailed;
    return std::nullopt;
}

// A lossless edit that changes nothing has no images and replaces nothing.
bool MakeImages(Attempt& attempt) {
    const auto& changes = attempt.request.changes;
    auto& [request, file, status, format, images, planned] = attempt;
    if (request.document) {
        auto document = ImagesOf(*request.document, *file, attempt.IsRf64());
        if (document) images = std::move(*document);
        return document.has_value();
    }
    auto old = ReadTagChunks(*file, attempt.IsRf64(), attempt.Wants(writeMerge));
    if (!old) return false;
    if (attempt.Wants(writeMerge) && attempt.Wants(writeLossless)) {
        images = LosslessImages({format, changes, *old, *file}).value_or(ChunkImages());
        if (!images.replaced.empty()) images.replaced.emplace_back(paddingScheme);
    } else {
        images = BuildImages({format, changes, OldChunksOf(std::move(*old)), *file, request.flags});
    }
    return true;
}

Answer TryCopy(Attempt& attempt) {
    const auto& [fileName, target, changes, document, flags, forget] = attempt.request;
    if (IsSameFile(fileName, target)) return writeFailed;
    if (!attempt.file) attempt.file = std::make_unique<FileReader>(fileName, editReading);
    const int32_t kind = attempt.format.fileKind;
    if (attempt.Wants(writeAnswerAlone))
        return CanCopy(*attempt.file, attempt.images, kind) ? writtenToTarget : writeFailed;
    forget(target);
    const bool written = WriteCopy(*attempt.file, target, attempt.images, kind);
    forget(target);
    return written ? writtenToTarget : writeFailed;
}

Answer TryInPlace(Attempt& attempt) {
    if (attempt.images.replaced.empty()) return updatedInPlace;
    const auto plan = PlanInPlace(*attempt.file, attempt.images, attempt.IsRf64());
    if (!plan) return TryCopy(attempt);
    auto writer = OpenForWriting(attempt);
    if (!writer->IsOpen()) return TryCopy(attempt);
    if (!IsStillTheFile(attempt, *writer)) return std::nullopt;
    if (attempt.Wants(writeAnswerAlone)) return updatedInPlace;
    const auto result = UpdateInPlace(*writer, *plan);
    writer.reset();
    if (result == InPlaceResult::undone) return TryCopy(attempt);
    return result == InPlaceResult::done ? updatedInPlace : writeFailed;
}

Answer Try(Attempt& attempt) {
    const bool inPlace = !attempt.Wants(writeNeverInPlace);
    if (attempt.file->IsWriteShared() || !Parse(attempt)) return writeFailed;
    if (inPlace && !attempt.Wants(writeAnswerAlone))
        if (const auto unfinished = FindUnfinishedEdit(*attempt.file, attempt.IsRf64()))
            return FinishFirst(attempt, *unfinished);
    if (!MakeImages(attempt)) return writeFailed;
    if (attempt.Wants(writeAnswerAlone))
        attempt.planned = PlanTags(*attempt.file, attempt.format, attempt.images);
    return inPlace ? TryInPlace(attempt) : TryCopy(attempt);
}

}  // namespace

EditOutcome EditFile(const EditRequest& request) {
    for (int i = 0; i < mostAttempts; ++i) {
        const FileLock lock(request.fileName, longestWait);
        if (!lock.IsHeld()) return {};
        Attempt attempt{request};
        if (!lock.IsOf(attempt.status)) continue;
        const auto answer = Try(attempt);
        attempt.CloseFile();
        request.forget(request.fileName);  // a reader may have opened it meanwhile
        if (answer) return {*answer, attempt.images.rebuilt, std::move(attempt.planned)};
    }
    return {};
}

}  // namespace vantor
