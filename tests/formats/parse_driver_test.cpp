// Whole files: read anew or not, cut off, without memory, of extreme sizes.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <system_error>

#include "formats/adpcm_shape.h"
#include "formats/chunk_cursor.h"
#include "host/host_services.h"
#include "tests/formats/parse_fixture.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

TEST(ParseDriver, ReadsEveryChunkOfTheSamples) {
    for (const auto& sample : SampleFiles())
        EXPECT_EQ(RecordText(*ParsePlayable(sample.bytes)), sample.record);
}

TEST(ParseDriver, CutAtEveryByteTheSamplesPlayOrSayWhyNot) {
    for (const auto& sample : SampleFiles()) {
        const TempFolder folder;
        const auto path = folder.Write("file", sample.bytes);
        std::map<std::string, size_t> refusals;
        for (size_t bytes = sample.bytes.size(); bytes-- > 0;) {
            std::filesystem::resize_file(path, bytes);
            AudioFormat format;
            if (!Parse(format, path)) refusals[*format.errorMessage] = bytes;
            if (IsAdpcm(format.encoding) || format.lengthFrames == 0) continue;
            const auto end = format.dataStart + format.lengthFrames * format.blockAlign;
            EXPECT_LE(end, static_cast<int64_t>(bytes));
        }
        std::string text;
        for (const auto& [message, bytes] : refusals)
            text += message + " " + std::to_string(bytes) + "\n";
        EXPECT_EQ(text, sample.refusals);
    }
}

TEST(ParseDriver, WithoutMemoryTheSamplesAreRefusedOrLoseTags) {
    for (const auto& sample : SampleFiles()) {
        const TempFolder folder;
        const auto path = folder.Write("file", sample.bytes);
        bool hasFailed = true;
        for (int allowed = 0; hasFailed; ++allowed) {
            FileReader reader(path, smallReader);
            AudioFormat format;
            int result = -1;
            {
                const FailingAllocation failing(allowed);
                result = ParseAudioFormat(format, reader);
                hasFailed = failing.HasFailed();
            }
            EXPECT_EQ(result == 1, format.lengthFrames == 0) << allowed;
            AudioFormat again;
            EXPECT_EQ(ParseAudioFormat(again, reader), 0) << allowed;
        }
    }
}

TEST(ParseDriver, MarksAFileBeingWrittenWhenItEndsEarly) {
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    const TempFolder folder;
    const auto fmt = ByteWriter().Chunk("fmt ", pcmFmt);
    const auto early = folder.Write("early", RiffFile(ByteWriter().Text("data").Le32(0).Add(fmt)));
    files.FailAt(Operation::open, 0, Fault::sharingViolation);
    AudioFormat silent;
    EXPECT_TRUE(Parse(silent, early));
    EXPECT_FALSE(silent.lengthCutWhileGrowing) << "empty, and another chunk behind it";
    for (const auto& [sizeField, growing] : {std::pair{4000u, true}, {0u, true}, {40u, false}}) {
        const auto path =
            folder.Write("file", RiffFile(ByteWriter().Add(fmt).Text("data").Le32(sizeField).Zeros(40)));
        files.FailAt(Operation::open, 0, Fault::sharingViolation);
        AudioFormat format;
        EXPECT_TRUE(Parse(format, path));
        EXPECT_EQ(format.lengthFrames, 10);
        EXPECT_EQ(format.lengthCutWhileGrowing, growing) << sizeField;
        AudioFormat atRest;
        EXPECT_TRUE(Parse(atRest, path));
        EXPECT_FALSE(atRest.lengthCutWhileGrowing);
    }
}

