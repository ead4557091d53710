// Rewrites of small files, checked chunk by chunk through a walk of the test's own.

#include "rewrite/rewrite.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "formats/audio_format.h"
#include "rewrite/byte_transfer.h"
#include "rewrite/riff_chunks.h"
#include "tests/support/byte_writer.h"
#include "tests/support/chunk_list.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

const ReadParameters smallReads = {.mode = 1, .blockBytes = 8192, .blockCount = 4};

const Bytes fmt = ByteWriter().Chunk("fmt ", FmtBody(1, 1, 48000, 16));
const Bytes audio = ByteWriter().Chunk("data", Bytes(1000, 0x5A));

// An image of one chunk with `bytes` (even) in all.
Bytes ImageOf(size_t bytes, std::string_view id = "bext") {
    return ByteWriter().Text(id).Le32(static_cast<uint32_t>(bytes - 8)).Fill(bytes - 8, 0x11);
}

Bytes Padding(size_t bytes) {
    return ByteWriter().Chunk("JUNK", Bytes(bytes - 8, 0));
}

struct Edited {
    bool succeeded;
    Bytes bytes;
};

Edited InPlace(const Bytes& file, const Bytes& image, bool isRf64 = false, bool hasAcid = false) {
    TempFolder folder;
    const auto path = folder.Write("a.wav", file);
    auto reader = std::make_unique<FileReader>(path, smallReads);
    const bool succeeded = RewriteInPlace(path, std::move(reader), image, isRf64, hasAcid);
    return {succeeded, ReadWholeFile(path)};
}

Edited Copy(const Bytes& file, const Bytes& mainImage, const Bytes& tailImage, int32_t kind = kindWave,
            bool hasAcid = false) {
    TempFolder folder;
    const auto path = folder.Write("a.wav", file);
    const auto target = folder.Path("b.wav");
    FileReader reader(path, smallReads);
    const bool succeeded = WriteCopy(reader, target, mainImage, tailImage, kind, hasAcid);
    EXPECT_EQ(ReadWholeFile(path), file);
    return {succeeded, succeeded ? ReadWholeFile(target) : Bytes{}};
}

TEST(RewriteInPlace, TakesAGapThatFitsExactlyOrLeavesRoomForAHeader) {
    const Bytes file = RiffFile(ByteWriter().Add(fmt).Add(Padding(4000)).Add(audio));
    struct Case {
        size_t imageBytes;
        std::string ids;
    };
    for (const auto& [imageBytes, ids] : {Case{4000, "fmt bextdata"}, Case{3992, "fmt bextJUNKdata"},
                                          Case{3996, "fmt JUNKdatabext"}, Case{100, "fmt bextJUNKdata"}}) {
        const auto image = ImageOf(imageBytes);
        const auto edited = InPlace(file, image);
        ASSERT_TRUE(edited.succeeded) << imageBytes;
        EXPECT_EQ(Ids(edited.bytes), ids) << imageBytes;
        EXPECT_EQ(RiffSizeField(edited.bytes), edited.bytes.size() - 8) << imageBytes;
        EXPECT_EQ(Find(edited.bytes, "data")->body, Bytes(1000, 0x5A));
        EXPECT_EQ(Find(edited.bytes, "bext")->body.size(), imageBytes - 8);
    }
}

TEST(RewriteInPlace, BlanksOtherRunsAndCutsTheTrailingOne) {
    const Bytes info = ByteWriter().Chunk("LIST", ByteWriter().Text("INFO").Text("INAM").Le32(2).Text("ab"));
    const Bytes adtl = ByteWriter().Chunk("LIST", ByteWriter().Text("adtl"));
    const Bytes file = RiffFile(ByteWriter()
                                    .Add(ImageOf(610))
                                    .Add(fmt)
                                    .Add(ImageOf(50, "iXML"))
                                    .Add(adtl)
                                    .Add(audio)
                                    .Add(info)
                                    .Add(ImageOf(30, "id3 ")));
    const auto edited = InPlace(file, ImageOf(602));
    ASSERT_TRUE(edited.succeeded);
    EXPECT_EQ(Ids(edited.bytes), "bextJUNKfmt JUNKLISTdata");
    EXPECT_EQ(RiffSizeField(edited.bytes), edited.bytes.size() - 8);
    EXPECT_EQ(ChunkList(edited.bytes)[3].body, Bytes(42, 0));

    // Without a gap for it, the image goes to the trailing run, growing and shrinking there.
    for (const size_t bytes : {700u, 2000u, 660u, 668u}) {
        const auto again = InPlace(edited.bytes, ImageOf(bytes));
        ASSERT_TRUE(again.succeeded);
        EXPECT_EQ(Ids(again.bytes), "JUNKfmt JUNKLISTdatabext");
        const auto shrunk = InPlace(again.bytes, ImageOf(bytes - 4));
        ASSERT_TRUE(shrunk.succeeded);
        EXPECT_EQ(shrunk.bytes.size(), again.bytes.size() - 4);
        EXPECT_EQ(InPlace(shrunk.bytes, ImageOf(bytes)).bytes, again.bytes);
    }
}

