#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

#include "fileio/byte_order.h"
#include "tests/care/care_support.h"
#include "tests/formats/container_files.h"
#include "tests/support/chunk_list.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"
#include "tests/support/tree.h"
#include "wavehost/care/audio_hash.h"
#include "wavehost/os/failure.h"

namespace vantor::test {
namespace {

using namespace wavehost;

Bytes Put32(Bytes file, size_t offset, uint32_t value) {
    const Bytes bytes = ByteWriter().Le32(value);
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
    return file;
}

Bytes SoundOf(const Bytes& file, const SoundFile16& original, size_t frames) {
    const auto start = file.begin() + static_cast<std::ptrdiff_t>(original.soundStart);
    return {start, start + static_cast<std::ptrdiff_t>(original.frameBytes * frames)};
}

// Wherever a file ends, the frames that are there play, and none that is not.
TEST(Repair, AFileCutAnywherePlaysToItsLastWholeFrame) {
    std::mt19937 random(15);
    for (const auto& file : SoundFiles(500)) {
        std::uniform_int_distribution<size_t> places(file.soundStart + file.frameBytes + file.unplayed,
                                                     file.bytes.size() - 1);
        for (int i = 0; i < 200; ++i) {
            const size_t place = places(random);
            SCOPED_TRACE(std::string(file.name) + " cut at " + std::to_string(place));
            const Bytes cut(file.bytes.begin(), file.bytes.begin() + static_cast<std::ptrdiff_t>(place));
            const size_t frames = std::min((place - file.soundStart) / file.frameBytes, file.frames);
            EXPECT_FALSE(FindingsOf(cut).empty());
            Findings left;
            const Bytes mended = Repaired(cut, {}, &left);
            EXPECT_EQ(PlayedFrames(mended), static_cast<int64_t>(frames - file.unplayed));
            EXPECT_EQ(SoundOf(mended, file, frames), SoundOf(file.bytes, file, frames));
            EXPECT_TRUE(std::ranges::all_of(left, [](const auto& f) { return f.mending == Mending::none; }))
                << Names(left);
            EXPECT_EQ(Repaired(mended), mended);
        }
    }
}

// The `fact` chunk, in front of the sound, counts the frames of the last block too.
TEST(Repair, ABlockCutAnywhereCountsTheFramesThatItHolds) {
    constexpr size_t blockBytes = 256, wholeFrames = 11025;
    const struct {
        const char* sample;
        size_t soundStart, headerBytes, headerFrames, framesPerByte;
    } codings[] = {
        {"ms-adpcm.wav", 90, 7, 2, 2}, {"ima-adpcm.wav", 60, 4, 1, 2}, {"c-adpcm.wav", 60, 4, 1, 4}};
    for (const auto& [sample, soundStart, headerBytes, headerFrames, framesPerByte] : codings) {
        const Bytes whole = ReadWholeFile(SourceTree() + "/samples/" + sample);
        for (size_t place = soundStart + blockBytes; place < whole.size(); place += 37) {
            const auto framesOf = [&](size_t bytes) {
                return bytes < headerBytes ? 0 : headerFrames + framesPerByte * (bytes - headerBytes);
            };
            const size_t bytes = place - soundStart, last = framesOf(bytes % blockBytes);
            const Bytes mended = Repaired({whole.data(), whole.data() + place});
            EXPECT_EQ(ReadLe32(&mended[soundStart - 12]),
                      std::min(bytes / blockBytes * framesOf(blockBytes) + last, wholeFrames))
                << sample << " cut at " << place;
        }
    }
}

// Where the chunk of the sound stands, and what its size is on the disk while the recorder runs.
struct Unfinished {
    const char* container;
    std::vector<std::pair<size_t, Bytes>> fields;
};

// As recorders and other programs leave them when they are killed: a size of 0, all ones, or a placeholder.
TEST(Repair, AnUnfinishedRecordingHasAllItsFrames) {
    const Bytes zero4(4), zero8(8), ones4(4, 0xFF), ones8(8, 0xFF);
    const Bytes header24 = ByteWriter().Le64(24), farthest = ByteWriter().Le64(INT64_MAX);
    const Unfinished cases[] = {
        {"wav", {{4, zero4}, {40, zero4}}},
        {"wav", {{4, ones4}, {40, ones4}}},
        {"wav", {{4, ByteWriter().Le32(0x7FFFF024)}, {40, ByteWriter().Le32(0x7FFFF000)}}},
        {"rf64", {{20, zero8}, {28, zero8}, {36, zero8}}},
        {"rf64", {{20, ones8}, {28, ones8}, {36, zero8}, {76, zero4}}},
        {"bw64", {{20, zero8}, {28, zero8}, {36, zero8}}},
        {"w64", {{16, zero8}, {96, header24}}},
        {"w64", {{16, ones8}, {96, farthest}}},
        {"aiff", {{4, zero4}, {22, zero4}, {42, zero4}}},
        {"aiff",
         {{4, ByteWriter().Be32(0x7F00004E)},
          {22, ByteWriter().Be32(0x1FC00000)},
          {42, ByteWriter().Be32(0x7F000008)}}},
        {"aifc", {{4, zero4}, {22, zero4}, {48, zero4}}},
        {"caf", {{56, ones8}}},
        {"8svx", {{4, zero4}, {20, zero4}, {44, zero4}}},
        {"caf", {{56, ByteWriter().Be64(4)}}},
    };
    const auto files = SoundFiles(500);
    for (const auto& [container, fields] : cases) {
        const auto& file = *std::ranges::find(files, std::string_view(container), &SoundFile16::name);
        SCOPED_TRACE(container);
        Bytes bytes(file.bytes.begin(), file.bytes.begin() + static_cast<std::ptrdiff_t>(file.SoundEnd()));
        for (const auto& [offset, field] : fields)
            std::copy(field.begin(), field.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        EXPECT_NE(Names(FindingsOf(bytes)).find("unfinished "), std::string::npos)
            << Names(FindingsOf(bytes));
        Findings left;
        const Bytes mended = Repaired(bytes, {}, &left);
        EXPECT_EQ(Names(left), "");
        EXPECT_EQ(PlayedFrames(mended), static_cast<int64_t>(500 - file.unplayed));
        EXPECT_EQ(mended.size(), bytes.size());
        EXPECT_EQ(SoundOf(mended, file, 500), SoundOf(file.bytes, file, 500));
    }
}

// A size that was never written, and tags behind the sound: only a count that agrees makes it certain where
// the sound ends.
TEST(Repair, AsksBeforeSoundBecomesTagsOrTagsSound) {
    const auto file = SoundFiles(500)[0];  // WAV with a LIST
    const Bytes unfinished = Put32(file.bytes, 40, 0);
    Findings left;
    EXPECT_EQ(Repaired(unfinished, {}, &left), unfinished);
    ASSERT_EQ(Names(left).substr(0, 11), "unfinished ");
    EXPECT_NE(left[0].text.find("--force"), std::string::npos);
    EXPECT_EQ(Repaired(unfinished, {.force = true}), file.bytes);
    // A tag that the end of the file cuts off is a tag as well.
    const Bytes cut(unfinished.begin(), unfinished.end() - 4);
    EXPECT_EQ(Repaired(cut), cut);
    EXPECT_EQ(PlayedFrames(Repaired(cut, {.force = true})), 500);

    // The header says half: what follows is no chunk, but nothing says that it is sound.
    const Bytes stale = Put32(Bytes(file.bytes.begin(), file.bytes.begin() + 2044), 40, 1000);
    EXPECT_EQ(Repaired(stale), stale);
    EXPECT_EQ(PlayedFrames(Repaired(stale, {.force = true})), 500);

    for (const uint32_t counted : {500u, 499u}) {
        const Bytes fact = ByteWriter().Chunk("fact", ByteWriter().Le32(counted));
        Bytes bytes = unfinished;
        bytes.insert(bytes.begin() + 36, fact.begin(), fact.end());
        EXPECT_EQ(PlayedFrames(Repaired(bytes)) == 500, counted == 500);
    }
}

// Sound that looks like a chunk list to the last byte stays sound where the size says so.
TEST(Repair, SoundThatLooksLikeTagsStaysSound) {
    const Bytes list = ByteWriter().Chunk("LIST", ByteWriter().Text("INFO").Zeros(32));
    const Bytes whole = RiffFile(ByteWriter().Chunk("fmt ", pcmFmt).Chunk("data", list));
    EXPECT_EQ(Names(FindingsOf(whole)), "");
    const Bytes wrongRiffSize = Put32(whole, 4, 12);
    EXPECT_EQ(Repaired(wrongRiffSize), whole);
}

// The missing pad byte takes a complete copy: what follows moves.
TEST(Repair, AMissingPadByteIsPutBetween) {
    const TempFolder folder;
    const Bytes sample = ReadWholeFile(SourceTree() + "/samples/broken/pad-byte.wav");
    const std::string path = folder.Write("take.wav", sample);
    const auto repair = RepairFile(path, {});
    EXPECT_EQ(Names(repair.mended), "pad-byte container-size ");
    const Bytes mended = ReadWholeFile(path);
    EXPECT_EQ(Ids(mended), "fmt LISTdata");
    EXPECT_EQ(PlayedFrames(mended), 240);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path("")), {}), 1);

