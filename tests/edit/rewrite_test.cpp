// Rewrites of small files: what becomes of every byte.

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

#include "edit/byte_transfer.h"
#include "edit/chunk_walk.h"
#include "edit/copy_file.h"
#include "fileio/byte_order.h"
#include "formats/audio_format.h"
#include "tests/edit/in_place_edit.h"
#include "tests/support/byte_writer.h"
#include "tests/support/chunk_list.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

const Bytes fmt = ByteWriter().Chunk("fmt ", FmtBody(1, 1, 48000, 16));
const Bytes audio = ByteWriter().Chunk("data", Bytes(1000, 0x5A));

// An image of one chunk with `bytes` (even) in all.
Bytes ImageOf(size_t bytes, std::string_view id = "bext") {
    return ByteWriter().Text(id).Le32(static_cast<uint32_t>(bytes - 8)).Fill(bytes - 8, 0x11);
}

Bytes Riff(std::initializer_list<Bytes> chunks) {
    return RiffFile(Joined(chunks));
}

// The file afterwards, or nothing when the call refused and left it.
using Edited = std::optional<Bytes>;

Edited InPlace(const Bytes& file, const Bytes& image, bool isRf64 = false) {
    const TempFolder folder;
    const auto path = folder.Write("a.wav", file);
    if (EditInPlace(path, image, isRf64)) return ReadWholeFile(path);
    EXPECT_EQ(ReadWholeFile(path), file);
    return std::nullopt;
}

Edited Copy(const Bytes& file, const Bytes& mainImage, const Bytes& tailImage, int32_t kind = kindWave) {
    const TempFolder folder;
    const auto path = folder.Write("a.wav", file);
    const auto target = folder.Path("b.wav");
    FileReader reader(path, smallReads);
    const bool succeeded = WriteCopy(reader, target, {mainImage, tailImage, Replaced(mainImage)}, kind);
    EXPECT_EQ(ReadWholeFile(path), file);
    return succeeded ? Edited(ReadWholeFile(target)) : std::nullopt;
}

const Bytes info = ByteWriter().Chunk("LIST", ByteWriter().Text("INFO").Text("INAM").Le32(2).Text("ab"));
const Bytes adtl = ByteWriter().Chunk("LIST", ByteWriter().Text("adtl"));
const Bytes acid = ByteWriter().Chunk("acid", Bytes(24, 7));
const Bytes odd = ByteWriter().Text("data").Le32(11).Fill(11, 0x5A);
const Bytes garbage(128, 'T');
// A list without a type, which what follows is not.
const Bytes shortList = ByteWriter().Chunk("LIST", {}).Chunk("INFO", Bytes(4));
const Bytes labels = ByteWriter().Chunk("list", ByteWriter().Text("adtl").Chunk("labl", Bytes(8, 'l')));
const Bytes smallLetters =
    ByteWriter().Chunk("list", ByteWriter().Text("info").Text("inam").Le32(2).Text("ab"));
// No format was there yet that would make it a recording that was never finished.
const Bytes emptyAudio = ByteWriter().Chunk("fmt ", Bytes(14)).Chunk("abcd", Bytes(20)).Chunk("data", {});

// An odd body, and a pad byte with a header that could be one or the other.
Bytes OddChunk(uint8_t pad, const Bytes& next) {
    return ByteWriter().Text("odd ").Le32(3).Text("abc").U8(pad).Add(next);
}

