#include "wavehost/edits/tag_edit.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <set>
#include <span>

#include "wavehost/edits/objections.h"
#include "wavehost/edits/same_audio.h"
#include "wavehost/edits/write_request.h"
#include "wavehost/files/output_file.h"
#include "wavehost/host/host_services.h"
#include "wavehost/os/failure.h"
#include "wavehost/values/keys.h"

namespace vantor::wavehost {

namespace {

// Whether the file is of a container into which the module writes: WAV, RF64 or BW64.
bool TakesMetadata(const fs::path& file) {
    const Stream stream(OpenStream(file, "rb"));
    char header[12] = {};
    if (!stream || std::fread(header, 1, sizeof header, stream.get()) != sizeof header) return false;
    const std::string_view id(header, 4), form(header + 8, 4);
    return (id == "RIFF" || id == "RF64" || id == "BW64") && form == "WAVE";
}

struct Look {
    AudioShape shape;
    Metadata tags;
};

Look LookAt(PCM_source& source) {
    return {ShapeOf(source), MetadataOf(source)};
}

std::string Refusal(const fs::path& file) {
    if (!TakesMetadata(file)) return "metadata is written into WAV, RF64 and BW64 files alone";
    const int32_t failure = Host().writeFailure;
    if (failure == 0) return "the metadata could not be written";
    return failure == diskFull ? "cannot be written: the disk is full" : "cannot be written to the disk";
}

bool IsWritable(const fs::path& file) {
    return Stream(OpenStream(file, "r+b")) != nullptr;
}

struct Stamp {
    uintmax_t bytes;
    fs::file_time_type time;
    bool operator==(const Stamp&) const = default;
};

Stamp StampOf(const fs::path& file) {
    std::error_code failed;
    return {fs::file_size(file, failed), fs::last_write_time(file, failed)};
}

// What is to be done to a file.
struct Task {
    WishesOf wishesOf;
    const DocumentKind* kind = nullptr;  // of `document`, which is then all that is to be done
    const std::string* document = nullptr;
};

bool BeginsWithAny(std::string_view key, std::span<const std::string_view> prefixes) {
    return std::ranges::any_of(prefixes, [&](std::string_view prefix) { return key.starts_with(prefix); });
}

class Edit {
  public:
    Edit(const Module& module, const std::string& file, const Task& task, const EditWays& ways)
        : module_(module), file_(file), path_(PathOf(file)), task_(task), ways_(ways) {}

    EditResult Run() { return ways_.dryRun ? Rehearse() : Apply(); }

  private:
    [[nodiscard]] int32_t Flags() const {
        int32_t flags = ways_.output.empty() ? 0 : writeNeverInPlace;
        if (!ways_.replaceAll) flags |= ways_.rebuild ? writeMerge : writeMerge | writeLossless;
        return flags;
    }

    // Notes what stands in the file and what is wished of it. False: nothing.
    bool Prepare(PCM_source& source) {
        before_ = LookAt(source);
        if (task_.document) return PrepareDocument(source);
        wishes_ = task_.wishesOf(source, before_.tags);
        if (wishes_.empty() && !ways_.replaceAll && ways_.output.empty()) return false;
        if (!TakesMetadata(path_)) throw Failure(Refusal(path_));
        if (!ways_.force && !ways_.trustsValues) CheckWishes(wishes_, before_.tags, before_.shape.sampleRate);
        return true;
    }

    bool PrepareDocument(PCM_source& source) {
        if (!TakesMetadata(path_)) throw Failure(Refusal(path_));
        return DocumentIn(source, *task_.kind) != *task_.document;
    }

