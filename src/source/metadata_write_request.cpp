// The write request: the host's fields into the file's metadata, the metadata into chunks, the chunks into
// the file, in place or as a copy.
#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <memory>
#include <vector>

#include "edit/rewrite.h"
#include "fileio/file_name.h"
#include "metadata/key_table.h"
#include "metadata/write/build_chunks.h"
#include "source/extended_calls.h"
#include "source/merge_fields.h"
#include "source/old_chunks.h"
#include "source/state_tables.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr ReadParameters rewriteReading{1, 8192, 4};

struct ChunkImages {
    ChunkImage main;  // goes behind "fmt " in a copy
    ChunkImage tail;  // goes to the end
    bool hasAcid = false;
};

// What the builders work from.
struct ChunkSources {
    const MetadataStore& store;
    FileReader& file;
    const OldChunks& old;
};

bool IsRewritable(int32_t fileKind) {
    return fileKind == kindWave || fileKind == kindRf64 || fileKind == kindBw64;
}

bool IsRf64(const AudioFormat& format) {
    return format.fileKind != kindWave;
}

MetadataStore StoreOf(const MetadataPair* pairs) {
    MetadataStore store;
    for (; pairs->key && pairs->value; ++pairs)
        store.Set(pairs->key, pairs->value);
    return store;
}

struct SchemeBuilder {
    std::string_view scheme;
    int (*build)(ChunkImage& image, const ChunkSources& sources);
    bool inTail = false;
};

// "ASWG" has no chunk of its own: its fields stand in the iXML document.
constexpr std::array builders = {
    SchemeBuilder{"BWF",
                  [](ChunkImage& image, const ChunkSources& s) { return BuildBextChunk(image, s.store); }},
    SchemeBuilder{"INFO",
                  [](ChunkImage& image, const ChunkSources& s) { return BuildInfoChunk(image, s.store); },
                  true},
    SchemeBuilder{"IXML",
                  [](ChunkImage& image, const ChunkSources& s) { return BuildIxmlChunk(image, s.store, 0); }},
    SchemeBuilder{"XMP",
                  [](ChunkImage& image, const ChunkSources& s) { return BuildXmpChunk(image, s.store); }},
    SchemeBuilder{"AXML",
                  [](ChunkImage& image, const ChunkSources& s) {
                      return BuildAxmlChunk(image, s.store, s.old.axmlDocuments);
                  }},
    SchemeBuilder{"CART",
                  [](ChunkImage& image, const ChunkSources& s) { return BuildCartChunk(image, s.store); }},
    SchemeBuilder{"ID3",
                  [](ChunkImage& image, const ChunkSources& s) {
                      return BuildId3Chunk(image, s.store, &s.file, s.old.id3);
                  }},
};

void AddSchemeChunks(ChunkImages& images, const ChunkSources& sources) {
    for (int i = 0; const char* scheme = SchemeForType(".wav", i); ++i) {
        const auto* builder =
            std::find_if(builders.begin(), builders.end(),
                         [&](const SchemeBuilder& candidate) { return candidate.scheme == scheme; });
        if (builder != builders.end()) builder->build(builder->inTail ? images.tail : images.main, sources);
    }
    // Behind those of its scheme that can be read.
    images.main.insert(images.main.end(), sources.old.refused.begin(), sources.old.refused.end());
}

// What the file's tags become.
MetadataStore EditedTags(const AudioFormat& format, const OldChunks& old, const MetadataStore& changes,
                         bool merges) {
    MetadataStore store;
    if (merges) store = format.metadata;
    store.AddMissing(old.refusedTagEntries);
    RemoveBwfCopies(store);
    MergeFields(store, changes, format.sampleRate);
    return store;
}