TEST(RewriteInPlace, EmptyImageRemovesWhatIsThere) {
    const Bytes file = RiffFile(ByteWriter().Add(fmt).Add(audio).Add(ImageOf(610)));
    const auto edited = InPlace(file, {});
    ASSERT_TRUE(edited.succeeded);
    EXPECT_EQ(edited.bytes, RiffFile(ByteWriter().Add(fmt).Add(audio)));
}

TEST(Rewrite, AcidGoesOnlyForAnotherOne) {
    const Bytes acid = ByteWriter().Chunk("acid", Bytes(24, 7));
    const Bytes file = RiffFile(ByteWriter().Add(fmt).Add(audio).Add(acid));
    EXPECT_EQ(Ids(InPlace(file, ImageOf(40)).bytes), "fmt dataacidbext");
    EXPECT_EQ(Ids(InPlace(file, acid, false, true).bytes), "fmt dataacid");
    EXPECT_EQ(Ids(Copy(file, ImageOf(40), {}).bytes), "fmt bextdataacid");
    EXPECT_EQ(Ids(Copy(file, acid, {}, kindWave, true).bytes), "fmt aciddata");
}

TEST(RewriteInPlace, RefusesWhatWouldTurnTagsIntoAudio) {
    const Bytes unfinished = ByteWriter().Text("data").Le32(0).Fill(100, 0x5A);
    const Bytes overlong = ByteWriter().Text("data").Le32(5000).Fill(100, 0x5A);
    const Bytes allOnes = ByteWriter().Text("data").Le32(0xFFFFFFFF).Fill(100, 0x5A);
    for (const auto& data : {unfinished, overlong, allOnes}) {
        const Bytes file = RiffFile(ByteWriter().Add(fmt).Add(data));
        const auto edited = InPlace(file, ImageOf(50));
        EXPECT_FALSE(edited.succeeded);
        EXPECT_EQ(edited.bytes, file);
        // A gap in front of the audio still serves.
        EXPECT_TRUE(
            InPlace(RiffFile(ByteWriter().Add(fmt).Add(Padding(50)).Add(data)), ImageOf(50)).succeeded);
        // A copy says how long the audio is, so that what follows is no part of it.
        const auto copied = Copy(file, ImageOf(50), ImageOf(60, "ID3 "));
        ASSERT_TRUE(copied.succeeded);
        EXPECT_EQ(Ids(copied.bytes), "fmt bextdataID3 ");
        EXPECT_EQ(Find(copied.bytes, "data")->body, Bytes(100, 0x5A));
    }
}

TEST(Rewrite, BytesBehindTheLastChunkStay) {
    for (const Bytes& garbage : {Bytes(5, 'x'), Bytes(128, 'T')}) {
        Bytes file = RiffFile(ByteWriter().Add(fmt).Add(audio).Add(ImageOf(100)));
        file.insert(file.end(), garbage.begin(), garbage.end());
        const auto refused = InPlace(file, ImageOf(200));
        EXPECT_FALSE(refused.succeeded);
        EXPECT_EQ(refused.bytes, file);
        const auto fits = InPlace(file, ImageOf(60));
        ASSERT_TRUE(fits.succeeded);
        EXPECT_EQ(Bytes(fits.bytes.end() - static_cast<int64_t>(garbage.size()), fits.bytes.end()), garbage);

        const auto copied = Copy(file, {}, ImageOf(200, "LIST"));
        ASSERT_TRUE(copied.succeeded);
        Bytes wanted = RiffFile(ByteWriter().Add(fmt).Add(audio).Add(ImageOf(200, "LIST")));
        wanted.insert(wanted.end(), garbage.begin(), garbage.end());
        EXPECT_EQ(copied.bytes, wanted);
    }
}

// Zeros are empty chunks, and there may be millions: they are kept, and one step of the walk.
TEST(Rewrite, RunsOfZerosAreOneChunk) {
    const Bytes zeros(80008);
    const auto fileWith = [&](const Bytes& image) {
        return RiffFile(ByteWriter().Add(fmt).Add(image).Add(zeros).Add(audio).Add(zeros));
    };
    const Bytes file = fileWith({});
    EXPECT_EQ(Copy(file, ImageOf(60), {}).bytes, fileWith(ImageOf(60)));
    EXPECT_EQ(InPlace(file, ImageOf(60)).bytes,
              RiffFile(ByteWriter().Add(fmt).Add(zeros).Add(audio).Add(zeros).Add(ImageOf(60))));

    const TempFolder folder;
    FileReader reader(folder.Write("file.wav", file), {});
    RiffChunkWalk walk(reader, false, false);
    RiffChunk chunk;
    int steps = 0;
    while (walk.Next(chunk) == WalkStep::chunk)
        ++steps;
    EXPECT_EQ(steps, 4);
}

TEST(Rewrite, SuppliesAMissingPadByte) {
    const Bytes odd = ByteWriter().Text("data").Le32(11).Fill(11, 0x5A);
    const Bytes file = RiffFile(ByteWriter().Add(fmt).Add(odd));
    const Bytes wanted = RiffFile(ByteWriter().Add(fmt).Add(odd).U8(0).Add(ImageOf(50)));
    EXPECT_EQ(InPlace(file, ImageOf(50)).bytes, wanted);
    EXPECT_EQ(Copy(file, {}, ImageOf(50)).bytes, wanted);
}