    EditResult Result(Fate fate, const Metadata& after) {
        EditResult result{fate,
                          Compare(wishes_, before_.tags, after, before_.shape.sampleRate, ways_.replaceAll)};
        result.told.chunks = chunkChanges_;
        for (const std::string& scheme : rebuilt_)
            result.told.chunks.push_back(
                scheme + ", which could not be changed where it stands: it is built anew from its keys");
        if (!task_.document) return result;
        const auto own = [&](const KeyChange& change) {
            return BeginsWithAny(change.key, task_.kind->prefixes);
        };
        std::ranges::copy_if(result.told.besides, std::back_inserter(result.told.asked), own);
        std::erase_if(result.told.besides, own);
        return result;
    }

    // Reads the tags back. Throws Failure when the file is not what it was but for them.
    Metadata ReadBack(const fs::path& file) {
        chunkChanges_ = ChunkChanges(chunks_, ChunkMarksOf(TextOf(file)), AskedSchemes());
        const HostPtr<PCM_source> source = OpenSource(module_, TextOf(file));
        const Look after = LookAt(*source.Get());
        if (!(after.shape == before_.shape)) throw Failure("the written file does not hold the same audio");
        return after.tags;
    }

    // The source is closed on return: a file that is open cannot be replaced everywhere.
    WriteReport Ask(const fs::path& target, int32_t flags) {
        const HostPtr<PCM_source> source = OpenSource(module_, file_);
        auto report = task_.document
                          ? WriteDocument(*source.Get(), *task_.kind, *task_.document, target, flags)
                          : WriteTags(*source.Get(), wishes_, target, flags);
        rebuilt_ = report.rebuilt;
        return report;
    }

    // The schemes in whose chunks the wishes go. A document may stand in a tag.
    [[nodiscard]] std::set<std::string> AskedSchemes() const {
        std::set<std::string> schemes;
        const auto add = [&](std::string_view key) {
            const std::string scheme(key.substr(0, key.find(':')));
            schemes.insert(scheme == "ASWG" ? "IXML" : scheme);
            if (scheme == "IXML" || scheme == "ASWG" || scheme == "XMP") schemes.insert("ID3");
        };
        for (const Assignment& wish : wishes_)
            for (const std::string& key : AllSchemeKeysOf(wish.key))
                add(key);
        if (task_.document) std::ranges::for_each(task_.kind->prefixes, add);
        if (std::ranges::find(wishes_, positionField, &Assignment::key) != wishes_.end())
            std::ranges::for_each(std::array{"BWF:", "IXML:", "XMP:"}, add);
        if (ways_.replaceAll) schemes.merge(SchemesOfTags());
        return schemes;
    }

    bool LookAndPrepare() {
        chunks_ = ChunkMarksOf(file_);
        const HostPtr<PCM_source> source = OpenSource(module_, file_);
        return Prepare(*source.Get());
    }

    EditResult Apply() {
        const EditLock lock(path_);
        if (!LookAndPrepare()) return {};
        const bool replaces = ways_.output.empty();
        CheckWritable();
        OutputFile output(replaces ? path_ : PathOf(ways_.output));
        std::error_code failed;
        const PrivateFiles privately(fs::exists(output.Target(), failed));
        const Stamp stamp = StampOf(path_);
        const WriteAnswer answer = Ask(output.WriteTo(), Flags()).answer;
        if (answer == writeFailed) throw Failure(WhyFailed(output) + WhatStands());
        if (answer == updatedInPlace) return Updated(stamp);
        if (replaces && !ways_.force) RefuseOtherNames(path_);
        return Replaced(output, stamp);
    }

    void CheckWritable() const {
        if (!ways_.output.empty() || IsWritable(path_)) return;
        if (IsImmutable(path_)) throw Failure("cannot be changed: it is set to be immutable");
        if (!ways_.force) throw Failure("is write-protected; --force replaces it");
    }

    [[nodiscard]] std::string WhyFailed(const OutputFile& output) const {
        const fs::path folder = output.Target().parent_path();
        return FolderIsWritable(folder) ? WhyFailed()
                                        : "cannot be written: no new file is permitted in " + TextOf(folder);
    }

