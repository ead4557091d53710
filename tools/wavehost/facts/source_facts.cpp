#include "wavehost/facts/source_facts.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "wavehost/os/failure.h"
#include "wavehost/os/folder.h"

namespace vantor::wavehost {

namespace {

constexpr intptr_t firstTextBytes = 64 * 1024;
constexpr intptr_t largestTextBytes = 1 << 30;

// A text that the source copies into a buffer, cut to fit: asked again with more room until it is whole.
template <typename Ask>
std::string WholeText(const Ask& ask) {
    for (intptr_t bytes = firstTextBytes;; bytes *= 4) {
        std::string text(static_cast<size_t>(bytes), '\0');
        ask(text.data(), bytes);
        text.resize(std::strlen(text.c_str()));
        if (static_cast<intptr_t>(text.size()) + 1 < bytes || bytes >= largestTextBytes) return text;
    }
}

Metadata EntriesOf(PCM_source& source, ExtendedCode call) {
    Metadata metadata;
    const char* key = nullptr;
    const char* value = nullptr;
    for (intptr_t i = 0; source.ExtendedCall(call, Number(i), &key, &value) == 1; ++i)
        metadata.emplace_back(key ? key : "", value ? value : "");
    return metadata;
}

}  // namespace

HostPtr<PCM_source> CreateSource(const Module& module, const std::string& file) {
    const fs::path path = PathOf(file);
    // A pipe or a device would be waited for without end.
    const FileStatus status = StatusOf(path);
    if (status.kind == FileKind::other || status.kind == FileKind::folder) throw Failure(WhyUnreadable(path));
    HostPtr<PCM_source> source(
        module.sources->CreateByFile(TextOf(AbsolutePath(path)).c_str(), lastResortPriority));
    if (!source || !source->IsOnline()) {
        const std::string reason = WhyUnreadable(path);
        if (!reason.empty()) throw Failure(reason);
    }
    if (!source) throw Failure("not an audio file that the module takes");
    return source;
}

HostPtr<PCM_source> OpenSource(const Module& module, const std::string& file) {
    HostPtr<PCM_source> source = CreateSource(module, file);
    if (!source->IsOnline()) throw Failure(InfoTextOf(*source.Get()));
    return source;
}

std::string ValueOf(PCM_source& source, const std::string& key) {
    return WholeText([&](char* text, intptr_t bytes) {
        source.ExtendedCall(callValueByKey, const_cast<char*>(key.c_str()), text, Number(bytes));
    });
}

Metadata MetadataOf(PCM_source& source) {
    return EntriesOf(source, callEntryByIndex);
}

Metadata PlannedMetadataOf(PCM_source& source) {
    return EntriesOf(source, callPlannedEntry);
}

std::vector<MarkerFact> MarkersOf(PCM_source& source) {
    std::vector<MarkerFact> markers;
    MarkerRecord record{};
    for (intptr_t i = 0; source.ExtendedCall(callMarker, Number(i), &record, nullptr) == 1; ++i)
        markers.push_back({record.id, record.startSeconds, record.endSeconds, record.isRegion != 0,
                           record.name ? record.name : ""});
    return markers;
}

std::vector<SliceFact> SlicesOf(PCM_source& source) {
    std::vector<SliceFact> slices;
    double tempo = 0;
    const intptr_t count = source.ExtendedCall(callBeatSlices, nullptr, nullptr, &tempo);
    const double rate = source.SampleRate();
    for (int32_t i = 0; i < count; ++i) {
        SliceRequest request{nullptr, 0, slicePositionOnly, 0};
        if (source.ExtendedCall(callBeatSlices, &i, &request, nullptr) != 1) continue;
        // Slices begin on a frame; the way through beats has rounded that.
        const double frame = std::round(request.positionBeats * 60 / tempo * rate);
        slices.push_back({i, frame / rate, request.positionBeats});
    }
    return slices;
}

HostPtr<PCM_source> SliceSource(PCM_source& source, int32_t index) {
    SliceRequest request{};
    if (source.ExtendedCall(callBeatSlices, &index, &request, nullptr) != 1) return {};
    return HostPtr<PCM_source>(request.source);
}

std::string FirstValue(const Metadata& metadata, std::initializer_list<std::string_view> keys) {
    for (const std::string_view key : keys) {
        const auto found = std::find_if(metadata.begin(), metadata.end(),
                                        [&](const auto& pair) { return pair.first == key; });
        if (found != metadata.end() && !found->second.empty()) return found->second;
    }
    return {};
}

std::string InfoTextOf(PCM_source& source) {
    const std::string text = WholeText([&](char* out, intptr_t bytes) {
        source.ExtendedCall(callFileInfoText, out, Number(bytes), nullptr);
    });
    // A source that never got at its file has nothing to answer from.
    return text.empty() && !source.IsOnline() ? "File not opened" : text;
}

std::vector<std::string> ChannelNames(const SourceFacts& facts) {
    std::vector<std::string> names;
    for (int32_t channel = 1; channel <= facts.channels; ++channel)
        names.push_back(std::to_string(channel));
    // The first track's keys have no number, those of the next end in ":2" and so on.
    const std::string track = "IXML:TRACK_LIST:TRACK:";
    for (size_t i = 1; i <= names.size(); ++i) {
        const std::string number = i == 1 ? "" : ":" + std::to_string(i);
        const std::string name = FirstValue(facts.metadata, {track + "NAME" + number});
        const std::string place = FirstValue(facts.metadata, {track + "INTERLEAVE_INDEX" + number});
        size_t channel = i;
        std::from_chars(place.data(), place.data() + place.size(), channel);
        if (!name.empty() && channel >= 1 && channel <= names.size())
            names[channel - 1] = std::to_string(channel) + " " + name;
    }
    return names;
}

SourceFacts FactsOf(PCM_source& source, const std::string& file) {
    return {.file = file,
            .online = source.IsOnline(),
            .type = source.TypeName(),
            .channels = source.ChannelCount(),
            .sampleRate = source.SampleRate(),
            .lengthSeconds = source.LengthSeconds(),
            .bitDepth = source.BitDepth(),
            .positionSeconds = source.PlacementPosition(),
            .infoText = InfoTextOf(source),
            .metadata = MetadataOf(source),
            .markers = MarkersOf(source),
            .slices = SlicesOf(source)};
}

}  // namespace vantor::wavehost
