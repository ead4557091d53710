#include "source/describe_source.h"

#include <cmath>
#include <utility>

#include "host/host_services.h"
#include "source/file_info_text.h"

namespace vantor {

namespace {

void Add(FileProperties& properties, std::vector<PropertyRow> rows) {
    for (PropertyRow& row : rows)
        properties.rows.push_back(std::move(row));
}

// A time as the host writes it, and the frame.
std::string PlaceText(double seconds, int64_t frame) {
    return TimeText(seconds) + " (" + Localize("frame") + " " + std::to_string(frame) + ")";
}

void AddPosition(FileProperties& properties, double seconds, double sampleRate) {
    const double frame = seconds * sampleRate;
    if (!(frame >= 0 && frame < 9e18)) return;  // negative or no number: the file does not tell
    properties.rows.push_back(
        {Localize("Timeline"), Localize("Position"), PlaceText(seconds, std::llround(frame))});
}

void AddSlices(FileProperties& properties, const AudioFormat& format, int32_t shownSlice) {
    for (size_t i = 0; i < format.slicePoints.size(); ++i) {
        const auto index = static_cast<int32_t>(i);
        const auto span = SliceSpan(format, index);
        if (!span || (shownSlice >= 0 && shownSlice != index)) continue;
        const auto frame = static_cast<double>(span->start);
        const auto frames = static_cast<double>(span->frames);
        properties.rows.push_back({Localize("Slices"), Localize("Slice") + (" " + std::to_string(i + 1)),
                                   PlaceText(frame / format.sampleRate, span->start) + ", " +
                                       Localize("Length") + " " + TimeText(frames / format.sampleRate)});
    }
}

}  // namespace

FileProperties DescribeSource(PCM_source_wavefile& source) {
    FileProperties properties;
    properties.fileName = source.Name();
    const auto [state, format] = source.Attachment();
    if (!IsPlayable(format.get())) {
        properties.status = format ? UnplayableText(*format) : ClosedStatusText(source.IsForcedOffline());
        return properties;
    }
    Add(properties, FormatRows(*format, source.LengthSeconds()));
    AddPosition(properties, source.PlacementPosition(), format->sampleRate);
    Add(properties, MarkerRows(*format));
    AddSlices(properties, *format, source.SliceIndex());
    format->metadata.ForEach([&](const MetadataEntry& entry) { AddTag(properties, entry.key, entry.value); });
    return properties;
}

}  // namespace vantor
