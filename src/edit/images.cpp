#include "edit/images.h"

#include <algorithm>

#include "edit/merge_fields.h"
#include "metadata/acid_layout.h"
#include "text/text.h"
#include "vantor_wave/host_interface.h"

namespace vantor {

namespace {

void AddSchemeChunks(ChunkImages& images, const MetadataStore& store, FileReader& file,
                     const OldChunks& old) {
    for (const auto& scheme : tagTable) {
        if (scheme.name == std::string_view("IXML"))
            images.main.insert(images.main.end(), old.refusedDocuments.begin(), old.refusedDocuments.end());
        const auto bodies = old.bodies.find(scheme.name);
        const auto oldBodies = bodies == old.bodies.end() ? std::span<const ChunkBody>() : bodies->second;
        if (scheme.build)
            scheme.build(scheme.inTail ? images.tail : images.main,
                         {store, &file, oldBodies, old.unsynchronised});
    }
    images.main.insert(images.main.end(), old.refused.begin(), old.refused.end());
}

// Loop information is written anew when the host changes the loop's tempo or key.
void AddAcidChunk(ChunkImages& images, const AudioFormat& format, const MetadataStore& changes) {
    if (format.loopKind == 0 || !(changes.Has("BPM") || changes.Has("KEY"))) return;
    AcidValues values;
    values.key = PitchClassOfKeyName(changes.Value("KEY"));
    if (values.key < 0 && format.hasRootNote) values.key = format.rootNoteOffset;
    const double tempo = DecimalNumber(changes.Value("BPM"));
    values.tempo = acid::IsTempo(tempo) ? static_cast<float>(tempo) : format.tempo;
    values.beatCount =
        values.tempo == format.tempo ? format.beatCount : 0;  // else its beats have another length
    values.beatCountAlt = format.beatCountAlt;
    BuildAcidChunk(images.main, values);
    images.replaced.emplace_back("ACID");
}

}  // namespace

void AddInPlaces(ChunkImages& images, const SchemeImage& image, bool inTail) {
    ChunkImage& whole = inTail ? images.tail : images.main;
    size_t count = 0;
    ForEachChunk(image.bytes, [&](std::span<const uint8_t> chunk) {
        const size_t begin = whole.size();
        whole.insert(whole.end(), chunk.begin(), chunk.end());
        if (count < image.oldStarts.size())
            images.places.push_back({image.oldStarts[count++], inTail, begin, whole.size()});
        else if (count > 0)
            images.places.back().end = whole.size();
    });
}

ChunkImages Joined(const ChunkImages& images) {
    ChunkImages joined = images;
    joined.main.insert(joined.main.end(), images.tail.begin(), images.tail.end());
    joined.tail.clear();
    for (auto& place : joined.places) {
        const size_t shift = place.inTail ? images.main.size() : 0;
        place = {place.oldStart, false, place.begin + shift, place.end + shift};
    }
    std::ranges::sort(joined.places, {}, &ChunkPlace::begin);
    return joined;
}

ChunkImages BuildImages(const ImageSources& sources) {
    const auto& [format, changes, old, file, flags] = sources;
    const auto store = EditedTags(format, old, changes, flags & writeMerge);
    ChunkImages images;
    images.replaced.assign(tagSchemes.begin(), tagSchemes.end());
    AddSchemeChunks(images, store, file, old);
    AddAcidChunk(images, format, changes);
    return images;
}

}  // namespace vantor
