// Recognises a file's container, has its chunks walked, and judges and measures what was found.
#include <algorithm>
#include <new>
#include <string_view>

#include "formats/audio_format.h"
#include "formats/caf_markers.h"
#include "formats/container_walk.h"
#include "formats/frame_count.h"
#include "formats/markers.h"
#include "host/host_services.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr auto riffGuid = "riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\0\0"sv;
constexpr auto waveGuid = "wave\xF3\xAC\xD3\x11\x8C\xD1\0\xC0\x4F\x8E\xDB\x8A"sv;
constexpr size_t smallestHeader = 12;
constexpr size_t largestHeader = 40;
constexpr int64_t smallestChunk = 8;  // a header

struct Container {
    FileKind kind;
    std::string_view id;  // at the start of the file
    size_t formOffset;
    std::string_view form;
    int64_t firstChunk;
    WalkFunction walk;
};

constexpr Container containers[] = {
    {kindIff, "FORM", 8, "AIFF", 12, WalkAiff},  {kindIff, "FORM", 8, "AIFC", 12, WalkAifc},
    {kindIff, "FORM", 8, "8SVX", 12, Walk8svx},  {kindWave64, riffGuid, 24, waveGuid, 40, WalkWave64},
    {kindWave, "RIFF", 8, "WAVE", 12, WalkRiff}, {kindRf64, "RF64", 8, "WAVE", 12, WalkRf64},
    {kindBw64, "BW64", 8, "WAVE", 12, WalkRf64}, {kindCaf, "caff\0\1"sv, 8, "", 8, WalkCaf},
};

const Container* Recognise(FileReader& reader) {
    uint8_t bytes[largestHeader];
    const int64_t count = reader.Read(bytes, sizeof bytes);
    const std::string_view header(reinterpret_cast<const char*>(bytes), static_cast<size_t>(count));
    if (header.size() < smallestHeader) return nullptr;
    for (const auto& container : containers)
        if (header.starts_with(container.id) && header.size() >= container.formOffset &&
            header.substr(container.formOffset).starts_with(container.form))
            return &container;
    return nullptr;
}

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
    const Container* container = Recognise(reader);
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
    (void)reader.Seek(0);
    format.fileSize = reader.Size();
    format.isIncomplete = true;
    try {
        return Parse(format, reader);
    } catch (const std::bad_alloc&) {
        return Reject(format, "Error parsing file");
    }
}

}  // namespace vantor