TEST(Rewrite, Rf64KeepsItsDs64AndGetsBothSizes) {
    const Bytes ds64 = ByteWriter().Chunk(
        "ds64", ByteWriter().Le64(999999).Le64(1000).Le64(500).Le32(1).Text("abcd").Le64(6));
    const Bytes wideAudio = ByteWriter().Text("data").Le32(0xFFFFFFFF).Fill(1000, 0x5A);
    const Bytes wideChunk = ByteWriter().Text("abcd").Le32(0xFFFFFFFF).Text("sixsix");
    for (const auto kind : {kindRf64, kindBw64}) {
        const auto name = kind == kindRf64 ? "RF64" : "BW64";
        const Bytes file = RiffFile(ByteWriter().Add(ds64).Add(fmt).Add(wideAudio).Add(wideChunk), name);
        const auto inPlace = InPlace(file, ImageOf(50), true);
        const auto copied = Copy(file, {}, ImageOf(50), kind);
        ASSERT_TRUE(inPlace.succeeded && copied.succeeded);
        EXPECT_EQ(inPlace.bytes, copied.bytes);
        EXPECT_EQ(RiffSizeField(copied.bytes), copied.bytes.size() - 8);
        const Bytes sizes = ByteWriter().Le64(copied.bytes.size() - 8).Le64(1000).Le64(500);
        EXPECT_TRUE(std::equal(sizes.begin(), sizes.end(), copied.bytes.begin() + 20));
        EXPECT_EQ(Bytes(copied.bytes.end() - 50, copied.bytes.end()), ImageOf(50));
    }
    // A size of 0 runs to the end of the file, here too.
    for (const Bytes& body : {Bytes(100, 0x5A), Bytes()}) {
        const Bytes file = RiffFile(ByteWriter().Add(ds64).Add(fmt).Text("data").Le32(0).Add(body), "RF64");
        EXPECT_FALSE(InPlace(file, ImageOf(50), true).succeeded);
        EXPECT_EQ(Ids(Copy(file, {}, ImageOf(50), kindRf64).bytes),
                  body.empty() ? "ds64fmt bextdata" : "ds64fmt databext");
    }
    EXPECT_FALSE(InPlace(RiffFile(ByteWriter().Add(fmt).Add(audio), "RF64"), ImageOf(50), true).succeeded);
    EXPECT_FALSE(Copy(RiffFile(ByteWriter().Add(fmt).Add(audio), "RF64"), {}, {}, kindRf64).succeeded);
}

TEST(Rewrite, FillerCoversAnyLength) {
    for (const int64_t length : {8, 9, 100, 8192, 8200, 8201, 30000}) {
        TempFolder folder;
        const auto path = folder.Write("f", Bytes(40000, 1));
        {
            FileWriter writer(path.c_str(), {.mode = 0, .openExisting = true});
            ASSERT_TRUE(FillWithJunk(100, writer, length));
        }
        Bytes wanted(40000, 1);
        const auto body = static_cast<size_t>(length - 8);
        const Bytes filler = ByteWriter().Text("JUNK").Le32(static_cast<uint32_t>(body)).Zeros(body);
        std::ranges::copy(filler, wanted.begin() + 100);
        EXPECT_EQ(ReadWholeFile(path), wanted);
    }
}

// Random chunk lists, random images: what is kept stays, byte for byte and in order; what is new is there;
// sizes agree.
TEST(Rewrite, KeepsEveryChunkOfRandomFiles) {
    std::mt19937 random(7);
    const std::string_view ids[] = {"JUNK", "bext", "iXML", "cue ", "smpl", "abcd", "fact", "_PMX", "PAD_"};
    for (int round = 0; round < 200; ++round) {
        ByteWriter chunks;
        const auto some = [&] {
            for (auto n = random() % 4; n > 0; --n)
                chunks.Chunk(ids[random() % std::size(ids)],
                             Bytes(random() % 200, static_cast<uint8_t>(random())));
        };
        some();
        chunks.Add(fmt);
        some();
        chunks.Add(audio);
        some();
        const Bytes file = RiffFile(chunks);
        const auto kept = KeptChunks(file);
        const Bytes image = ImageOf(random() % 300 / 2 * 2 + 8);
        for (const auto& edited : {InPlace(file, image), Copy(file, image, {}), Copy(file, {}, image)}) {
            ASSERT_TRUE(edited.succeeded) << round;
            EXPECT_EQ(KeptChunks(edited.bytes), kept) << round;
            EXPECT_EQ(RiffSizeField(edited.bytes), edited.bytes.size() - 8);
            ASSERT_TRUE(Find(edited.bytes, "bext")) << round;
            EXPECT_EQ(Find(edited.bytes, "bext")->body, Bytes(image.begin() + 8, image.end()));
            EXPECT_FALSE(Find(edited.bytes, "iXML"));
        }
    }
}

}  // namespace
}  // namespace vantor::test