TEST(RewriteInPlace, PutsTheImageWhereItFits) {
    const Bytes scattered =
        Riff({ImageOf(610), fmt, ImageOf(50, "iXML"), adtl, audio, info, ImageOf(30, "id3 ")});
    const Bytes shown = Riff({fmt, audio, ImageOf(100)});
    const Bytes zeros(80008), endless = ByteWriter().Text("data").Le32(0).Fill(11, 0x5A);
    const Bytes other = ByteWriter().Chunk("bext", Bytes(52, 0x22)),
                little = ByteWriter().Chunk("data", Bytes(2));
    const struct {
        const char* what;
        Bytes file, image;
        Edited after;
    } cases[] = {
        {"a gap that fits", Riff({fmt, Padding(4000), audio}), ImageOf(4000),
         Riff({fmt, ImageOf(4000), audio})},
        {"room for a header", Riff({fmt, Padding(4000), audio}), ImageOf(3992),
         Riff({fmt, ImageOf(3992), Padding(8), audio})},
        {"no room for a header", Riff({fmt, Padding(4000), audio}), ImageOf(3996),
         Riff({fmt, Padding(4000), audio, ImageOf(3996)})},
        {"a large gap", Riff({fmt, Padding(30001), audio}), ImageOf(100),
         Riff({fmt, ImageOf(100), Padding(29902), audio})},
        {"others are blanked, the trailing ones cut", scattered, ImageOf(602),
         Riff({ImageOf(602), Padding(8), fmt, Padding(50), adtl, audio})},
        {"no gap is large enough", scattered, ImageOf(700),
         Riff({Padding(610), fmt, Padding(50), adtl, audio, ImageOf(700)})},
        {"growing at the end", shown, ImageOf(110), Riff({fmt, audio, ImageOf(110)})},
        {"shrinking at the end", shown, ImageOf(96), Riff({fmt, audio, ImageOf(96)})},
        {"none", shown, {}, Riff({fmt, audio})},
        {"acid stays", Riff({fmt, audio, acid}), ImageOf(40), Riff({fmt, audio, acid, ImageOf(40)})},
        {"acid for another one", Riff({fmt, audio, acid}), acid, Riff({fmt, audio, acid})},
        {"zeros are chunks", Riff({fmt, zeros, audio, zeros}), ImageOf(60),
         Riff({fmt, zeros, audio, zeros, ImageOf(60)})},
        {"a missing pad byte", Riff({fmt, odd}), ImageOf(50), Riff({fmt, odd, Bytes(1), ImageOf(50)})},
        {"no room before what is no chunk", Joined({shown, garbage}), ImageOf(200), std::nullopt},
        {"what is no chunk stays", Joined({shown, garbage}), ImageOf(60),
         Joined({Riff({fmt, audio, ImageOf(60), Padding(40)}), garbage})},
        {"nor what is no header", Joined({shown, Bytes(3, 'T')}), ImageOf(100),
         Joined({shown, Bytes(3, 'T')})},
        {"nothing to remove in front of an odd end", Riff({fmt, odd}), {}, Riff({fmt, odd})},
        {"nor in audio without an end", Riff({fmt, endless}), {}, Riff({fmt, endless})},
        {"nor in front of what is no chunk", Joined({Riff({fmt, audio}), garbage}), {}, std::nullopt},
        {"no room but that of the old ones",
         Joined({Riff({fmt, ImageOf(60), ImageOf(100, "iXML"), audio}), garbage}),
         Joined({other, ImageOf(92, "iXML")}),
         Joined({Riff({fmt, other, ImageOf(92, "iXML"), Padding(8), audio}), garbage})},
        {"exactly that", Joined({Riff({fmt, ImageOf(60), audio}), garbage}), other,
         Joined({Riff({fmt, other, audio}), garbage})},
        {"others there", Joined({Riff({fmt, ImageOf(60, "iXML"), ImageOf(60), audio}), garbage}), other,
         Joined({Riff({fmt, other, Padding(60), audio}), garbage})},
        {"audio alone", Riff({little}), ImageOf(50), Riff({little, ImageOf(50)})},
        {"lists", Riff({fmt, audio, shortList, labels, smallLetters}), ImageOf(50),
         Riff({fmt, audio, shortList, labels, ImageOf(50)})},
    };
    for (const auto& c : cases)
        EXPECT_EQ(InPlace(c.file, c.image), c.after) << c.what;
    const Bytes kept[] = {Joined({emptyAudio, fmt}),
                          Joined({fmt, OddChunk('x', ByteWriter().Chunk("cue ", {}))}),
                          Joined({fmt, OddChunk(0x7F, ByteWriter().Chunk("cue\1", {}))}),
                          // Too long by so little for a header without a pad byte.
                          Joined({fmt, OddChunk('x', ByteWriter().Chunk("cue\1", Bytes(4)))})};
    for (const Bytes& front : kept)
        EXPECT_EQ(InPlace(Riff({front, audio}), ImageOf(50)), Riff({front, audio, ImageOf(50)}))
            << Ids(Riff({front}));
}