TEST(ParseDriver, IsIncompleteWhereTheWalkStoppedInFrontOfAChunk) {
    const auto refused = ByteWriter().Chunk("fmt ", FmtBody(6, 2, 44100, 8));
    const std::pair<Bytes, bool> cases[] = {
        {WaveFile(), false},
        {RiffFile(ByteWriter().Add(refused).Zeros(8)), true},
        {RiffFile(ByteWriter().Add(refused).Zeros(7)), false},
        // Audio to the end of the file: nothing is left out.
        {CafFile(ByteWriter().CafChunk("desc", DescBody()).Text("data").Be64(~0ull).Zeros(44)), false},
    };
    const TempFolder folder;
    for (const auto& [file, isIncomplete] : cases) {
        AudioFormat format;
        (void)Parse(format, folder.Write("file", file));
        EXPECT_EQ(format.isIncomplete, isIncomplete) << file.size();
    }
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    const auto path = folder.Write("file", WaveFile(pcmFmt, ByteWriter().Chunk("JUNK", Bytes(20000))));
    files.FailAt(Operation::read, 1, Fault::failure);
    AudioFormat format;
    EXPECT_FALSE(Parse(format, path));
    EXPECT_TRUE(format.isIncomplete);
}

TEST(ParseDriver, TellsWhereBlocksEnd) {
    EXPECT_EQ(ParsePlayable(WaveFile(FmtBody(0x11, 1, 8000, 4, 64)))->blockCodedBytes, 40);
    EXPECT_EQ(ParsePlayable(WaveFile())->blockCodedBytes, 0);
}

TEST(ParseDriver, LocalisesItsMessages) {
    const auto previous = Services().localize;
    Services().localize = [](const char* text, const char* section, int32_t flags) -> const char* {
        const bool asAgreed = text == std::string_view("Unknown file header") && flags == 0;
        return asAgreed && section == std::string_view("wave") ? "translated" : "wrong key";
    };
    EXPECT_EQ(FoundIn({}).audio, "translated");
    Services().localize = previous;
}

TEST(ParseDriver, FindsChunksBehindZeros) {
    for (const size_t zeros : {size_t{8}, size_t{16}, size_t{4096}, size_t{4104}, size_t{64} << 20}) {
        ByteWriter chunks;
        chunks.Zeros(zeros).Chunk("fmt ", pcmFmt).Zeros(zeros).Chunk("data", tenFrames).Zeros(zeros);
        const auto format = ParsePlayable(RiffFile(chunks.Chunk("tail", Bytes(4))));
        EXPECT_EQ(format->lengthFrames, 10) << zeros;
        EXPECT_EQ(format->metadata.Count(), 1u) << zeros;
    }
}

TEST(ChunkCursor, TheNextChunkStandsBehindThePaddedBody) {
    constexpr int64_t most = INT64_MAX;
    const struct {
        ChunkFraming framing;
        int64_t start;
        uint64_t bytes;
        int64_t next;
    } cases[] = {
        {riffFraming, 20, 4, 24},
        {riffFraming, 20, 5, 26},
        {riffFraming, 20, 0xFFFFFFFF, 20 + (int64_t{1} << 32)},
        {riffFraming, 20, most - 21, most - 1},
        {riffFraming, 20, most - 20, most},
        {iffFraming, 20, 0xFFFFFFFF, 20},
        {wave64Framing, 64, 8, 72},
        {wave64Framing, 64, 9, 80},
        {wave64Framing, 64, ~uint64_t{0}, most},
        {cafFraming, 20, 5, 25},
        {cafFraming, 20, most - 20, most},
    };
    for (const auto& c : cases) {
        Chunk chunk;
        chunk.bodyStart = c.start;
        chunk.bodyBytes = c.bytes;
        EXPECT_EQ(NextChunkPosition(c.framing, chunk), c.next) << &c - cases;
    }
}

