#include "formats/markers.h"

#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

constexpr uint32_t rate = 44100;

// Pairs of id and frame; the count in front is off by `miscount`.
Bytes Cues(std::initializer_list<std::pair<uint32_t, uint32_t>> cues, uint32_t miscount = 0) {
    ByteWriter body;
    body.Le32(static_cast<uint32_t>(cues.size()) + miscount);
    for (const auto& [id, frame] : cues)
        body.Le32(id).Zeros(16).Le32(frame);
    return ByteWriter().Chunk("cue ", body);
}

Bytes Text(std::string_view kind, uint32_t id, std::string_view text) {
    return ByteWriter().Chunk(kind, ByteWriter().Le32(id).Text(text));
}

Bytes Labelled(uint32_t id, uint32_t frames, std::string_view text = {}) {
    return ByteWriter().Chunk("ltxt", ByteWriter().Le32(id).Le32(frames).Zeros(12).Text(text));
}

Bytes Adtl(std::initializer_list<Bytes> subChunks) {
    ByteWriter list;
    list.Text("adtl");
    for (const auto& subChunk : subChunks)
        list.Add(subChunk);
    return ByteWriter().Chunk("LIST", list);
}

Bytes Sampler(uint32_t loops, uint32_t extra) {
    ByteWriter smpl;
    smpl.Zeros(28).Le32(loops).Le32(extra).Le32(3).Le32(0).Le32(0).Le32(rate / 2).Zeros(8).Zeros(2);
    return ByteWriter().Chunk("smpl", smpl);
}

std::string MarkersOf(const Bytes& chunks, uint32_t sampleRate = rate) {
    return MarkersText(ParsePlayable(WaveFile(FmtBody(1, 1, sampleRate, 16), chunks))->format.markers);
}

TEST(Markers, AreReadFromChunksThatAddUp) {
    const Bytes verse = Text("labl", 1, "Verse"), note = Text("note", 1, "x"), ltxt = Labelled(1, 0, "y");
    const auto both = [](const Bytes& first, const Bytes& second) {
        return ByteWriter().Add(first).Add(second);
    };
    const auto broken = [&](uint32_t size) {  // after a label that is whole
        return Adtl({verse, ByteWriter().Text("labl").Le32(size).Le32(2).Text("lost")});
    };
    const struct {
        Bytes chunks;
        std::string markers;
    } cases[] = {
        {Cues({{1, 0}, {2, rate / 2}}), "2@0.5"},  // the one at 0 without a name is none
        {Cues({{2, rate}}, 1), ""},
        {Cues({{2, rate}}, 0xFFFFFFFE), ""},
        {Cues({{2, rate}}, 0x80000000), ""},  // 24 times it is 24 in 32 bits
        {Cues({{0x80000000, 100}}), ""},      // a negative id
        // Labels win over notes over labelled texts, in any order.
        {Adtl({verse, note, ltxt}), "1@0 Verse"},
        {Adtl({ltxt, note, verse}), "1@0 Verse"},
        {Adtl({note, ltxt}), "1@0 x"},
        {Adtl({ltxt, Text("labl", 1, "")}), "1@0 y"},
        {Adtl({verse, Text("labl", 1, "again")}), "1@0 Verse"},
        {Adtl({Text("labl", 1, std::string(600, 'a'))}), "1@0 " + std::string(511, 'a')},
        // A region is measured from where its marker stands by then.
        {both(Cues({{1, rate}}), Adtl({Labelled(1, rate)})), "1@1-2"},
        {both(Adtl({Labelled(1, rate)}), Cues({{1, rate}})), "1@1-1"},
        // A list keeps what it said before it broke.
        {broken(8), "1@0 Verse; 2@0 lost"},
        {broken(9), "1@0 Verse"},
        {broken(0x7FFFFFFF), "1@0 Verse"},
        {broken(0xFFFFFFFF), "1@0 Verse"},
        {broken(3), "1@0 Verse"},  // too small for its id
        {Sampler(1, 2), "3@0-0.5"},
        {Sampler(1, 1), ""},
        {Sampler(178956971, 10), ""},  // 24 times it is 8 in 32 bits
    };
    for (const auto& c : cases)
        EXPECT_EQ(MarkersOf(c.chunks), c.markers) << "case " << &c - cases;
    EXPECT_EQ(MarkersOf(both(Cues({{2, 9}}), Adtl({verse})), 0), "");
    EXPECT_EQ(MarkersOf(Cues({{2, 9}}), 1), "");
}

TEST(Markers, ManyCuesAndLabelsFindEachOther) {
    constexpr uint32_t count = 100000;
    ByteWriter cues, labels;
    cues.Le32(2 * count);
    labels.Text("adtl");
    for (uint32_t i = 0; i < 2 * count; ++i)
        cues.Le32(i % count).Zeros(16).Le32(i < count ? 0 : rate);  // every id twice
    for (uint32_t i = count; i-- > 0;)
        labels.Add(Text("labl", i, "m"));
    const auto parsed =
        ParsePlayable(WaveFile(pcmFmt, ByteWriter().Chunk("cue ", cues).Chunk("LIST", labels)));
    const auto& markers = parsed->format.markers;
    ASSERT_EQ(markers.size(), count);
    EXPECT_EQ(MarkersText({markers[17], markers[count - 1]}), "17@1 m; 99999@1 m");
}

struct Rf64Entry {
    uint32_t flags;
    uint64_t frame;
    uint32_t id;
    std::string_view label = {};
};

std::string PlaceRf64(std::vector<Marker> markers, std::initializer_list<Rf64Entry> entries,
                      size_t tail = 0) {
    ByteWriter body;
    for (const auto& entry : entries)
        body.Le32(entry.flags).Le64(entry.frame).Zeros(16).Field(entry.label, 256).Le32(entry.id).Zeros(32);
    ReadRf64Markers(body.Zeros(tail).Done(), rate, markers);
    return MarkersText(markers);
}

TEST(Rf64Markers, MoveTheMarkerOfTheirIdAndPlaceOrMakeIt) {
    constexpr uint64_t far = (uint64_t{1} << 32) * rate + rate;  // the same place in 32 bits
    const Marker cue{1, 1, 0, false, "old", nameFromLabl};
    const Marker other{2, 1, 0, false, {}, nameNone};
    const Marker region{1, 1, 3, true, {}, nameNone};
    // Of two alike the first moves, then the second.
    EXPECT_EQ(PlaceRf64({other, cue, region}, {{1, far, 1, "new"}, {1 | 8, far, 1, "unread"}}, 319),
              "2@1; 1@4294967297 new; 1@4294967297-4294967299");
    EXPECT_EQ(PlaceRf64({}, {{0, rate, 1}, {1, 2 * rate, 4, "a"}, {0, 3 * rate, 0xDEADBEEF}, {1, rate, 5}}),
              "4@2-3 a; 5@1");
    EXPECT_EQ(PlaceRf64({}, {{1, rate, 5}, {1, rate, 5}}), "5@1");  // a marker made is found again
}

}  // namespace
}  // namespace vantor::test
