#include "tests/formats/parse_fixture.h"

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

std::string AudioText(const AudioFormat& f) {
    static const std::map<int32_t, const char*> encodings{
        {encodingInteger, "int"}, {encodingMsAdpcm, "ms"},   {encodingFloat, "float"},
        {encodingUlaw, "ulaw"},   {encodingImaAdpcm, "ima"}, {encodingCAdpcm, "cadpcm"}};
    return encodings.at(f.encoding) + Text(f.bitsPerSample) + (f.bigEndian ? " big, " : " little, ") +
           Text(f.channels) + " ch, " + Text(f.sampleRate) + " Hz, " + Text(f.blockAlign) + " bytes, " +
           Text(f.lengthFrames.load()) + " frames at " + Text(f.dataStart) + IfSet("valid", f.validBits) +
           IfSet("layout", f.layoutTag, 16) + IfSet("mask", f.channelMask, 16) +
           IfSet("valid frames", f.validFrames) + IfSet("priming", f.primingFrames) +
           IfSet("remainder", f.remainderFrames) +
           IfSet("last coefficient", f.msadpcmCoefficients ? f.msadpcmCoefficients->back() : 0);
}

std::string LoopText(const AudioFormat& f) {
    std::string text = IfSet("loop", f.loopKind) + IfSet("beats", f.beatCount) +
                       IfSet("other beats", f.beatCountAlt) + IfSet("tempo", f.tempo) +
                       (f.hasRootNote ? ", root " + Text(f.rootNoteOffset) : "") +
                       (f.musicalKey >= 0 ? ", key " + Text(f.musicalKey) : "") + IfSet("meter", f.meter, 16);
    if (!f.slicePoints.empty()) text += ", slices";
    for (const int64_t frame : f.slicePoints)
        text += " " + Text(frame);
    return text.empty() ? text : text.substr(2);
}

}  // namespace

bool Parse(AudioFormat& format, const std::string& path) {
    FileReader reader(path, smallReader);
    const bool isRefused = ParseAudioFormat(format, reader) != 0;
    EXPECT_EQ(isRefused, format.errorMessage.has_value());
    EXPECT_EQ(isRefused, format.channels + format.bitsPerSample == 0);
    return !isRefused;
}

std::unique_ptr<AudioFormat> ParsePlayable(const Bytes& file) {
    const TempFolder folder;
    auto format = std::make_unique<AudioFormat>();
    EXPECT_TRUE(Parse(*format, folder.Write("file", file))) << format->errorMessage.value_or("");
    return format;
}

Found FoundIn(const Bytes& file) {
    const TempFolder folder;
    AudioFormat format;
    const bool plays = Parse(format, folder.Write("file", file));
    return {plays ? AudioText(format) : *format.errorMessage, LoopText(format), MarkersText(format.markers)};
}

std::string MarkersText(const std::vector<Marker>& markers) {
    std::string text;
    for (const Marker& marker : markers) {
        text += (text.empty() ? "" : "; ") + Text(marker.id) + "@" + Text(marker.start);
        if (marker.isRegion) text += "-" + Text(marker.end);
        if (marker.name) text += std::string(" ") + marker.name;
    }
    return text;
}

std::string RecordText(const AudioFormat& format) {
    std::string text = "kind " + Text(format.fileKind) + ", " + AudioText(format) + "\n";
    const auto addLine = [&](const std::string& line) { text += line.empty() ? "" : line + "\n"; };
    addLine(LoopText(format));
    addLine(MarkersText(format.markers));
    format.metadata.ForEach(
        [&](const MetadataEntry& entry) { addLine(std::string(entry.key).append("=").append(entry.value)); });
    return text;
}

}  // namespace vantor::test