// Padding holds the copy of the new chunks when there is room for both, for the marks of each, and between
// them.
TEST(RewriteInPlace, TakesPaddingForTheCopyThatIsLongEnough) {
    const TempFolder folder;
    const auto wayOf = [&](const Bytes& file, size_t newBytes) {
        FileReader reader(folder.Write("a.wav", file), smallReads);
        const Bytes image = ImageOf(newBytes);
        return PlanInPlace(reader, {image, {}, Replaced(image)}, false)->way;
    };
    const auto wayWith = [&](size_t oldBytes, size_t paddingBytes, size_t newBytes) {
        const Bytes file = Riff({fmt, ImageOf(oldBytes), Padding(paddingBytes), audio});
        return wayOf(Joined({file, garbage}), newBytes);
    };
    EXPECT_EQ(wayOf(Riff({fmt, audio}), 50), EditWay::direct);
    EXPECT_EQ(wayOf(Riff({fmt, Padding(100), audio}), 50), EditWay::direct);
    EXPECT_EQ(wayWith(300, 2 * 500 + 64 - 300, 500), EditWay::throughCopy);
    EXPECT_EQ(wayWith(300, 2 * 500 + 62 - 300, 500), EditWay::overwrite);
    EXPECT_EQ(wayWith(500, 300 + 64, 300), EditWay::throughCopy);
    EXPECT_EQ(wayWith(500, 300 + 62, 300), EditWay::overwrite);
    // Padding whose pad byte was left out, so that something behind it is hidden: its end is odd.
    const Bytes hider = ByteWriter().Text("JUNK").Le32(2001).Zeros(2001).Chunk("cue ", Bytes(4));
    EXPECT_EQ(wayOf(Riff({fmt, ImageOf(60), audio, hider}), 60), EditWay::overwrite);
    // At the end of the file that byte is no room.
    const Bytes unpadded = ByteWriter().Text("JUNK").Le32(41).Zeros(41);
    EXPECT_EQ(wayOf(Riff({fmt, audio, unpadded}), 40), EditWay::direct);
    EXPECT_EQ(wayOf(Riff({fmt, audio, unpadded}), 50), EditWay::throughCopy);
}

// Of the padding at the end that an edit was about to add when it was interrupted.
TEST(RewriteInPlace, TakesWhatIsThereOfAHeaderForItsOwnGrowth) {
    const Bytes file = Riff({fmt, audio}), growth = Padding(60008);
    for (const int64_t bytes : {1, 2, 3, 4, 5, 6, 7, 8, 1000})
        EXPECT_EQ(InPlace(Joined({file, {growth.begin(), growth.begin() + bytes}}), ImageOf(50)),
                  Riff({fmt, audio, ImageOf(50)}))
            << bytes;
}

// Takes nothing at `refused`.
struct PaddingSink final : ByteSink {
    int64_t refused = -1, position = 0, zeros = 0;
    std::vector<std::pair<int64_t, int64_t>> chunks;  // as they came: from, to
    [[nodiscard]] bool MoveTo(int64_t to) override {
        position = to;
        return true;
    }
    [[nodiscard]] bool Put(const uint8_t* bytes, int64_t count) override {
        if (position == refused) return false;
        if (bytes[0] == 'J') {
            chunks.emplace_back(position, position + 8 + ReadLe32(bytes + 4));
        } else {
            EXPECT_TRUE(position >= chunks.back().first + 8 && position + count <= chunks.back().second);
            zeros += count;
        }
        position += count;
        return true;
    }
};

// Padding that is longer than one chunk of it: the first of them hides all until the last are written.
TEST(Rewrite, FillsAnyLengthFromItsEnd) {
    constexpr int64_t start = 1000, most = 0x40000000, piece = 0x3FFFFFE0;
    const std::pair<int64_t, std::vector<int64_t>> cases[] = {{8, {0}},
                                                              {most, {0}},
                                                              {most + 2, {piece, 0}},
                                                              {most + piece, {piece, 0}},
                                                              {most + piece + 2, {2 * piece, piece, 0}}};
    for (const auto& [length, offsets] : cases) {
        PaddingSink sink;
        EXPECT_TRUE(FillWithJunk(sink, start, length));
        int64_t end = start + length;
        ASSERT_EQ(sink.chunks.size(), offsets.size()) << length;
        for (size_t i = 0; i < offsets.size(); ++i) {
            EXPECT_EQ(sink.chunks[i], std::pair(start + offsets[i], end)) << length;
            end = start + offsets[i];
        }
        EXPECT_EQ(sink.zeros, length - 8 * std::ssize(offsets));
        for (const int64_t offset : offsets) {
            PaddingSink refusing;
            refusing.refused = start + offset;
            EXPECT_FALSE(FillWithJunk(refusing, start, length)) << length << " " << offset;
        }
    }
}

