#include "source/file_info_text.h"

#include <utility>

#include "formats/channel_layout.h"
#include "host/host_services.h"
#include "source/shared_state.h"
#include "text/text.h"

namespace vantor {

namespace {

const char* ContainerName(int32_t fileKind) {
    switch (fileKind) {
        case kindWave:
            return "RIFF WAVE";
        case kindIff:
            return "AIFF / IFF";
        case kindWave64:
            return "Wave64";
        case kindRf64:
            return "RF64";
        case kindCaf:
            return "CAF";
        case kindBw64:
            return "BW64";
        default:
            return "";
    }
}

const char* EncodingName(int32_t encoding) {
    switch (encoding) {
        case encodingInteger:
            return "PCM";
        case encodingMsAdpcm:
            return "MS ADPCM";
        case encodingFloat:
            return "floating point PCM";
        case encodingUlaw:
            return "u-law";
        case encodingImaAdpcm:
            return "IMA ADPCM";
        case encodingCAdpcm:
            return "cADPCM";
        default:
            return "";
    }
}

std::string Number(double value) {
    return TrimNumber(FixedText(value, 4));
}

std::string ChannelsText(const AudioFormat& format) {
    const std::string layout = ChannelLayoutText(format.layoutTag, format.channelMask);
    const std::string count = std::to_string(format.channels);
    return layout.empty() ? count : count + " (" + layout + ")";
}

std::string BitsText(const AudioFormat& format) {
    const std::string bits = std::to_string(format.bitsPerSample);
    const bool partlyUsed = format.validBits != 0 && format.validBits != format.bitsPerSample;
    return partlyUsed ? std::to_string(format.validBits) + " in " + bits : bits;
}

void AddLoopRows(std::vector<PropertyRow>& rows, const AudioFormat& format) {
    if (format.loopKind == 0) return;
    const auto add = [&](const char* label, std::string value) {
        rows.push_back({Localize("Loop"), Localize(label), std::move(value)});
    };
    add("Loop", format.loopKind == 1 ? "ACID" : "Apple Loops");
    if (format.tempo > 0) add("Tempo", Number(format.tempo));
    if (format.beatCount > 0) add("Beats", std::to_string(format.beatCount));
    if (format.meter > 0)
        add("Time signature", std::to_string(format.meter / 256) + "/" + std::to_string(format.meter % 256));
    if (!format.slicePoints.empty()) add("Slices", std::to_string(format.slicePoints.size()));
}

}  // namespace

std::vector<PropertyRow> FormatRows(const AudioFormat& format, double lengthSeconds) {
    std::vector<PropertyRow> rows;
    const auto add = [&](const char* label, std::string value) {
        rows.push_back({Localize("Format"), Localize(label), std::move(value)});
    };
    add("Format", std::string(ContainerName(format.fileKind)) + ", " + EncodingName(format.encoding));
    add("Channels", ChannelsText(format));
    add("Sample rate", Number(format.sampleRate) + " Hz");
    add("Bits per sample", BitsText(format));
    add("Length", TimeText(lengthSeconds));
    AddLoopRows(rows, format);
    return rows;
}

std::vector<PropertyRow> MarkerRows(const AudioFormat& format) {
    std::vector<PropertyRow> rows;
    for (const Marker& marker : format.markers) {
        std::string value = std::to_string(marker.id) + ", " + TimeText(marker.start);
        if (marker.isRegion) value += " - " + TimeText(marker.end);
        if (marker.name) value += std::string(", ") + marker.name;
        rows.push_back(
            {Localize("Markers"), Localize(marker.isRegion ? "Region" : "Marker"), std::move(value)});
    }
    return rows;
}

std::string UnplayableText(const AudioFormat& format) {
    return format.errorMessage ? *format.errorMessage : Localize("Unknown error/status");
}

std::string FileInfoText(const AudioFormat& format, double lengthSeconds) {
    if (!IsPlayable(&format)) return UnplayableText(format);
    std::string text;
    for (const PropertyRow& row : FormatRows(format, lengthSeconds))
        AppendLine(text, row);
    for (const PropertyRow& row : MarkerRows(format))
        AppendLine(text, row);
    if (format.metadata.Count() > 0) text += "\r\n";
    format.metadata.ForEach([&](const MetadataEntry& entry) { AppendLine(text, entry.key, entry.value); });
    return text;
}

const char* ClosedStatusText(bool forcedOffline) {
    return Localize(forcedOffline ? "File offline" : "File not opened");
}

}  // namespace vantor
