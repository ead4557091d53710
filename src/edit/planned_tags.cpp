#include "edit/planned_tags.h"

#include <map>
#include <string>
#include <utility>

#include "metadata/read/read_metadata.h"

namespace vantor {

namespace {

using Bytes = std::span<const uint8_t>;

class TagPlan {
  public:
    TagPlan(FileReader& file, const AudioFormat& format, const ChunkImages& images)
        : file_(file), format_(format), images_(Joined(images)) {}

    PlannedTags Made();

  private:
    void AddChunk(const TagScheme& scheme, std::string_view id, int64_t bodyStart, ChunkBody body);
    void AddImage(Bytes image, int64_t bodyStart);
    void AddKept(const RiffChunk& chunk);
    void AddChunks();
    void AddUnplaced();
    void ReadEntries();

    FileReader& file_;
    const AudioFormat& format_;
    ChunkImages images_;
    PlannedTags planned_;
};

void TagPlan::AddChunk(const TagScheme& scheme, std::string_view id, int64_t bodyStart, ChunkBody body) {
    MetadataStore scratch;
    const bool isRefused = !ReadMetadataChunk(body, scheme.name, scratch, bodyStart);
    planned_.chunks.push_back({&scheme, std::string(id), bodyStart, std::move(body), isRefused});
}

void TagPlan::AddImage(Bytes image, int64_t bodyStart) {
    ForEachChunk(image, [&](Bytes chunk) {
        const auto id = FourCharacters(chunk.data());
        const auto body = chunk.subspan(chunkHeaderBytes, ReadLe32(&chunk[4]));
        AddChunk(*SchemeOfChunkId(id), id, bodyStart, {body.begin(), body.end()});
    });
}

void TagPlan::AddKept(const RiffChunk& chunk) {
    const auto* scheme = FindScheme(chunk.scheme);
    ChunkBody body;
    if (scheme && scheme->read && ReadChunkBody(file_, chunk, body))
        AddChunk(*scheme, chunk.Id(), chunk.BodyStart(), std::move(body));
}

void TagPlan::AddChunks() {
    const Bytes image(images_.main);
    std::map<int64_t, Bytes> placed;  // by the starts of the old chunks
    for (const auto& place : images_.places)
        placed[place.oldStart] = image.subspan(place.begin, place.end - place.begin);
    RiffChunkWalk walk(file_, format_.fileKind != kindWave, images_.replaced);
    RiffChunk chunk;
    while (walk.Next(chunk) == WalkStep::chunk) {
        const auto place = placed.find(chunk.start);
        if (!chunk.isReplaceable)
            AddKept(chunk);
        else if (place != placed.end())
            AddImage(place->second, chunk.BodyStart());
    }
}

void TagPlan::AddUnplaced() {
    const Bytes image(images_.main);
    size_t done = 0;
    for (const auto& place : images_.places) {
        AddImage(image.subspan(done, place.begin - done), 1);
        done = place.end;
    }
    AddImage(image.subspan(done), 1);
}

// Loop information is not in the store that a file is opened with.
void TagPlan::ReadEntries() {
    format_.metadata.ForEach([&](const MetadataEntry& entry) {
        if (!SchemeOfKey(entry.key)) planned_.entries.Set(entry.key, entry.value);
    });
    for (const auto& chunk : planned_.chunks) {
        if (chunk.Is("ACID")) continue;
        static_cast<void>(
            ReadMetadataChunk(chunk.body, chunk.scheme->name, planned_.entries, chunk.bodyStart));
    }
}

PlannedTags TagPlan::Made() {
    AddChunks();
    AddUnplaced();
    ReadEntries();
    return std::move(planned_);
}

}  // namespace

PlannedTags PlanTags(FileReader& file, const AudioFormat& format, const ChunkImages& images) {
    return TagPlan(file, format, images).Made();
}

}  // namespace vantor
