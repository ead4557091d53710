#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

#include "tests/formats/parse_fixture.h"
#include "tests/formats/sample_files.h"
#include "tests/support/failing_allocation.h"

namespace vantor::test {
namespace {

// What every record keeps to, whatever the file.
void ExpectSound(const ParsedFile& parsed, size_t fileBytes) {
    const auto& format = parsed.format;
    EXPECT_EQ(parsed.result == 0, !format.errorMessage);
    EXPECT_EQ(parsed.result == 0, format.channels > 0);
    EXPECT_GE(format.lengthFrames, 0);
    if (format.lengthFrames > 0 && !IsAdpcm(format.encoding)) {
        const int64_t frameBytes = int64_t{format.channels} * WholeBytes(format.bitsPerSample);
        const int64_t audioBytes =
            format.lengthFrames * (format.fileKind == kindCaf ? format.blockAlign : frameBytes);
        EXPECT_LE(format.dataStart + audioBytes, static_cast<int64_t>(fileBytes));
    }
    EXPECT_LE(format.markers.size(), fileBytes / 24);
    EXPECT_TRUE(std::ranges::is_sorted(format.slicePoints));
    if (parsed.result != 0) return;
    for (const auto& marker : format.markers) {
        EXPECT_GE(marker.id, 0);
        EXPECT_GE(marker.start, 0);
        EXPECT_LE(marker.name.value_or("").size(), 511u);
    }
}

TEST(SampleFiles, EveryChunkIsRead) {
    for (const auto& sample : SampleFiles())
        EXPECT_EQ(RecordText(ParsePlayable(sample.bytes)->format), sample.record) << sample.name;
}

TEST(HostileFiles, CutAtEveryByteTheyPlayOrSayWhyNot) {
    for (const auto& sample : SampleFiles()) {
        const TempFolder folder;
        const auto path = folder.Write("file", sample.bytes);
        const int64_t whole = ParsePath(path)->format.lengthFrames;
        for (size_t bytes = sample.bytes.size(); bytes-- > 0;) {
            std::filesystem::resize_file(path, bytes);
            const auto parsed = ParsePath(path);
            ExpectSound(*parsed, bytes);
            // A cut ADPCM stream may count fewer block headers, and so more frames.
            if (IsAdpcm(parsed->format.encoding)) continue;
            EXPECT_LE(parsed->format.lengthFrames, whole) << sample.name << ' ' << bytes;
        }
    }
}

TEST(HostileFiles, DamagedTheyPlayOrSayWhyNot) {
    std::mt19937 random(20240229);
    const auto below = [&](size_t limit) { return static_cast<size_t>(random() % limit); };
    constexpr uint8_t extremes[] = {0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF};
    for (const auto& sample : SampleFiles()) {
        const TempFolder folder;
        for (int round = 0; round < 150; ++round) {
            Bytes bytes = sample.bytes;
            for (size_t damages = 1 + below(6); damages > 0; --damages) {
                const size_t at = 12 + below(bytes.size() - 12);
                const size_t run = std::min<size_t>(1 + below(8), bytes.size() - at);
                const bool extreme = below(2) == 0;
                const uint8_t value = extremes[below(std::size(extremes))];
                for (size_t i = 0; i < run; ++i)
                    bytes[at + i] = extreme ? value : static_cast<uint8_t>(random());
            }
            const auto parsed = ParsePath(folder.Write("file", bytes));
            ExpectSound(*parsed, bytes.size());
        }
    }
}

TEST(HostileFiles, WithoutMemoryTheyAreRefusedOrLoseTags) {
    for (const auto& sample : SampleFiles()) {
        const TempFolder folder;
        const auto path = folder.Write("file", sample.bytes);
        bool hasFailed = true;
        for (int allowed = 0; hasFailed; ++allowed) {
            FileReader reader(path, smallReader);
            ParsedFile parsed;
            {
                const FailingAllocation failing(allowed);
                parsed.result = ParseAudioFormat(parsed.format, reader);
                hasFailed = failing.HasFailed();
            }
            ExpectSound(parsed, sample.bytes.size());
            EXPECT_EQ(parsed.result == 1, parsed.format.lengthFrames == 0) << sample.name;
            EXPECT_EQ(ParseAudioFormat(parsed.format, reader), 0) << sample.name << ": " << parsed.Message();
        }
    }
}

TEST(HostileFiles, ZerosBetweenChunksHideNothing) {
    for (const size_t zeros : {size_t{8}, size_t{16}, size_t{4096}, size_t{4104}, size_t{64} << 20}) {
        ByteWriter chunks;
        chunks.Zeros(zeros).Chunk("fmt ", pcmFmt).Zeros(zeros).Chunk("data", tenFrames).Zeros(zeros);
        const auto parsed = ParsePlayable(RiffFile(chunks.Chunk("tail", Bytes(4))));
        EXPECT_EQ(parsed->format.lengthFrames, 10) << zeros;
        EXPECT_EQ(parsed->format.metadata.Count(), 1u) << zeros;
    }
}

constexpr int64_t sparseBytes = (int64_t{4} << 30) + (int64_t{1} << 20);

// A file of `header`, zeros up to sparseBytes and `tail` at its end; null when the file system cannot hold it
// sparsely.
std::unique_ptr<ParsedFile> ParseSparse(const Bytes& header, const Bytes& tail = {}) {
    const TempFolder folder;
    const auto path = folder.Write("file", header);
    std::error_code error;
    std::filesystem::resize_file(path, sparseBytes - tail.size(), error);
    if (error) return nullptr;
    std::ofstream(path, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(tail.data()), static_cast<std::streamsize>(tail.size()));
    return ParsePath(path);
}

TEST(HostileFiles, BeyondFourGiBAllAudioThatIsThereCounts) {
    const auto fmt = ByteWriter().Chunk("fmt ", pcmFmt);
    const auto tail = ByteWriter().Chunk("tail", ByteWriter().Zeros(4));
    const auto wrapped = static_cast<uint32_t>(sparseBytes - 44 - 12);
    const auto wave = ParseSparse(RiffFile(ByteWriter().Add(fmt).Text("data").Le32(wrapped)), tail);
    if (!wave) GTEST_SKIP() << "no sparse file of 4 GiB here";
    EXPECT_EQ(wave->format.lengthFrames, (sparseBytes - 44) / 4);
    EXPECT_TRUE(wave->format.metadata.Has("tail"));  // the audio was stepped over whole

    const auto comm = ByteWriter().IffChunk("COMM", CommBody(2, 25, 16));
    const Bytes aiff = IffFile("AIFF", ByteWriter().Add(comm).Text("SSND").Be32(0xFFFFFFF0).Be64(0));
    EXPECT_EQ(ParseSparse(aiff)->format.lengthFrames, 25 + (int64_t{1} << 30));
}

TEST(HostileFiles, AnOutsizedBodyTakesNoMemory) {
    // A chunk that the file does hold, but that no metadata fills.
    const auto desc = ByteWriter().CafChunk("desc", DescBody());
    const Bytes caf = CafFile(ByteWriter().Add(desc).Text("info").Be64(uint64_t{4} << 30));
    const auto parsed = ParseSparse(caf);
    if (!parsed) GTEST_SKIP() << "no sparse file of 4 GiB here";
    EXPECT_EQ(parsed->Message(), "Error reading CAFF info chunk");
}

}  // namespace
}  // namespace vantor::test