    // The copy would leave the other name with the old file.
    WriteWholeFile(path, sample);
    std::filesystem::create_hard_link(path, folder.Path("other.wav"));
    EXPECT_THROW((void)RepairFile(path, {}), Failure);
    EXPECT_EQ(ReadWholeFile(path), sample);
    EXPECT_FALSE(RepairFile(path, {.force = true}).mended.empty());
    EXPECT_EQ(ReadWholeFile(folder.Path("other.wav")), sample);
}

// Of two chunks that differ nothing is taken away unasked.
TEST(Repair, OfDoubledChunksOneBecomesPadding) {
    const Bytes one = ByteWriter().Chunk("axml", ByteWriter().Text("<a>1</a>"));
    const Bytes other = ByteWriter().Chunk("axml", ByteWriter().Text("<a>2</a>"));
    EXPECT_EQ(Ids(Repaired(WaveFile(pcmFmt, ByteWriter().Add(one).Add(one)))), "fmt axmlJUNKdata");
    const Bytes differing = WaveFile(pcmFmt, ByteWriter().Add(one).Add(other));
    EXPECT_EQ(Repaired(differing), differing);
    EXPECT_EQ(Ids(Repaired(differing, {.force = true})), "fmt JUNKaxmldata");
}

// One repair that is stopped at each of its operations, in each way.
void StopAtEvery(const FaultOrder& fault, const Bytes& broken, const std::string& path) {
    const RepairOptions options{.force = true};
    WriteWholeFile(path, broken);
    (void)RepairFile(path, options);
    const Bytes wanted = ReadWholeFile(path);
    const std::string hash = HashAudio(path, DigestKind::md5);
    for (int64_t index = 0;; ++index) {
        WriteWholeFile(path, broken);
        bool stopped = false;
        {
            ScriptedFileSystem files;
            const platform::ScopedFileSystem scope(files);
            files.FailAt(fault, index);
            try {
                (void)RepairFile(path, options);
            } catch (const Failure&) {
                stopped = true;
            }
        }
        EXPECT_EQ(HashAudio(path, DigestKind::md5), hash) << fault.name << " " << index;
        (void)RepairFile(path, options);
        ASSERT_EQ(ReadWholeFile(path), wanted) << fault.name << " " << index;
        if (!stopped) break;
    }
}

