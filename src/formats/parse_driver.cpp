// Has a file's chunks walked, and judges and measures what was found.
#include <new>

#include "formats/adpcm_shape.h"
#include "formats/audio_format.h"
#include "formats/caf_markers.h"
#include "formats/container_walk.h"
#include "formats/containers.h"
#include "formats/frame_count.h"
#include "formats/markers.h"
#include "host/host_services.h"

namespace vantor {

namespace {

constexpr int64_t smallestChunk = 8;  // a header

// What is played, as of a file that holds nothing.
void ClearAudio(AudioFormat& format) {
    format.encoding = encodingInteger;
    format.channels = 0;
    format.bitsPerSample = 0;
    format.sampleRate = 0;
    format.blockAlign = 0;
    format.dataStart = 0;
    format.blockCodedBytes = 0;
    format.lengthFrames.store(0, std::memory_order_relaxed);
    format.lengthCutWhileGrowing = false;
}

bool IsPlayable(const ContainerWalk& walk) {
    const AudioFormat& format = walk.format;
    return !walk.failed && walk.dataStart >= 0 && walk.formatAccepted && format.channels >= 1 &&
           (format.bitsPerSample >= 8 || IsAdpcm(format.encoding));
}

const char* WhatIsMissing(const ContainerWalk& walk) {
    if (walk.format.fileKind < 0) return "Unknown file header";
    if (!walk.formatAccepted) return "Couldn't find format chunk in file";
    if (walk.dataStart < 0) return "Couldn't find data chunk in file";
    return "Invalid data in file";
}

int Reject(AudioFormat& format, const char* message) {
    ClearAudio(format);
    format.errorMessage = Localize(message);
    return 1;
}

void CleanUpMarkers(ContainerWalk& walk) {
    auto& markers = walk.format.markers;
    if (!(walk.format.sampleRate > 1.0)) markers.clear();
    if (walk.format.fileKind == kindCaf) NameCafMarkers(markers, walk.cafStrings, walk.format.markerNames);
    RemoveVoidMarkers(markers);
}

int Accept(ContainerWalk& walk) {
    AudioFormat& format = walk.format;
    CleanUpMarkers(walk);
    format.dataStart = walk.dataStart;
    (void)walk.reader.Seek(walk.dataStart);
    const FrameCount count = CountFrames(walk);
    format.lengthFrames.store(count.frames, std::memory_order_relaxed);  // nobody else has the record yet
    if (IsAdpcm(format.encoding)) format.blockCodedBytes = walk.dataBytes;
    format.lengthCutWhileGrowing = count.cut && walk.reader.IsWriteShared();
    return 0;
}

int Parse(AudioFormat& format, FileReader& reader) {
    const Container* container = RecogniseContainer(reader);
    format.fileKind = container ? container->kind : kindUnknown;
    ContainerWalk walk{.format = format, .reader = reader};
    WalkStatus status;
    if (container && reader.Seek(container->firstChunk)) status = container->walk(walk);
    format.isIncomplete =
        reader.HasMissedBytes() || (status.IsWrong() && reader.Remaining() >= smallestChunk);
    return IsPlayable(walk) ? Accept(walk)
                            : Reject(format, status.IsWrong() ? status.Problem() : WhatIsMissing(walk));
}

}  // namespace

int ParseAudioFormat(AudioFormat& format, FileReader& reader) {
    format.fileSize = reader.Size();
    format.isIncomplete = true;
    try {
        return Parse(format, reader);
    } catch (const std::bad_alloc&) {
        return Reject(format, "Error parsing file");
    }
}

}  // namespace vantor