// Loop information is written anew when the host changes the loop's tempo or key.
void AddAcidChunk(ChunkImages& images, const AudioFormat& format, const MetadataStore& changes) {
    if (format.loopKind == 0 || !(changes.Has("BPM") || changes.Has("KEY"))) return;
    AcidValues values;
    values.key = PitchClassOfKeyName(changes.Value("KEY"));
    if (values.key < 0 && format.hasRootNote) values.key = format.rootNoteOffset;
    values.tempo = static_cast<float>(DecimalNumber(changes.Value("BPM")));
    if (!(values.tempo > 0)) values.tempo = format.tempo;
    values.beatCount =
        values.tempo == format.tempo ? format.beatCount : 0;  // else its beats have another length
    values.beatCountAlt = format.beatCountAlt;
    BuildAcidChunk(images.main, values);
    images.hasAcid = true;
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

std::shared_ptr<AudioFormat> AttachedFormat(SharedFileState& state, const void* source) {
    auto lent = AcquireReader(state, source);
    auto format = lent.format;
    if (lent.context) ReleaseReader(state, std::move(lent), source, 0);
    return format;
}

// The format as `file` is now: an earlier request, or another program, may have changed it after the source
// was opened.
std::shared_ptr<AudioFormat> FreshFormat(SharedFileState& state, const void* source, FileReader& file) {
    auto format = AttachedFormat(state, source);
    if (format && !format->isIncomplete && format->fileTime == file.LastWriteTime() &&
        format->fileSize == file.Size())
        return format;
    ForgetFile(state.fileName.c_str());
    return AttachedFormat(state, source);
}

// The file that is to be written is forgotten before, since a handle of ours that shares reading alone would
// keep the writer out, and after, since a reader may have opened it meanwhile.
bool UpdateInPlace(const std::string& fileName, std::unique_ptr<FileReader> file, const ChunkImages& images,
                   bool isRf64) {
    ChunkImage image = images.main;
    image.insert(image.end(), images.tail.begin(), images.tail.end());
    ForgetFile(fileName.c_str());
    const bool updated = RewriteInPlace(fileName, std::move(file), image, isRf64, images.hasAcid);
    ForgetFile(fileName.c_str());
    return updated;
}

bool WriteToTarget(const std::string& fileName, const std::string& target, const ChunkImages& images,
                   int32_t fileKind) {
    if (IsSameFile(fileName, target)) return false;
    ForgetFile(target.c_str());
    FileReader file(fileName, rewriteReading);
    const bool written =
        file.IsOpen() && WriteCopy(file, target, images.main, images.tail, fileKind, images.hasAcid);
    ForgetFile(target.c_str());
    return written;
}

intptr_t Write(const std::string& fileName, std::unique_ptr<FileReader> file, const char* target,
               const MetadataStore& changes, int32_t flags, const AudioFormat& format) {
    const bool merges = flags & writeMerge;
    if (merges && format.isIncomplete) return writeFailed;  // what it did not find would be lost
    const bool isRf64 = IsRf64(format);
    const auto old = ReadOldChunks(*file, isRf64, merges);
    if (!old) return writeFailed;
    const auto store = EditedTags(format, *old, changes, merges);
    ChunkImages images;
    AddSchemeChunks(images, {store, *file, *old});
    AddAcidChunk(images, format, changes);
    if (!(flags & writeNeverInPlace) && UpdateInPlace(fileName, std::move(file), images, isRf64))
        return updatedInPlace;
    file.reset();
    return WriteToTarget(fileName, target, images, format.fileKind) ? writtenToTarget : writeFailed;
}

}  // namespace

// a: target file name, b: list of MetadataPair, c: WriteFlags. 2: the file itself was updated, 1: the target
// was written.
intptr_t WriteMetadata(const ExtendedCallArguments& call) {
    if (!call.a || !call.b || !IsRewritable(call.format.fileKind)) return writeFailed;
    const auto state = call.source.Attachment().state;
    if (!state) return writeFailed;
    const std::lock_guard rewriting(state->rewriting);
    const std::string name = call.source.Name();
    auto file = std::make_unique<FileReader>(name, rewriteReading);
    if (!file->IsOpen()) return writeFailed;
    const auto format = FreshFormat(*state, &call.source, *file);
    if (!format || !IsRewritable(format->fileKind)) return writeFailed;
    return Write(name, std::move(file), static_cast<const char*>(call.a),
                 StoreOf(static_cast<const MetadataPair*>(call.b)), IntegerArgument(call.c), *format);
}

}  // namespace vantor
