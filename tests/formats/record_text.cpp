#include "tests/formats/record_text.h"

#include <array>
#include <charconv>
#include <map>

namespace vantor::test {

namespace {

std::string Text(auto value, auto... base) {
    std::array<char, 64> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value, base...).ptr};
}

std::string IfSet(std::string_view name, auto value, auto... base) {
    return value == 0 ? "" : ", " + std::string(name) + " " + Text(value, base...);
}

std::string EncodingName(int32_t encoding) {
    static const std::map<int32_t, const char*> names{{encodingInteger, "int"},  {encodingMsAdpcm, "ms"},
                                                      {encodingFloat, "float"},  {encodingUlaw, "ulaw"},
                                                      {encodingImaAdpcm, "ima"}, {encodingCAdpcm, "cadpcm"}};
    return names.at(encoding);
}

}  // namespace

std::string AudioText(const AudioFormat& f) {
    return EncodingName(f.encoding) + Text(f.bitsPerSample) + (f.bigEndian ? " big, " : " little, ") +
           Text(f.channels) + " ch, " + Text(f.sampleRate) + " Hz, " + Text(f.blockAlign) + " bytes, " +
           Text(f.lengthFrames.load()) + " frames at " + Text(f.dataStart) + IfSet("valid", f.validBits) +
           IfSet("layout", f.layoutTag, 16) + IfSet("mask", f.channelMask, 16) +
           IfSet("valid frames", f.validFrames) + IfSet("priming", f.primingFrames) +
           IfSet("remainder", f.remainderFrames);
}

std::string LoopText(const AudioFormat& f) {
    if (f.loopKind == 0) return {};
    return "loop " + Text(f.loopKind) + IfSet("beats", f.beatCount) + IfSet("other beats", f.beatCountAlt) +
           IfSet("tempo", f.tempo) + (f.hasRootNote ? ", root " + Text(f.rootNoteOffset) : "") +
           (f.musicalKey >= 0 ? ", key " + Text(f.musicalKey) : "") + IfSet("meter", f.meter, 16);
}

std::string MarkersText(const std::vector<Marker>& markers) {
    std::string text;
    for (const Marker& marker : markers) {
        text += (text.empty() ? "" : "; ") + Text(marker.id) + "@" + Text(marker.start);
        if (marker.isRegion) text += "-" + Text(marker.end);
        if (marker.name) text += " " + *marker.name;
    }
    return text;
}

std::string RecordText(const AudioFormat& format) {
    std::string text = "kind " + Text(format.fileKind) + ", " + AudioText(format) + "\n";
    const auto addLine = [&](const std::string& line) { text += line.empty() ? "" : line + "\n"; };
    addLine(LoopText(format));
    std::string slices;
    for (const int64_t frame : format.slicePoints)
        slices += (slices.empty() ? "slices " : " ") + Text(frame);
    addLine(slices);
    addLine(MarkersText(format.markers));
    format.metadata.ForEach([&](const MetadataEntry& entry) { addLine(entry.key + "=" + entry.value); });
    return text;
}

}  // namespace vantor::test