    // A document that the module does not read it does not write.
    [[nodiscard]] std::string WhyFailed() const {
        if (!task_.document || Host().writeFailure != 0) return Refusal(path_);
        return "the document is not read as " + std::string(task_.kind->name) + ", or could not be written";
    }

    // The disk may refuse when the new tags are there and what they replaced is still to be cleaned up.
    [[nodiscard]] std::string WhatStands() const {
        try {
            const HostPtr<PCM_source> source = OpenSource(module_, file_);
            if (MetadataOf(*source.Get()) == before_.tags) return {};
        } catch (const Failure&) {
            return {};
        }
        return "; new tags are in the file nevertheless, and the next edit of it finishes this one";
    }

    EditResult Updated(const Stamp& stamp) {
        if (!SyncFile(path_)) throw Failure("cannot be flushed to the disk");
        const Metadata after = ReadBack(path_);
        // Where times count whole seconds an edit may leave the same.
        const bool isTouched = StampOf(path_) != stamp || after != before_.tags;
        EditResult result = Result(isTouched ? Fate::updatedInPlace : Fate::unchanged, after);
        if (isTouched && !KeepTime(path_, stamp))
            result.told.shortfalls.emplace_back("its time was not kept");
        return result;
    }

    EditResult Replaced(OutputFile& output, const Stamp& stamp) {
        const Metadata after = ReadBack(output.WriteTo());
        // An update in place that failed half-way has touched the file too; the copy then holds all there is.
        if (StampOf(path_) != stamp && !IsSameAudio(module_, path_, output.WriteTo()))
            throw Failure("was changed by another program meanwhile; nothing was written");
        if (!KeepTime(output.WriteTo(), stamp)) throw Failure("its time cannot be kept; nothing was written");
        output.TakePlace();
        return Result(Fate::rewritten, after);
    }

    [[nodiscard]] bool KeepTime(const fs::path& file, const Stamp& stamp) const {
        std::error_code failed;
        if (ways_.preserveTime) fs::last_write_time(file, stamp.time, failed);
        return !failed;
    }

    // The module's answer alone, and what it would make of the tags.
    EditResult Rehearse() {
        if (!LookAndPrepare()) return {};
        const std::string target = ways_.output.empty() ? file_ + ".vantor" : ways_.output;
        CheckWritable();
        const auto planned = Ask(PathOf(target), Flags() | writeAnswerAlone);
        if (planned.answer == writeFailed) throw Failure(WhyFailed());
        if (planned.answer == writtenToTarget && ways_.output.empty() && !ways_.force)
            RefuseOtherNames(path_);
        chunkChanges_ = ChunkChanges(chunks_, WithTags(chunks_, planned.tagChunks), AskedSchemes());
        const bool isLossless = (Flags() & writeLossless) != 0 && !task_.document;
        const bool isInPlace = planned.answer == updatedInPlace;
        if (isLossless && isInPlace && planned.tags == before_.tags)
            return Result(Fate::unchanged, planned.tags);
        return Result(isInPlace ? Fate::updatedInPlace : Fate::rewritten, planned.tags);
    }

    const Module& module_;
    const std::string& file_;
    fs::path path_;
    const Task& task_;
    const EditWays& ways_;
    Assignments wishes_;
    Look before_{};
    std::vector<ChunkMark> chunks_;          // before
    std::vector<std::string> chunkChanges_;  // none before the file is read back
    std::vector<std::string> rebuilt_;       // schemes
};

}  // namespace

EditResult EditTags(const Module& module, const std::string& file, const WishesOf& wishesOf,
                    const EditWays& ways) {
    return Edit(module, file, {wishesOf}, ways).Run();
}

EditResult EmbedDocument(const Module& module, const std::string& file, const DocumentKind& kind,
                         const std::string& document, const EditWays& ways) {
    return Edit(module, file, {{}, &kind, &document}, ways).Run();
}

}  // namespace vantor::wavehost