TEST(ChunkCursor, ABodyGoesNoFartherThanItsSizeAndItsFile) {
    constexpr uint64_t largest = uint64_t{1} << 30;
    const TempFolder folder;
    FileReader reader(folder.Write("file", Bytes(10)), smallReader);
    std::vector<uint8_t> scratch;
    for (const uint64_t bytes : {uint64_t{11}, largest, ~uint64_t{0}}) {
        EXPECT_FALSE(ReadBody(reader, bytes, scratch)) << bytes;
        EXPECT_EQ(scratch.capacity(), 0u) << "no memory is taken for what is not there";
        EXPECT_FALSE(LendBody(reader, bytes, scratch)) << bytes;
    }
    EXPECT_TRUE(ReadBody(reader, 10, scratch));
    const auto left = [&](uint64_t bodyBytes, uint64_t skipped) {
        EXPECT_TRUE(reader.Seek(0));
        BodyReader body(reader, bodyBytes);
        uint8_t byte = 0;
        const bool hasSkipped = body.Skip(skipped);
        return std::pair(hasSkipped, body.Read(&byte, 1));
    };
    EXPECT_EQ(left(8, 7), std::pair(true, true));
    EXPECT_EQ(left(8, 8), std::pair(true, false));
    EXPECT_EQ(left(8, 9), std::pair(false, true));
    EXPECT_EQ(left(20, 10), std::pair(true, false));
    EXPECT_EQ(left(20, 11), std::pair(false, true));
    EXPECT_EQ(left(largest, 9), std::pair(true, true));
    EXPECT_EQ(left(largest + 1, 0), std::pair(true, false));
}

constexpr int64_t sparseBytes = (int64_t{4} << 30) + (int64_t{1} << 20);

// A file of `header`, zeros up to sparseBytes and `tail` at its end; false when it cannot be had.
bool ParseSparse(AudioFormat& format, const Bytes& header, const Bytes& tail = {}) {
    const TempFolder folder;
    const auto path = folder.Write("file", header);
    std::error_code error;
    std::filesystem::resize_file(path, sparseBytes - tail.size(), error);
    if (error) return false;
    std::ofstream(path, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(tail.data()), static_cast<std::streamsize>(tail.size()));
    (void)Parse(format, path);
    return true;
}

TEST(ParseDriver, CountsAllAudioBeyondFourGiB) {
    const auto fmt = ByteWriter().Chunk("fmt ", pcmFmt);
    const auto wrapped = static_cast<uint32_t>(sparseBytes - 44 - 12);
    AudioFormat wave, aiff, caf;
    if (!ParseSparse(wave, RiffFile(ByteWriter().Add(fmt).Text("data").Le32(wrapped)),
                     ByteWriter().Chunk("tail", Bytes(4))))
        GTEST_SKIP() << "no sparse file of 4 GiB here";
    EXPECT_EQ(wave.lengthFrames, (sparseBytes - 44) / 4);
    EXPECT_TRUE(wave.metadata.Has("tail"));  // the audio was stepped over whole

    const auto comm = ByteWriter().IffChunk("COMM", CommBody(2, 25, 16));
    ASSERT_TRUE(
        ParseSparse(aiff, IffFile("AIFF", ByteWriter().Add(comm).Text("SSND").Be32(0xFFFFFFF0).Be64(0))));
    EXPECT_EQ(aiff.lengthFrames, 25 + (int64_t{1} << 30));

#if !defined(_WIN32)
    // Silence that takes no room on the disk is stepped over.
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    AudioFormat stale;
    ASSERT_TRUE(ParseSparse(stale, IffFile("AIFF", ByteWriter().Add(comm).Text("SSND").Be32(16).Zeros(16)),
                            ByteWriter().IffChunk("NAME", Bytes{'z'})));
    EXPECT_EQ(stale.lengthFrames, 25 + (int64_t{1} << 30));
    EXPECT_LT(files.Count(Operation::read), 100);
#endif

    // A chunk that the file does hold, but that no metadata fills, takes no memory.
    const auto desc = ByteWriter().CafChunk("desc", DescBody());
    ASSERT_TRUE(ParseSparse(caf, CafFile(ByteWriter().Add(desc).Text("info").Be64(uint64_t{4} << 30))));
    EXPECT_EQ(caf.errorMessage, "Error reading CAFF info chunk");
}

}  // namespace
}  // namespace vantor::test
