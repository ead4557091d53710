#include "tests/care/care_support.h"

#include <algorithm>

#include "formats/audio_format.h"
#include "tests/formats/container_files.h"

namespace vantor::test {

using wavehost::Findings;

namespace {

constexpr const char* fileName = "take";

Bytes Samples(size_t frames, bool big) {
    ByteWriter bytes;
    for (size_t frame = 0; frame < frames; ++frame)
        for (size_t channel = 0; channel < 2; ++channel) {
            const auto value = static_cast<uint16_t>(frame * 7919 + channel * 12007 + 1);
            big ? bytes.Be16(value) : bytes.Le16(value);
        }
    return bytes;
}

Bytes List() {
    return ByteWriter().Chunk("LIST",
                              ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("Take 1").U8(0)));
}

// RF64 and BW64 whose `ds64` has the sizes.
Bytes Wave64Bit(std::string_view id, const Bytes& samples) {
    const Bytes tail = ByteWriter().Text("data").Le32(0xFFFFFFFF).Add(samples).Add(List());
    const Bytes fmt = ByteWriter().Chunk("fmt ", pcmFmt);
    const uint64_t riffSize = 4 + 36 + fmt.size() + tail.size();
    const Bytes ds64 = ByteWriter().Le64(riffSize).Le64(samples.size()).Le64(samples.size() / 4).Le32(0);
    return RiffFile(ByteWriter().Chunk("ds64", ds64).Add(fmt).Add(tail), id);
}

Bytes Aiff(std::string_view form, std::string_view compression, const Bytes& samples) {
    const auto frames = static_cast<uint32_t>(samples.size() / 4);
    return IffFile(form, ByteWriter()
                             .IffChunk("COMM", CommBody(2, frames, 16, compression))
                             .IffChunk("SSND", ByteWriter().Zeros(8).Add(samples))
                             .IffChunk("NAME", ByteWriter().Text("Take 1")));
}

Bytes Caf(const Bytes& samples) {
    return CafFile(ByteWriter()
                       .CafChunk("desc", DescBody())
                       .CafChunk("data", ByteWriter().Be32(0).Add(samples))
                       .CafChunk("info", ByteWriter().Be32(1).Text("title").U8(0).Text("Take 1").U8(0)));
}

Bytes Voice(size_t frames) {
    ByteWriter samples;
    for (size_t frame = 0; frame < frames; ++frame)
        samples.U8(static_cast<uint8_t>(frame * 79 + 1));
    return IffFile(
        "8SVX",
        ByteWriter()
            .IffChunk(
                "VHDR",
                ByteWriter().Be32(static_cast<uint32_t>(frames)).Zeros(8).Be16(8000).U8(1).U8(0).Be32(65536))
            .IffChunk("BODY", samples)
            .IffChunk("NAME", ByteWriter().Text("Take 1")));
}

}  // namespace

std::string Names(const Findings& findings) {
    std::string names;
    for (const auto& finding : findings)
        names.append(wavehost::KindOf(finding.id).name).append(" ");
    return names;
}

Findings FindingsOf(const Bytes& bytes, const wavehost::ExamineOptions& options) {
    MemoryFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.Put(fileName, bytes);
    return wavehost::ExamineFile(fileName, options);
}

Bytes Repaired(const Bytes& bytes, const wavehost::RepairOptions& options, Findings* left) {
    MemoryFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.Put(fileName, bytes);
    auto repair = wavehost::RepairFile(fileName, options);
    if (left) *left = std::move(repair.left);
    return *files.Find(fileName);
}

int64_t PlayedFrames(const Bytes& bytes) {
    MemoryFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.Put(fileName, bytes);
    FileReader reader(fileName, {});
    AudioFormat format;
    return ParseAudioFormat(format, reader) == 0 ? format.lengthFrames.load() : -1;
}

std::vector<SoundFile16> SoundFiles(size_t frames) {
    const Bytes little = Samples(frames, false), big = Samples(frames, true);
    const Bytes wave = RiffFile(ByteWriter().Chunk("fmt ", pcmFmt).Chunk("data", little).Add(List()));
    const Bytes wave64 = Wave64File(ByteWriter().Wave64Chunk("fmt ", pcmFmt).Wave64Chunk("data", little));
    return {{"wav", wave, 44, frames},
            {"rf64", Wave64Bit("RF64", little), 80, frames},
            {"bw64", Wave64Bit("BW64", little), 80, frames},
            {"w64", wave64, 104, frames},
            {"aiff", Aiff("AIFF", "", big), 54, frames},
            {"aifc", Aiff("AIFC", "sowt", little), 60, frames},
            {"caf", Caf(big), 68, frames},
            {"8svx", Voice(frames), 48, frames, 1, 8}};
}

}  // namespace vantor::test
