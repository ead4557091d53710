// Files with one fault each, called by the finding's name.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "samples/generator/sample.h"

namespace vantor::samples {

namespace {

using test::Bytes;
using test::ByteWriter;
using test::CafFile;
using test::FmtBody;
using test::IffFile;
using test::RiffFile;
using test::Wave64File;

constexpr uint32_t rate = 48000;
constexpr int frames = 240;  // 5 ms
constexpr uint32_t allOnes = 0xFFFFFFFF;
const Bytes extendedRate = {0x40, 0x0E, 0xBB, 0x80, 0, 0, 0, 0, 0, 0};

int16_t Tone(int frame, int channel) {
    const double turns = 440.0 * (channel + 1) * frame / rate;
    return static_cast<int16_t>(std::lround(20000 * std::sin(2 * std::numbers::pi * turns)));
}

Bytes Pcm(bool big = false) {
    ByteWriter bytes;
    for (int frame = 0; frame < frames; ++frame)
        for (int channel = 0; channel < 2; ++channel) {
            const auto value = static_cast<uint16_t>(Tone(frame, channel));
            big ? bytes.Be16(value) : bytes.Le16(value);
        }
    return bytes;
}

const Bytes fmt = FmtBody(1, 2, rate, 16);

Bytes Info(std::string_view text) {
    return ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text(text).U8(0));
}

Bytes Bext(std::string_view date = "2024-02-29", uint64_t position = 48000) {
    return ByteWriter()
        .Field("Tone", 256)
        .Zeros(64)
        .Field(date, 10)
        .Text("12:34:56")
        .Le64(position)
        .Le16(1)
        .Zeros(254);
}

Bytes Wave(const Bytes& behind = {}) {
    return RiffFile(ByteWriter().Chunk("fmt ", fmt).Chunk("data", Pcm()).Add(behind));
}

// A number in the container's byte order over what stands there.
Bytes With32(Bytes file, size_t offset, uint32_t value, bool big = false) {
    const ByteWriter number = big ? ByteWriter().Be32(value) : ByteWriter().Le32(value);
    std::copy(number.Done().begin(), number.Done().end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
    return file;
}

Bytes With64(const Bytes& file, size_t offset, uint64_t value, bool big = false) {
    const auto high = static_cast<uint32_t>(value >> 32), low = static_cast<uint32_t>(value);
    return With32(With32(file, offset, big ? high : low, big), offset + 4, big ? low : high, big);
}

Bytes WithoutLast(Bytes file, size_t count) {
    file.resize(file.size() - count);
    return file;
}

constexpr size_t waveDataSize = 40, aiffFrames = 22;

Bytes Aiff(uint32_t claimedFrames = frames) {
    const Bytes comm = ByteWriter().Be16(2).Be32(claimedFrames).Be16(16).Add(extendedRate);
    return IffFile(
        "AIFF", ByteWriter().IffChunk("COMM", comm).IffChunk("SSND", ByteWriter().Zeros(8).Add(Pcm(true))));
}

// A chunk of markers that counts two and holds one.
Bytes MarkedAiff() {
    const Bytes mark = ByteWriter().Be16(2).Be16(1).Be32(100).U8(4).Text("Here").U8(0);
    const Bytes comm = ByteWriter().Be16(2).Be32(frames).Be16(16).Add(extendedRate);
    return IffFile("AIFF", ByteWriter()
                               .IffChunk("COMM", comm)
                               .IffChunk("SSND", ByteWriter().Zeros(8).Add(Pcm(true)))
                               .IffChunk("MARK", mark));
}

Bytes Voice(uint32_t claimedFrames) {
    const Bytes vhdr = ByteWriter().Be32(claimedFrames).Zeros(8).Be16(8000).U8(1).U8(0).Be32(65536);
    ByteWriter body;
    for (int frame = 0; frame < frames; ++frame)
        body.U8(static_cast<uint8_t>(Tone(frame, 0) / 256));
    return IffFile("8SVX", ByteWriter().IffChunk("VHDR", vhdr).IffChunk("BODY", body));
}

// A text that says of itself that it is UTF-8.
Bytes Id3(std::string_view text) {
    const auto size = static_cast<uint8_t>(text.size() + 1);
    return ByteWriter()
        .Text("ID3")
        .U8(4)
        .Zeros(5)
        .U8(static_cast<uint8_t>(size + 10))
        .Text("TIT2")
        .Be32(size)
        .Zeros(2)
        .U8(3)
        .Text(text);
}

Bytes Wave64() {
    return Wave64File(ByteWriter().Wave64Chunk("fmt ", fmt).Wave64Chunk("data", Pcm()));
}

Bytes Caf() {
    const Bytes desc = ByteWriter().BeDouble(rate).Text("lpcm").Be32(2).Be32(4).Be32(1).Be32(2).Be32(16);
    return CafFile(ByteWriter().CafChunk("desc", desc).CafChunk("data", ByteWriter().Be32(0).Add(Pcm())));
}

constexpr size_t rf64RiffSize = 20, rf64DataSize = 28, rf64SizeInChunk = 76;

Bytes Rf64() {
    const Bytes data = Pcm();
    const uint64_t riffSize = 4 + 36 + 24 + 8 + data.size();
    const Bytes ds64 = ByteWriter().Le64(riffSize).Le64(data.size()).Le64(frames).Le32(0);
    const Bytes chunks =
        ByteWriter().Chunk("ds64", ds64).Chunk("fmt ", fmt).Text("data").Le32(allOnes).Add(data);
    return RiffFile(chunks, "RF64");
}

// Two channels whose header counts one.
Bytes HalvedFact() {
    constexpr uint16_t align = 256, blockFrames = 249;
    const Bytes format = ByteWriter().Add(FmtBody(0x11, 2, rate, 4, align)).Le16(2).Le16(blockFrames);
    return RiffFile(ByteWriter()
                        .Chunk("fmt ", format)
                        .Chunk("fact", ByteWriter().Le32(blockFrames))
                        .Chunk("data", ByteWriter().Zeros(2 * align)));
}

Bytes MissingPad() {
    const Bytes list = ByteWriter().Text("LIST").Le32(17).Add(
        ByteWriter().Text("INFO").Text("INAM").Le32(5).Text("Tone").U8(0));
    return RiffFile(ByteWriter().Chunk("fmt ", fmt).Add(list).Chunk("data", Pcm()));
}

Bytes Positions() {
    return RiffFile(
        ByteWriter()
            .Chunk("bext", Bext())
            .Chunk("fmt ", fmt)
            .Chunk("data", Pcm())
            .Chunk("iXML", ByteWriter().Text(
                               "<BWFXML><BEXT><BWF_TIME_REFERENCE_LOW>96000</BWF_TIME_REFERENCE_LOW>"
                               "<BWF_TIME_REFERENCE_HIGH>0</BWF_TIME_REFERENCE_HIGH></BEXT></BWFXML>")));
}

Bytes WithBext(const Bytes& bext, const Bytes& behind = {}) {
    return RiffFile(ByteWriter().Chunk("bext", bext).Chunk("fmt ", fmt).Chunk("data", Pcm()).Add(behind));
}

Bytes WithSamples(const Bytes& samples) {
    return RiffFile(ByteWriter().Chunk("fmt ", fmt).Chunk("data", samples));
}

Bytes FullScale() {
    ByteWriter samples;
    for (int i = 0; i < 2 * frames; ++i)
        samples.Le16(i % 16 < 8 ? 0x7FFF : 0x8000);
    return samples;
}

}  // namespace

std::vector<Sample> MakeBrokenSamples() {
    const Bytes list = ByteWriter().Chunk("LIST", Info("Tone"));
    const Bytes whole = Wave();
    const auto dataBytes = static_cast<uint32_t>(Pcm().size());
    return {
        {"unreadable.wav",
         RiffFile(ByteWriter().Chunk("fmt ", FmtBody(0x55, 2, rate, 16)).Chunk("data", Pcm()))},
        {"unfinished.wav", With32(With32(whole, 4, 0), waveDataSize, 0)},
        {"unfinished.rf64.wav", With64(With64(With64(Rf64(), rf64RiffSize, 0), rf64DataSize, 0), 36, 0)},
        {"unfinished.w64", With64(With64(Wave64(), 16, 0), 96, 24)},
        {"unfinished.aif", With32(With32(With32(Aiff(0), 4, 0), 42, 0), aiffFrames, 0)},
        {"unfinished.caf", With64(Caf(), 56, ~uint64_t{0}, true)},
        {"cut-off.wav", WithoutLast(Wave(list), list.size() + 100)},
        {"hidden-sound.wav", With32(With32(whole, 4, 36 + dataBytes / 2), waveDataSize, dataBytes / 2)},
        {"data-size.wav", With32(Rf64(), rf64SizeInChunk, dataBytes / 2)},
        {"ds64.wav", With64(Rf64(), rf64RiffSize, 12345)},
        {"frame-count.aif", Aiff(frames / 2)},
        {"frame-count.8svx", Voice(frames / 2)},
        {"unfinished.8svx", With32(With32(With32(Voice(0), 4, 0), 44, 0), 20, 0)},
        {"fact.wav", HalvedFact()},
        {"container-size.wav", With32(whole, 4, 4)},
        {"chunk-cut-off.wav", With32(WithoutLast(Wave(list), 2), 4, 36 + dataBytes + 24)},
        {"pad-byte.wav", MissingPad()},
        {"block-align.wav",
         RiffFile(ByteWriter().Chunk("fmt ", FmtBody(1, 2, rate, 16, 2)).Chunk("data", Pcm()))},
        {"byte-rate.wav", With32(whole, 28, rate)},
        {"doubled-chunk.wav", WithBext(Bext(), ByteWriter().Chunk("bext", Bext()))},
        {"refused-chunk.wav",
         Wave(ByteWriter().Chunk("iXML", ByteWriter().Text("<BWFXML>\n <SCENE>1</SCEN>\n</BWFXML>")))},
        {"refused-chunk.mark.aif", MarkedAiff()},
        {"text-encoding.wav", Wave(ByteWriter().Chunk("LIST", Info("T\xF6ne")))},
        {"text-encoding.id3.wav", Wave(ByteWriter().Chunk("id3 ", Id3("T\xF6ne!")))},
        {"date.wav", WithBext(Bext("2024-02-30"))},
        {"positions.wav", Positions()},
        {"trailing-bytes.wav", ByteWriter().Add(whole).Field("TAGTone", 128)},
        {"partial-frame.wav", WithSamples(WithoutLast(Pcm(), 2))},
        {"empty.wav", WithSamples({})},
        {"silent.wav", WithSamples(Bytes(dataBytes, 0))},
        {"clipped.wav", WithSamples(FullScale())},
    };
}

}  // namespace vantor::samples