TEST(RewriteCopy, PutsTheImagesBehindTheFormatAndAtTheEnd) {
    const Bytes zeros(80008), hidden = ByteWriter().Chunk("bext", {});
    const struct {
        const char* what;
        Bytes file, mainImage, tailImage, copy;
    } cases[] = {
        {"both", Riff({fmt, audio, ImageOf(100)}), ImageOf(40), ImageOf(60, "ID3 "),
         Riff({fmt, ImageOf(40), audio, ImageOf(60, "ID3 ")})},
        {"acid stays", Riff({fmt, audio, acid}), ImageOf(40), {}, Riff({fmt, ImageOf(40), audio, acid})},
        {"acid for another one", Riff({fmt, audio, acid}), acid, {}, Riff({fmt, acid, audio})},
        {"two formats", Riff({fmt, fmt, audio}), ImageOf(40), {}, Riff({fmt, ImageOf(40), fmt, audio})},
        {"zeros are chunks",
         Riff({fmt, zeros, audio, zeros}),
         ImageOf(60),
         {},
         Riff({fmt, ImageOf(60), zeros, audio, zeros})},
        {"a missing pad byte", Riff({fmt, odd}), {}, ImageOf(50), Riff({fmt, odd, Bytes(1), ImageOf(50)})},
        {"a tag that a missing pad byte hides stays hidden",
         Riff({fmt, odd, hidden}),
         {},
         ImageOf(50),
         Joined({Riff({fmt, odd, Bytes(1), ImageOf(50)}), ByteWriter().Text("JUNK").Le32(1).U8(0), hidden})},
        {"a tag that is cut off goes",
         Joined({Riff({fmt, audio}), ByteWriter().Text("bext").Le32(500).Fill(20, 'x')}),
         {},
         ImageOf(50),
         Riff({fmt, audio, ImageOf(50)})},
        {"half a header stays",
         Joined({Riff({fmt, audio}), ByteWriter().Text("bext12")}),
         {},
         ImageOf(50),
         Joined({Riff({fmt, audio, ImageOf(50)}), ByteWriter().Text("bext12")})},
        {"what is no chunk stays",
         Joined({Riff({fmt, audio}), garbage}),
         {},
         ImageOf(200, "LIST"),
         Joined({Riff({fmt, audio, ImageOf(200, "LIST")}), garbage})},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Copy(c.file, c.mainImage, c.tailImage), c.copy) << c.what;
    EXPECT_FALSE(Copy(Riff({audio}), {}, ImageOf(50))) << "nothing but a format leads to the audio";
}

TEST(Rewrite, NeverTurnsTagsIntoAudio) {
    for (const uint32_t sizeField : {0u, 5000u, 0xFFFFFFFFu}) {  // never finished, longer than the file
        const Bytes data = ByteWriter().Text("data").Le32(sizeField).Fill(100, 0x5A);
        EXPECT_FALSE(InPlace(Riff({fmt, data}), ImageOf(50)));
        // A gap in front of the audio still serves.
        EXPECT_EQ(InPlace(Riff({fmt, Padding(50), data}), ImageOf(50)), Riff({fmt, ImageOf(50), data}));
        // A copy says how long the audio is, so that what follows is no part of it.
        EXPECT_EQ(
            Copy(Riff({fmt, data}), ImageOf(50), ImageOf(60, "ID3 ")),
            Riff({fmt, ImageOf(50), ByteWriter().Chunk("data", Bytes(100, 0x5A)), ImageOf(60, "ID3 ")}));
    }
}

