// Changes of chunks whose fields have fixed places, and of lists of items: byte for byte, with what is
// refused.
#include <gtest/gtest.h>

#include <array>

#include "fileio/byte_order.h"
#include "metadata/patch/merge_chunks.h"
#include "metadata/patch/patch_chunks.h"
#include "tests/metadata/recorder_chunks.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

using Patcher = Patched (*)(const PatchInput&);

const Bytes refusedBody = BytesOf("refused");

// The changed body; empty when the chunk goes.
Bytes Changed(Patcher patch, const Bytes& body, const std::string& change) {
    const auto store = StoreOf(Listed("", change));
    const auto patched = patch({body, store});
    return patched ? *patched : refusedBody;
}

using Loudness = std::array<int16_t, 5>;

Bytes Bext(int version, const Loudness& loudness, std::string_view description = "d") {
    ByteWriter body;
    body.Field(description, 256).Zeros(90).Le16(static_cast<uint16_t>(version)).Zeros(64);
    for (const int16_t value : loudness)
        body.Le16(static_cast<uint16_t>(value));
    return body.Zeros(180);
}

TEST(FieldPatches, ALoudnessMakesABextOfVersion2AndTheLastTakesItAway) {
    const Loudness none = {}, some = {1, 2, 3, 4, 5}, range = {0, 5, 0, 0, 0};
    struct Case {
        Bytes before;
        const char* change;
        Bytes after;
    };
    const Case cases[] = {
        {Bext(1, some), "BWF:Description=new", Bext(1, some, "new")},
        {Bext(1, some), "BWF:LoudnessValue=-23.005|BWF:MaxShortTermLoudness=400",
         Bext(2, {-2301, 0, 0, 0, 32767})},
        {Bext(0, some), "BWF:LoudnessRange=0.05", Bext(2, range)},
        {Bext(2, some), "BWF:MaxTruePeakLevel=-400", Bext(2, {1, 2, -32768, 4, 5})},
        {Bext(3, some), "BWF:MaxMomentaryLoudness=", Bext(3, {1, 2, 3, 0, 5})},
        {Bext(2, range), "BWF:LoudnessRange=", Bext(1, none)},
        {Bext(3, range), "BWF:LoudnessRange=", Bext(3, none)},
        {Bext(0, some), "BWF:LoudnessRange=", Bext(0, none)},
        // Nothing in it but its version: it goes.
        {Bext(2, range, ""), "BWF:LoudnessRange=", {}},
        {Bext(1, none), "BWF:Description=", {}},
        {Bext(1, some), "BWF:Description=", Bext(1, some, "")},
        {BlankBext(), "BWF:Description=d", Bext(1, none)},
        {ByteWriter().Add(Bext(1, none)).U8(0),
         "BWF:Description=", ByteWriter().Add(Bext(1, none, "")).U8(0)},
        {Bytes(601), "BWF:Description=d", refusedBody},
    };
    for (const auto& [before, change, after] : cases)
        EXPECT_EQ(Changed(PatchBext, before, change), after) << change;
}

// A cart with timers in the first places: four characters and a position each.
Bytes Cart(const std::vector<std::pair<const char*, int>>& timers, std::string_view url = "",
           std::string_view tagText = "") {
    ByteWriter timerBytes;
    for (const auto& [usage, position] : timers)
        timerBytes.Field(usage, 4).Le32(static_cast<uint32_t>(position));
    return ByteWriter()
        .Text("0101")
        .Zeros(680)
        .Field(TextOf(timerBytes), 64)
        .Zeros(276)
        .Field(url, 1024)
        .Text(tagText);
}

