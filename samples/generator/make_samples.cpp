// Makes the files of samples/: make_samples FOLDER. Every run gives the same bytes.

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>

#include "samples/generator/adpcm_encoders.h"
#include "samples/generator/sample.h"
#include "tests/support/byte_writer.h"

namespace vantor::samples {

namespace {

using test::Bytes;
using test::ByteWriter;
using test::FmtBody;
using test::RiffFile;

constexpr int rate = 22050;
constexpr int frames = rate / 2;

// Four plucked notes, one an eighth of a second; `channel` moves the pitch a fifth up.
double Note(int frame, int channel) {
    constexpr double pitches[] = {220, 275, 330, 440};
    const int length = frames / 4;
    const double pitch = pitches[frame / length % 4] * (channel % 2 ? 1.5 : 1.0);
    const double seconds = static_cast<double>(frame % length) / rate;
    return 0.8 * std::exp(-12 * seconds) * std::sin(2 * std::numbers::pi * pitch * seconds);
}

int64_t Scaled(double value, int bits) {
    return std::llround(value * static_cast<double>((1LL << (bits - 1)) - 1));
}

// Interleaved samples; `put` appends one.
template <typename Put>
Bytes Interleave(int channels, int length, Put put) {
    ByteWriter bytes;
    for (int frame = 0; frame < length; ++frame)
        for (int channel = 0; channel < channels; ++channel)
            put(bytes, Note(frame, channel));
    return bytes;
}

Bytes Pcm16(int channels, int length = frames) {
    return Interleave(channels, length,
                      [](ByteWriter& w, double v) { w.Le16(static_cast<uint16_t>(Scaled(v, 16))); });
}

Bytes Pcm16Big(int channels) {
    return Interleave(channels, frames,
                      [](ByteWriter& w, double v) { w.Be16(static_cast<uint16_t>(Scaled(v, 16))); });
}

Bytes Pcm24(int channels) {
    return Interleave(channels, frames,
                      [](ByteWriter& w, double v) { w.Le24(static_cast<uint32_t>(Scaled(v, 24))); });
}

Bytes Signed8() {
    return Interleave(1, frames, [](ByteWriter& w, double v) { w.U8(static_cast<uint8_t>(Scaled(v, 8))); });
}

Bytes Unsigned8() {
    return Interleave(1, frames,
                      [](ByteWriter& w, double v) { w.U8(static_cast<uint8_t>(Scaled(v, 8) + 128)); });
}

Bytes Float32() {
    return Interleave(2, frames, [](ByteWriter& w, double v) { w.LeFloat(static_cast<float>(v)); });
}

Bytes FloatBig() {
    return Interleave(2, frames, [](ByteWriter& w, double v) { w.BeFloat(static_cast<float>(v)); });
}

Signal MonoSignal() {
    Signal signal;
    for (int frame = 0; frame < frames; ++frame)
        signal.push_back(static_cast<int16_t>(Scaled(Note(frame, 0), 16)));
    return signal;
}

Bytes Wave(uint16_t tag, uint16_t channels, uint16_t bits, const Bytes& data) {
    return RiffFile(ByteWriter().Chunk("fmt ", FmtBody(tag, channels, rate, bits)).Chunk("data", data));
}

Bytes Extensible() {
    constexpr uint16_t channels = 6;
    const Bytes fmt = ByteWriter()
                          .Add(FmtBody(0xFFFE, channels, rate, 16))
                          .Le16(22)
                          .Le16(16)
                          .Le32(0x3F)
                          .Le16(1)
                          .Add({0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71});
    return RiffFile(ByteWriter().Chunk("fmt ", fmt).Chunk("data", Pcm16(channels, frames / 4)));
}

Bytes Rf64() {
    const Bytes data = Pcm16(2);
    const auto riffBytes = 4 + 36 + 24 + 8 + data.size();
    const Bytes ds64 = ByteWriter().Le64(riffBytes).Le64(data.size()).Le64(frames).Le32(0);
    return RiffFile(ByteWriter()
                        .Chunk("ds64", ds64)
                        .Chunk("fmt ", FmtBody(1, 2, rate, 16))
                        .Text("data")
                        .Le32(0xFFFFFFFF)
                        .Add(data),
                    "RF64");
}

Bytes Label(std::string_view kind, uint32_t id, std::string_view text) {
    return ByteWriter().Chunk(kind, ByteWriter().Le32(id).Text(text).U8(0));
}

Bytes CuePoint(uint32_t id, uint32_t frame) {
    return ByteWriter().Le32(id).Le32(frame).Text("data").Le32(0).Le32(0).Le32(frame);
}

Bytes SamplerLoop(uint32_t id, uint32_t start, uint32_t end) {
    return ByteWriter().Zeros(28).Le32(1).Le32(0).Le32(id).Le32(0).Le32(start).Le32(end).Zeros(8);
}

Bytes Markers() {
    const Bytes cue =
        ByteWriter().Le32(3).Add(CuePoint(1, 0)).Add(CuePoint(2, frames / 4)).Add(CuePoint(3, frames / 2));
    const Bytes region =
        ByteWriter().Chunk("ltxt", ByteWriter().Le32(3).Le32(frames / 4).Text("rgn ").Zeros(8));
    const Bytes adtl = ByteWriter()
                           .Text("adtl")
                           .Add(Label("labl", 1, "First note"))
                           .Add(Label("labl", 2, "Second note"))
                           .Add(Label("labl", 3, "Third, as a region"))
                           .Add(region)
                           .Add(Label("labl", 9, "Loop"));
    return RiffFile(ByteWriter()
                        .Chunk("fmt ", FmtBody(1, 2, rate, 16))
                        .Chunk("data", Pcm16(2))
                        .Chunk("cue ", cue)
                        .Chunk("LIST", adtl)
                        .Chunk("smpl", SamplerLoop(9, 3 * frames / 4, frames - 1)));
}

Bytes Adpcm(uint16_t tag, uint16_t bits, uint16_t blockAlign, uint16_t blockFrames, const Bytes& data) {
    ByteWriter fmt;
    fmt.Add(FmtBody(tag, 1, rate, bits, blockAlign));
    if (tag == 2) {
        fmt.Le16(32).Le16(blockFrames).Le16(7);
        for (const int value : {256, 0, 512, -256, 0, 0, 192, 64, 240, 0, 460, -208, 392, -232})
            fmt.Le16(static_cast<uint16_t>(value));
    } else {
        fmt.Le16(2).Le16(blockFrames);
    }
    return RiffFile(
        ByteWriter().Chunk("fmt ", fmt).Chunk("fact", ByteWriter().Le32(frames)).Chunk("data", data));
}

// One bar of 4/4 at 480 beats a minute in half a second, root note A, a slice a beat.
Bytes SlicedLoop() {
    const Bytes acid =
        ByteWriter().Le32(2 | 8).Le16(69).Le16(0x8000).Le32(0).Le32(4).Le16(4).Le16(4).LeFloat(480);
    ByteWriter strc;
    strc.Zeros(28);
    for (uint64_t beat = 0; beat < 4; ++beat)
        strc.Zeros(8).Le64(beat * frames / 4).Zeros(16);
    return RiffFile(ByteWriter()
                        .Chunk("fmt ", FmtBody(1, 2, rate, 16))
                        .Chunk("data", Pcm16(2))
                        .Chunk("acid", acid)
                        .Chunk("strc", strc));
}

Bytes Wave64() {
    const Bytes chunks =
        ByteWriter().Wave64Chunk("fmt ", FmtBody(1, 2, rate, 24)).Wave64Chunk("data", Pcm24(2));
    return ByteWriter()
        .Text("riff")
        .Add({0x2E, 0x91, 0xCF, 0x11, 0xA5, 0xD6, 0x28, 0xDB, 0x04, 0xC1, 0x00, 0x00})
        .Le64(40 + chunks.size())
        .Text("wave")
        .Add({0xF3, 0xAC, 0xD3, 0x11, 0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A})
        .Add(chunks);
}

Bytes Form(std::string_view type, const Bytes& chunks) {
    return ByteWriter().Text("FORM").Be32(static_cast<uint32_t>(chunks.size() + 4)).Text(type).Add(chunks);
}

// 22050 Hz as an 80-bit extended float: biased exponent 16383 + 14, mantissa shifted up to its explicit
// leading bit.
const Bytes extendedRate = {0x40, 0x0D, 0xAC, 0x44, 0, 0, 0, 0, 0, 0};

Bytes Aiff() {
    const Bytes comm = ByteWriter().Be16(2).Be32(frames).Be16(16).Add(extendedRate);
    return Form("AIFF", ByteWriter()
                            .IffChunk("COMM", comm)
                            .IffChunk("NAME", ByteWriter().Text("Four notes"))
                            .IffChunk("AUTH", ByteWriter().Text("The sample generator"))
                            .IffChunk("SSND", ByteWriter().Zeros(8).Add(Pcm16Big(2))));
}

Bytes AifcLittle() {
    const Bytes comm = ByteWriter().Be16(2).Be32(frames).Be16(16).Add(extendedRate).Text("sowt").Zeros(2);
    return Form("AIFC", ByteWriter()
                            .IffChunk("FVER", ByteWriter().Be32(0xA2805140))
                            .IffChunk("COMM", comm)
                            .IffChunk("SSND", ByteWriter().Zeros(8).Add(Pcm16(2))));
}

Bytes Svx() {
    const Bytes vhdr = ByteWriter().Be32(frames).Be32(0).Be32(0).Be16(rate).U8(1).U8(0).Be32(0x10000);
    return Form("8SVX", ByteWriter().IffChunk("VHDR", vhdr).IffChunk("BODY", Signed8()));
}

Bytes Caf(uint32_t flags, uint32_t bytesPerSample, const Bytes& data) {
    const Bytes desc = ByteWriter()
                           .BeDouble(rate)
                           .Text("lpcm")
                           .Be32(flags)
                           .Be32(2 * bytesPerSample)
                           .Be32(1)
                           .Be32(2)
                           .Be32(8 * bytesPerSample);
    const Bytes info = ByteWriter()
                           .Be32(2)
                           .Text("title")
                           .U8(0)
                           .Text("Four notes")
                           .U8(0)
                           .Text("tempo")
                           .U8(0)
                           .Text("480")
                           .U8(0);
    const Bytes mark = ByteWriter().Be32(0).Be32(1).Be32(0).Be64(frames / 2).Be32(1).Zeros(12);
    const Bytes strg = ByteWriter().Be32(1).Be32(1).Be64(0).Text("Third note").U8(0);
    return ByteWriter()
        .Text("caff")
        .Be16(1)
        .Be16(0)
        .CafChunk("desc", desc)
        .CafChunk("chan", ByteWriter().Be32(0x10000).Be32(3).Be32(0))
        .CafChunk("info", info)
        .CafChunk("mark", mark)
        .CafChunk("strg", strg)
        .CafChunk("data", ByteWriter().Be32(0).Add(data));
}

Bytes InfoItem(std::string_view id, std::string_view text) {
    return ByteWriter().Chunk(id, ByteWriter().Text(text).U8(0));
}

Bytes Bext() {
    return ByteWriter()
        .Field("Four notes, plucked", 256)
        .Field("vantor_wave", 32)
        .Field("VW20240229000001", 32)
        .Text("2024-02-29")
        .Text("12:34:56")
        .Le64(2 * rate)
        .Le16(2)
        .Zeros(64)
        .Le16(static_cast<uint16_t>(-2300))
        .Le16(700)
        .Le16(static_cast<uint16_t>(-150))
        .Le16(static_cast<uint16_t>(-1800))
        .Le16(static_cast<uint16_t>(-2000))
        .Zeros(180)
        .Text("A=PCM,F=22050,W=24,M=stereo,T=generator\r\n");
}

Bytes Cart() {
    return ByteWriter()
        .Text("0101")
        .Field("Four notes", 64)
        .Field("The sample generator", 64)
        .Field("C0042", 64)
        .Zeros(64)
        .Field("Demo", 64)
        .Zeros(128)
        .Zeros(2 * (10 + 8))
        .Field("vantor_wave", 64)
        .Zeros(128)
        .Le32(32768)
        .Text("INT1")
        .Le32(2756)
        .Zeros(7 * 8)
        .Zeros(276)
        .Field("https://example.org/four-notes", 1024)
        .Text("Played once.\r\n");
}

Bytes Id3Frame(std::string_view id, std::string_view text) {
    return ByteWriter().Text(id).Be32(static_cast<uint32_t>(text.size() + 1)).Be16(0).U8(3).Text(text);
}

Bytes Id3() {
    const Bytes frames = ByteWriter()
                             .Add(Id3Frame("TIT2", "Four notes"))
                             .Add(Id3Frame("TPE1", "The sample generator"))
                             .Add(Id3Frame("TBPM", "480"))
                             .Add(Id3Frame("TKEY", "A"));
    return ByteWriter().Text("ID3").U8(4).U8(0).U8(0).Be32(static_cast<uint32_t>(frames.size())).Add(frames);
}

constexpr std::string_view ixml =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML><IXML_VERSION>2.10</IXML_VERSION>"
    "<PROJECT>Samples</PROJECT><SCENE>1</SCENE><TAKE>3</TAKE><NOTE>Four notes &amp; a rest</NOTE>"
    "<TRACK_LIST><TRACK_COUNT>2</TRACK_COUNT><TRACK><NAME>Left</NAME></TRACK><TRACK><NAME>Right</NAME></"
    "TRACK>"
    "</TRACK_LIST><ASWG><project>Samples</project></ASWG><USER><VANTOR>demo; "
    "plucked</VANTOR></USER></BWFXML>";

constexpr std::string_view axml =
    "<?xml version=\"1.0\"?><ebuCoreMain><coreMetadata><identifier>"
    "<dc:identifier>ISRC:XXVW12400001</dc:identifier></identifier></coreMetadata></ebuCoreMain>";

constexpr std::string_view xmp =
    "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
    "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
    "<rdf:Description xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
    "xmlns:xmpDM=\"http://ns.adobe.com/xmp/1.0/DynamicMedia/\" xmpDM:artist=\"The sample generator\">"
    "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">Four notes</rdf:li></rdf:Alt></dc:title>"
    "</rdf:Description></rdf:RDF></x:xmpmeta>";

Bytes Tagged() {
    const Bytes info = ByteWriter()
                           .Text("INFO")
                           .Add(InfoItem("INAM", "Four notes"))
                           .Add(InfoItem("IART", "The sample generator"))
                           .Add(InfoItem("ICMT", "Plucked: \xC3\xA9\xC3\xB1"))
                           .Add(InfoItem("IGNR", "Demo"));
    return RiffFile(ByteWriter()
                        .Chunk("bext", Bext())
                        .Chunk("fmt ", FmtBody(1, 2, rate, 24))
                        .Chunk("data", Pcm24(2))
                        .Chunk("iXML", ByteWriter().Text(ixml))
                        .Chunk("axml", ByteWriter().Text(axml))
                        .Chunk("_PMX", ByteWriter().Text(xmp))
                        .Chunk("cart", Cart())
                        .Chunk("id3 ", Id3())
                        .Chunk("LIST", info));
}

}  // namespace

std::vector<Sample> MakeSamples() {
    const auto signal = MonoSignal();
    constexpr uint16_t align = 256;
    return {
        {"pcm8.wav", Wave(1, 1, 8, Unsigned8())},
        {"pcm16.wav", Wave(1, 2, 16, Pcm16(2))},
        {"pcm24.wav", Wave(1, 2, 24, Pcm24(2))},
        {"float32.wav", Wave(3, 2, 32, Float32())},
        {"extensible-5.1.wav", Extensible()},
        {"rf64.wav", Rf64()},
        {"markers.wav", Markers()},
        {"ima-adpcm.wav", Adpcm(0x11, 4, align, ImaBlockFrames(align), EncodeIma(signal, align))},
        {"ms-adpcm.wav", Adpcm(2, 4, align, MsBlockFrames(align), EncodeMs(signal, align))},
        {"c-adpcm.wav", Adpcm(0xAC0C, 2, align, CAdpcmBlockFrames(align), EncodeCAdpcm(signal, align))},
        {"sliced-loop.wav", SlicedLoop()},
        {"wave64.w64", Wave64()},
        {"aiff.aif", Aiff()},
        {"aifc-sowt.aif", AifcLittle()},
        {"amiga.8svx", Svx()},
        {"caf-big.caf", Caf(1, 4, FloatBig())},
        {"caf-little.caf", Caf(2, 2, Pcm16(2))},
        {"tagged.wav", Tagged()},
    };
}

}  // namespace vantor::samples

namespace {

bool Write(const std::filesystem::path& folder, const std::vector<vantor::samples::Sample>& samples) {
    std::filesystem::create_directories(folder);
    for (const auto& [name, bytes] : samples) {
        std::ofstream file(folder / name, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (file.flush()) continue;
        std::fprintf(stderr, "cannot write %s\n", name.c_str());
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_samples FOLDER\n");
        return 2;
    }
    const std::filesystem::path folder(argv[1]);
    const bool written = Write(folder, vantor::samples::MakeSamples()) &&
                         Write(folder / "broken", vantor::samples::MakeBrokenSamples());
    return written ? 0 : 1;
}
