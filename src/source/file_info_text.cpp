#include "source/file_info_text.h"

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

void AddLine(std::string& text, const char* label, const std::string& value) {
    text.append(Localize(label)).append(": ").append(value).append("\r\n");
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

void AddLoopLines(std::string& text, const AudioFormat& format) {
    if (format.loopKind == 0) return;
    AddLine(text, "Loop", format.loopKind == 1 ? "ACID" : "Apple Loops");
    if (format.tempo > 0) AddLine(text, "Tempo", Number(format.tempo));
    if (format.beatCount > 0) AddLine(text, "Beats", std::to_string(format.beatCount));
    if (format.meter > 0)
        AddLine(text, "Time signature",
                std::to_string(format.meter / 256) + "/" + std::to_string(format.meter % 256));
    if (!format.slicePoints.empty()) AddLine(text, "Slices", std::to_string(format.slicePoints.size()));
}

void AddMarkerLines(std::string& text, const AudioFormat& format) {
    for (const Marker& marker : format.markers) {
        std::string value = std::to_string(marker.id) + ", " + TimeText(marker.start);
        if (marker.isRegion) value += " - " + TimeText(marker.end);
        if (marker.name) value += ", " + *marker.name;
        AddLine(text, marker.isRegion ? "Region" : "Marker", value);
    }
}

}  // namespace

std::string FileInfoText(const AudioFormat& format, double lengthSeconds) {
    if (!IsPlayable(&format))
        return format.errorMessage ? *format.errorMessage : Localize("Unknown error/status");
    std::string text;
    AddLine(text, "Format",
            std::string(ContainerName(format.fileKind)) + ", " + EncodingName(format.encoding));
    AddLine(text, "Channels", ChannelsText(format));
    AddLine(text, "Sample rate", Number(format.sampleRate) + " Hz");
    AddLine(text, "Bits per sample", BitsText(format));
    AddLine(text, "Length", TimeText(lengthSeconds));
    AddLoopLines(text, format);
    AddMarkerLines(text, format);
    if (format.metadata.Count() > 0) text += "\r\n";
    format.metadata.ForEach([&](const MetadataEntry& entry) {
        text.append(entry.key).append(": ").append(entry.value).append("\r\n");
    });
    return text;
}

const char* ClosedStatusText(bool forcedOffline) {
    return Localize(forcedOffline ? "File offline" : "File not opened");
}

}  // namespace vantor