TEST(FieldPatches, TimersOfACartKeepTheirPlaces) {
    const Bytes full = Cart({{"A", 1}, {"B", 2}, {"C", 3}, {"D", 4}, {"E", 5}, {"F", 6}, {"G", 7}, {"H", 8}});
    const Bytes unused = Cart({{"A", 1}, {"B", 0}, {"C", -3}});
    struct Case {
        Bytes before;
        const char* change;
        Bytes after;
    };
    const Case cases[] = {
        {full, "CART:H=9",
         Cart({{"A", 1}, {"B", 2}, {"C", 3}, {"D", 4}, {"E", 5}, {"F", 6}, {"G", 7}, {"H", 9}})},
        {full, "CART:NEW=9", full},
        {full, "CART:A=|CART:NEW=9",
         Cart({{"NEW", 9}, {"B", 2}, {"C", 3}, {"D", 4}, {"E", 5}, {"F", 6}, {"G", 7}, {"H", 8}})},
        // What is at no position is none, and stays.
        {unused, "CART:B=2|CART:C=3", Cart({{"A", 1}, {"B", 0}, {"C", -3}, {"B", 2}, {"C", 3}})},
        {unused, "CART:B=|CART:C=", unused},
        {unused, "CART:=5|CART:LONGER=5|INFO:ABCD=5", unused},
        {unused, "CART:A=x", Cart({{"", 0}, {"B", 0}, {"C", -3}})},
        {unused, "CART:URL=5", Cart({{"A", 1}, {"B", 0}, {"C", -3}}, "5")},
        {Cart({{"A", 1}}), "CART:A=", {}},
        {Cart({}, "u"), "CART:URL=", {}},
        {BlankCart(), "CART:URL=u", Cart({}, "u")},
        // An odd text gets a zero, or loses one.
        {Cart({}, "u"), "CART:TagText=odd", Cart({}, "u", std::string_view("odd\0", 4))},
        {Cart({}, "u", std::string_view("even\0", 5)), "CART:TagText=odd", Cart({}, "u", "odd")},
        {Cart({}, "u", std::string_view("odd\0\0x", 6)), "CART:TagText=even",
         Cart({}, "u", std::string_view("even\0\0x\0", 8))},
        {Cart({}, "u", "x"), "CART:TagText=", Cart({}, "u", std::string_view("\0", 1))},
        {Bytes(2047), "CART:URL=u", refusedBody},
    };
    for (const auto& [before, change, after] : cases)
        EXPECT_EQ(Changed(PatchCart, before, change), after) << change;
}

Bytes Acid(uint32_t flags, uint16_t note, uint32_t beats, float tempo) {
    return ByteWriter().Le32(flags).Le16(note).Le16(0x8000).Zeros(4).Le32(beats).Le16(4).Le16(3).LeFloat(
        tempo);
}

TEST(FieldPatches, ALoopTakesWhatIsOneAndLeavesTheRest) {
    const Bytes loop = Acid(0x1E, 66, 8, 120);
    const Bytes unset = Acid(0x14, 66, 0, 0);
    struct Case {
        Bytes before;
        const char* change;
        Bytes after;
    };
    const Case cases[] = {
        {loop, "ACID:BPM=90.5", Acid(0x1E, 66, 8, 90.5f)},
        {loop, "ACID:BPM=", Acid(0x16, 66, 8, 0)},
        {loop, "ACID:BPM=1", loop},
        {loop, "ACID:BPM=fast|ACID:KEY=C", loop},
        {unset, "ACID:BPM=2", Acid(0x1C, 66, 0, 2)},
        {loop, "ACID:KEY=C", Acid(0x1E, 60, 8, 120)},
        {loop, "ACID:KEY=B", Acid(0x1E, 71, 8, 120)},
        {loop, "ACID:KEY=", Acid(0x1C, 66, 8, 120)},
        {loop, "ACID:KEY=H", loop},
        {unset, "ACID:KEY=C", Acid(0x16, 60, 0, 0)},
        {loop, "ACID:BEATS=1023", Acid(0x0E, 66, 1023, 120)},
        {loop, "ACID:BEATS=1", Acid(0x0E, 66, 1, 120)},
        {loop, "ACID:BEATS=", Acid(0x1E, 66, 0, 120)},
        {loop, "ACID:BEATS=0", loop},
        {loop, "ACID:BEATS=1024", loop},
        // A short one has neither meter nor tempo; zeros behind a whole one are none of it.
        {Bytes(16), "ACID:BEATS=1", ByteWriter().Zeros(12).Le32(1).Le16(4).Le16(4).Zeros(4)},
        {Bytes(20), "ACID:BEATS=1", ByteWriter().Zeros(12).Le32(1).Zeros(8)},
        {ByteWriter().Add(loop).Zeros(2), "ACID:BEATS=1", Acid(0x0E, 66, 1, 120)},
        {ByteWriter().Add(loop).U8(0).U8(1), "ACID:BEATS=1", refusedBody},
        {Bytes(15), "ACID:BEATS=1", refusedBody},
    };
    for (const auto& [before, change, after] : cases)
        EXPECT_EQ(Changed(PatchAcid, before, change), after) << change;
    EXPECT_EQ(BlankAcid(), Bytes(24));
}

