#include "edit/images.h"

#include <algorithm>
#include <array>

#include "edit/chunk_walk.h"
#include "edit/merge_fields.h"
#include "metadata/key_table.h"
#include "text/text.h"
#include "vantor_wave/host_interface.h"

namespace vantor {

namespace {

// What the builders work from.
struct ChunkSources {
    const MetadataStore& store;
    FileReader& file;
    const OldChunks& old;
};

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
    images.replaced.emplace_back("ACID");
}

}  // namespace

ChunkImages BuildImages(const ImageSources& sources) {
    const auto& [format, changes, old, file, flags] = sources;
    const auto store = EditedTags(format, old, changes, flags & writeMerge);
    ChunkImages images;
    images.replaced.assign(tagSchemes.begin(), tagSchemes.end());
    AddSchemeChunks(images, {store, file, old});
    AddAcidChunk(images, format, changes);
    return images;
}

}  // namespace vantor