TEST(Rewrite, Rf64KeepsItsDs64AndGetsBothSizes) {
    const auto fileOf = [](std::string_view name, uint64_t riffSize, const Bytes& chunks) {
        const auto sizes = ByteWriter().Le64(riffSize).Le64(1000).Le64(500).Le32(1).Text("abcd").Le64(6);
        return RiffFile(ByteWriter().Chunk("ds64", sizes).Add(fmt).Add(chunks), name);
    };
    const Bytes wide = ByteWriter()
                           .Text("data")
                           .Le32(0xFFFFFFFF)
                           .Fill(1000, 0x5A)
                           .Text("abcd")
                           .Le32(0xFFFFFFFF)
                           .Text("sixsix");
    for (const auto kind : {kindRf64, kindBw64}) {
        const auto name = kind == kindRf64 ? "RF64" : "BW64";
        const Bytes file = fileOf(name, 999999, wide);
        const auto copied = Copy(file, {}, ImageOf(50), kind);
        EXPECT_EQ(copied, InPlace(file, ImageOf(50), true));
        Bytes wanted = fileOf(name, file.size() + 50 - 8, Joined({wide, ImageOf(50)}));
        wanted[4] = 0;
        ASSERT_TRUE(copied);
        EXPECT_EQ(RiffSizeField(*copied), copied->size() - 8);
        EXPECT_TRUE(std::equal(copied->begin() + 8, copied->end(), wanted.begin() + 8, wanted.end()));
    }
    // A size of 0 runs to the end of the file, here too.
    for (const Bytes& body : {Bytes(100, 0x5A), Bytes()}) {
        const Bytes file = fileOf("RF64", 0, ByteWriter().Text("data").Le32(0).Add(body));
        EXPECT_FALSE(InPlace(file, ImageOf(50), true));
        EXPECT_EQ(Ids(*Copy(file, {}, ImageOf(50), kindRf64)),
                  body.empty() ? "ds64fmt bextdata" : "ds64fmt databext");
    }
    // Two chunks that leave their size to ds64 and one cut off: no ds64 of the copy is right for both.
    const Bytes twice = fileOf("RF64", 0, Joined({wide, wide}));
    EXPECT_TRUE(Copy(twice, {}, ImageOf(50), kindRf64));
    EXPECT_FALSE(Copy(Bytes(twice.begin(), twice.end() - 500), {}, ImageOf(50), kindRf64));
    // What `ds64` says of audio that has its own size is left alone, and so is a table longer than it is.
    Bytes narrow = fileOf("RF64", 0, ByteWriter().Chunk("data", Bytes(600, 0x5A)));
    narrow[44] = 200;
    const auto copy = Copy(narrow, {}, ImageOf(50), kindRf64);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(std::equal(narrow.begin() + 28, narrow.end(), copy->begin() + 28));
    for (const Bytes& front : {Bytes(), Padding(50)}) {
        const Bytes withoutDs64 = RiffFile(Joined({front, fmt, audio}), "RF64");
        EXPECT_FALSE(InPlace(withoutDs64, ImageOf(50), true));
        EXPECT_FALSE(Copy(withoutDs64, {}, {}, kindRf64));
    }
}

// Zeros are empty chunks, and there may be millions.
TEST(Rewrite, WalksOverARunOfZerosInOneStep) {
    const TempFolder folder;
    FileReader reader(folder.Write("file.wav", Riff({fmt, Bytes(80008), audio, Bytes(80008)})), {});
    RiffChunkWalk walk(reader, false, tagSchemes);
    RiffChunk chunk;
    int steps = 0;
    while (walk.Next(chunk) == WalkStep::chunk)
        ++steps;
    EXPECT_EQ(steps, 4);
}

// Random chunk lists, random images: what is kept stays, byte for byte and in order; what is new is there;
// sizes agree.
TEST(Rewrite, KeepsEveryChunkOfRandomFiles) {
    std::mt19937 random(7);
    const std::string_view ids[] = {"JUNK", "bext", "iXML", "cue ", "smpl", "abcd", "fact", "_PMX", "PAD_"};
    const auto some = [&] {
        ByteWriter chunks;
        for (auto n = random() % 4; n > 0; --n)
            chunks.Chunk(ids[random() % std::size(ids)],
                         Bytes(random() % 200, static_cast<uint8_t>(random())));
        return chunks.Done();
    };
    for (int round = 0; round < 200; ++round) {
        const Bytes file = Riff({some(), fmt, some(), audio, some()});
        const Bytes image = ImageOf(random() % 300 / 2 * 2 + 8);
        for (const auto& edited : {InPlace(file, image), Copy(file, image, {}), Copy(file, {}, image)}) {
            ASSERT_TRUE(edited) << round;
            EXPECT_EQ(KeptChunks(*edited), KeptChunks(file)) << round;
            EXPECT_EQ(RiffSizeField(*edited), edited->size() - 8);
            EXPECT_EQ(Find(*edited, "bext"), ChunkList(RiffFile(image))[0]) << round;
            EXPECT_FALSE(Find(*edited, "iXML"));
        }
    }
}

}  // namespace
}  // namespace vantor::test