TEST(RepairFaults, StoppedAnywhereLosesNothingAndIsFinishedByTheNext) {
    const TempFolder folder;
    const std::string path = folder.Path("take");
    for (const auto& entry : std::filesystem::directory_iterator(SourceTree() + "/samples/broken")) {
        const Bytes broken = ReadWholeFile(entry.path().string());
        SCOPED_TRACE(entry.path());
        WriteWholeFile(path, broken);
        const auto repair = RepairFile(path, {.force = true});
        if (repair.mended.empty() || PlayedFrames(ReadWholeFile(path)) < 1) continue;
        for (const auto& fault : faultOrders)
            if (fault.operation == Operation::write) StopAtEvery(fault, broken, path);
        StopAtEvery({"flushes fail from here", Operation::flush, Fault::failure, true}, broken, path);
    }
}

TEST(RepairFaults, AFileThatSomebodyElseWritesIsNotTouched) {
    const TempFolder folder;
    const auto file = SoundFiles(500)[0];
    const Bytes broken(file.bytes.begin(), file.bytes.begin() + 1000);
    const std::string path = folder.Write("take.wav", broken);
    {
        std::ofstream recorder(path, std::ios::binary | std::ios::in | std::ios::out);
        EXPECT_THROW((void)RepairFile(path, {.force = true}), Failure);
    }
    EXPECT_EQ(ReadWholeFile(path), broken);

#if defined(_WIN32)
    GTEST_SKIP() << "nobody writes a file that is open";
#endif
    // Another file under the same name between the look and the write.
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.BeforeEach([&, opens = 0]() mutable {
        if (files.Count(Operation::open) == 2 && ++opens == 1) WriteWholeFile(path, file.bytes);
    });
    EXPECT_THROW((void)RepairFile(path, {}), Failure);
    EXPECT_EQ(ReadWholeFile(path), file.bytes);
}