TEST(FieldPatches, ItemsOfAListKeepTheirBytes) {
    const auto info = [] { return ByteWriter().Text("INFO"); };
    const Bytes name = BytesOf("n\0"s), artist = BytesOf("a\0"s);
    struct Case {
        Bytes before;
        const char* change;
        Bytes after;
    };
    const Case cases[] = {
        {info().Chunk("INAM", BytesOf("old\0"s)), "INFO:INAM=n", info().Chunk("INAM", name)},
        {info().Chunk("INAM", name).Chunk("ICMT", {}), "INFO:IART=a",
         info().Chunk("INAM", name).Chunk("IART", artist).Text("ICMT").Le32(0)},
        {info().Chunk("INAM", name).Text("ICMT").Le32(5).Text("four"), "INFO:IART=a",
         info().Chunk("INAM", name).Chunk("IART", artist).Text("ICMT").Le32(5).Text("four")},
        {info().Text("INAM").Le32(1).Text("n"), "INFO:IART=a",
         info().Text("INAM").Le32(1).Text("n").U8(0).Chunk("IART", artist)},
        {info().Chunk("\0XYZ"s, name), "INFO:=", info().Chunk("\0XYZ"s, name)},
        {info().Chunk("INAM", name), "INFO:LONGER=x|INFO:IART=|CART:ABCD=x", info().Chunk("INAM", name)},
        // All of a removed key go.
        {info().Chunk("ICMT", name).Chunk("INAM", name).Chunk("ICMT", artist),
         "INFO:ICMT=", info().Chunk("INAM", name)},
        {info().Chunk("INAM", name), "INFO:INAM=", {}},
        {BlankInfo(), "INFO:INAM=n", info().Chunk("INAM", name)},
        {BytesOf("INF"), "INFO:INAM=n", refusedBody},
    };
    for (const auto& [before, change, after] : cases)
        EXPECT_EQ(Changed(PatchInfo, before, change), after) << change;
}

using Merger = int (*)(ChunkImage&, const MetadataStore&, std::span<const ChunkBody>);

Bytes Merged(Merger merge, const std::string& entries, const std::vector<ChunkBody>& old) {
    ChunkImage image = {0xEE};
    const int appended = merge(image, StoreOf(Listed("", entries)), old);
    EXPECT_EQ(image.size() > 1, appended > 0);
    return {image.begin() + 1, image.end()};
}

TEST(MergedChunks, HoldTheEntriesAndWhatNoKeyStandsFor) {
    const auto info = [] { return ByteWriter().Text("INFO"); };
    const Bytes name = BytesOf("n\0"s), other = BytesOf("o\0"s), last = BytesOf("l\0"s);
    const Bytes first = info().Chunk("INAM", name).Text("ICMT").Le32(1).Text("c");
    const Bytes second = info().Chunk("INAM", last).Chunk("IGNR", name);
    const auto list = [](const Bytes& body) { return Bytes(ByteWriter().Chunk("LIST", body)); };
    EXPECT_EQ(Merged(MergeInfoChunk, "INFO:INAM=n|INFO:ICMT=c|BWF:Originator=o", {first}), list(first));
    EXPECT_EQ(Merged(MergeInfoChunk, "INFO:ICMT=c|INFO:IART=o", {first, BytesOf("INF"), second}),
              list(info().Text("ICMT").Le32(1).Text("c").U8(0).Chunk("IART", other)));
    EXPECT_EQ(Merged(MergeInfoChunk, "INFO:INAM=l|INFO:ICMT=c|INFO:IGNR=n", {first, BytesOf("INFO"), second}),
              list(info()
                       .Chunk("INAM", name)
                       .Text("ICMT")
                       .Le32(1)
                       .Text("c")
                       .U8(0)
                       .Chunk("INAM", last)
                       .Chunk("IGNR", name)));
    EXPECT_EQ(Merged(MergeInfoChunk, "BWF:Originator=o", {first}), Bytes{});
    const Bytes cart = Cart({{"A", 0}}, "old"), newCart = Cart({{"A", 0}}, "u");
    EXPECT_EQ(Merged(MergeCartChunk, "CART:URL=u|INFO:ABCD=5", {Cart({}, "not this"), cart}),
              Bytes(ByteWriter().Chunk("cart", newCart)));
    EXPECT_EQ(Merged(MergeCartChunk, "CART:URL=u", {}), Bytes(ByteWriter().Chunk("cart", Cart({}, "u"))));
    EXPECT_EQ(Merged(MergeCartChunk, "INFO:ABCD=5", {Cart({}, "u")}), Bytes{});
}

}  // namespace
}  // namespace vantor::test