// "abc", whose digests stand in the standards, as 8-bit sound of every container, with and without tags.
TEST(Hash, IsThatOfTheSoundAlone) {
    const Bytes fmt = FmtBody(1, 1, 8000, 8), sound = ByteWriter().Text("abc");
    const Bytes list = ByteWriter().Chunk("LIST", ByteWriter().Text("INFO").Chunk("INAM", Bytes(6, 'x')));
    const Bytes comm = CommBody(1, 3, 8);
    const CafDescription desc{.packetBytes = 1, .channels = 1, .bits = 8};
    const Bytes files[] = {
        RiffFile(ByteWriter().Chunk("fmt ", fmt).Chunk("data", sound)),
        RiffFile(ByteWriter().Add(list).Chunk("fmt ", fmt).Chunk("data", sound).Add(list)),
        RiffFile(ByteWriter().Chunk("ds64", Ds64Body(3, 3)).Chunk("fmt ", fmt).Chunk("data", sound), "BW64"),
        Wave64File(ByteWriter().Wave64Chunk("fmt ", fmt).Wave64Chunk("data", sound)),
        IffFile("AIFF", ByteWriter()
                            .IffChunk("COMM", comm)
                            .IffChunk("SSND", ByteWriter().Be32(2).Be32(0).Zeros(2).Add(sound))),
        IffFile("8SVX", ByteWriter()
                            .IffChunk("VHDR", ByteWriter().Zeros(12).Be16(8000).Zeros(6))
                            .IffChunk("BODY", sound)),
        CafFile(
            ByteWriter().CafChunk("desc", DescBody(desc)).CafChunk("data", ByteWriter().Be32(0).Add(sound))),
    };
    for (const Bytes& bytes : files) {
        MemoryFileSystem memory;
        const platform::ScopedFileSystem scope(memory);
        memory.Put("take", bytes);
        EXPECT_EQ(HashAudio("take", DigestKind::md5), "900150983cd24fb0d6963f7d28e17f72");
        EXPECT_EQ(HashAudio("take", DigestKind::sha256),
                  "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    }
}

}  // namespace
}  // namespace vantor::test
