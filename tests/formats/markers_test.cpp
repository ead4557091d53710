#include "formats/markers.h"

#include <algorithm>

#include "fileio/byte_order.h"
#include "tests/formats/parse_fixture.h"
#include "tests/support/failing_allocation.h"

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

// The same with lists too long to be held in memory, for an entry of no kind in front.
Bytes WithLongLists(Bytes chunks) {
    const Bytes filler = ByteWriter().Chunk("file", Bytes(5001));
    const std::string_view type = "adtl";
    for (auto at = std::search(chunks.begin(), chunks.end(), type.begin(), type.end()); at != chunks.end();
         at = std::search(at, chunks.end(), type.begin(), type.end())) {
        WriteLe32(&*at - 4, static_cast<uint32_t>(ReadLe32(&*at - 4) + filler.size()));
        at = chunks.insert(at + 4, filler.begin(), filler.end());
    }
    return chunks;
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
        {both(Adtl({ByteWriter().Text("labl").Le32(4).Le32(3)}), Cues({{2, rate}, {3, rate}})), "3@1; 2@1"},
        // Labels win over notes over labelled texts, in any order.
        {Adtl({verse, note, ltxt}), "1@0 Verse"},
        {Adtl({ltxt, note, verse}), "1@0 Verse"},
        {Adtl({note, ltxt}), "1@0 x"},
        {Adtl({ltxt, Text("labl", 1, "")}), "1@0 y"},
        {Adtl({verse, Text("labl", 1, "again")}), "1@0 Verse"},
        {Adtl({Text("labl", 1, std::string(600, 'a'))}), "1@0 " + std::string(511, 'a')},
        {Adtl({Text("labl", 1, "caf\xE9 \x80")}), "1@0 caf\u00E9 \u20AC"},  // Windows-1252
        // A region is measured from where its marker stands by then.
        {both(Cues({{1, rate}}), Adtl({Labelled(1, rate)})), "1@1-2"},
        {both(Adtl({Labelled(1, rate)}), Cues({{1, rate}})), "1@1-1"},
        // A list keeps what it said before it broke.
        {broken(8), "1@0 Verse; 2@0 lost"},
        {broken(9), "1@0 Verse"},
        {broken(0x7FFFFFFF), "1@0 Verse"},
        {broken(0xFFFFFFFF), "1@0 Verse"},
        {broken(3), "1@0 Verse"},  // too small for its id
        {Adtl({verse, ByteWriter().Text("labl").Le32(5000).Le32(2).Fill(600, 'x')}), "1@0 Verse"},
        {Sampler(1, 2), "3@0-0.5"},
        {Sampler(1, 1), ""},
        {Sampler(178956971, 10), ""},  // 24 times it is 8 in 32 bits
    };
    for (const auto& c : cases)
        for (const Bytes& chunks : {c.chunks, WithLongLists(c.chunks)})
            EXPECT_EQ(FoundIn(WaveFile(FmtBody(1, 1, rate, 16), chunks)).markers, c.markers)
                << "case " << &c - cases << ", " << chunks.size() << " bytes";
    // Without a rate as yet nothing has a time.
    const Bytes early = ByteWriter().Add(Cues({{2, 9}})).Add(Sampler(1, 2)).Add(Adtl({Labelled(1, 9, "y")}));
    const Bytes late = ByteWriter().Chunk("fmt ", FmtBody(1, 1, rate, 16)).Chunk("data", Bytes(20));
    EXPECT_EQ(FoundIn(RiffFile(both(early, late))).markers, "");
    for (const uint32_t tooSlow : {0u, 1u})
        EXPECT_EQ(FoundIn(WaveFile(FmtBody(1, 1, tooSlow, 16), Cues({{2, 9}}))).markers, "");
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
    const auto format =
        ParsePlayable(WaveFile(pcmFmt, ByteWriter().Chunk("cue ", cues).Chunk("LIST", labels)));
    ASSERT_EQ(format->markers.size(), count);
    EXPECT_EQ(MarkersText({format->markers[17], format->markers[count - 1]}), "17@1 m; 99999@1 m");

    for (uint32_t i = count; i < 2 * count; ++i)
        labels.Add(Text("labl", i, "m"));
    const Bytes file = WaveFile(pcmFmt, ByteWriter().Chunk("LIST", labels));
    const size_t before = BytesAllocated();
    const auto bounded = ParsePlayable(file);
    EXPECT_EQ(bounded->markers.size(), mostCuePoints);
    EXPECT_LT(BytesAllocated() - before, 4 * file.size()) << "one after the other; never as much at a time";
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
    TextPool names;
    ReadRf64Markers(body.Zeros(tail).Done(), rate, markers, names);
    return MarkersText(markers);
}

TEST(Rf64Markers, MoveTheMarkerOfTheirIdAndPlaceOrMakeIt) {
    constexpr uint64_t far = (uint64_t{1} << 32) * rate + rate;  // the same place in 32 bits
    const Marker cue{1, false, nameFromLabl, 1, 0, "old"}, other{2, false, nameNone, 1};
    const Marker region{1, true, nameNone, 1, 3};
    // Of two alike the first moves, then the second.
    EXPECT_EQ(PlaceRf64({other, cue, region}, {{1, far, 1, "new"}, {1 | 8, far, 1, "unread"}}, 319),
              "2@1; 1@4294967297 new; 1@4294967297-4294967299");
    EXPECT_EQ(PlaceRf64({}, {{0, rate, 1}, {1, 2 * rate, 4, "a"}, {0, 3 * rate, 0xDEADBEEF}, {1, rate, 5}}),
              "4@2-3 a; 5@1");
    EXPECT_EQ(PlaceRf64({}, {{1, rate, 5}, {1, rate, 5}}), "5@1");  // a marker made is found again
    EXPECT_EQ(PlaceRf64({}, {{1, rate, 5}, {1, 2 * rate, 6}}), "5@1; 6@2");
    EXPECT_EQ(PlaceRf64({other}, {{1, rate, 1}}), "2@1; 1@1");          // another id
    EXPECT_EQ(PlaceRf64({cue}, {{1, rate / 2, 1}}), "1@1 old; 1@0.5");  // another place
    EXPECT_EQ(PlaceRf64({{3}}, {{1, 0, 3, "a"}}), "3@0 a");
    EXPECT_EQ(PlaceRf64({{3, false, nameNone, 0xFFFFFFFF / double{rate}}}, {{1, 0xFFFFFFFF, 3}}).find(';'),
              std::string::npos);
    const std::string longest(256, 'a');
    EXPECT_EQ(PlaceRf64({}, {{1, rate, 5, longest}}), "5@1 " + longest);
    // The end of a region has an id of its own and no flags.
    EXPECT_EQ(PlaceRf64({}, {{1, rate, 5}, {0, 2 * rate, 0xDEADBEEF}}), "5@1-2");
    EXPECT_EQ(PlaceRf64({}, {{1, rate, 5}, {1, 2 * rate, 0xDEADBEEF}}), "5@1; -559038737@2");
    EXPECT_EQ(PlaceRf64({}, {{1, rate, 5}, {0, 2 * rate, 7}}), "5@1");
}

TEST(Wave64Markers, AreCuesWithNames) {
    ByteWriter cues;
    cues.Le32(0xFFFFFFFF);  // entries
    cues.Le32(5).Le32(0).Le64(22050).Le64(~0ull).Le32(7).Le32(0);
    cues.Le16('A').Le16(0xE9).Le16(0xD83D).U8('x');  // the name's odd byte is no character
    cues.Le32(8).Le32(0).Le64(11025).Le64(~0ull).Le32(1).Le32(0).U8('x');
    cues.Le32(6).Le32(0).Le64(44100).Le64(44100).Le32(6).Le32(0).Le16('B').Le16(0).Le16('C');
    cues.Le32(6).Le32(0).Le64(88200).Le64(~0ull).Le32(9).Le32(0).Text("too short");  // not merged with it
    cues.Le32(7).Le32(0).Le64(88200).Le64(~0ull).Le32(10).Le32(0).Text("no name");
    EXPECT_EQ(FoundIn(Wave64AudioFile(pcmFmt, ByteWriter().Wave64Chunk("cue ", cues))).markers,
              "5@0.5 A\xC3\xA9\xEF\xBF\xBD; 8@0.25 ; 6@1-2 B; 6@2 "
              "\xE6\xBD\xB4\xE2\x81\xAF\xE6\xA1\xB3\xE7\x89\xAF; 7@2");
}

TEST(Wave64Markers, AreAsManyAsAreCounted) {
    const auto found = [](const Bytes& cues) {
        return FoundIn(Wave64AudioFile(pcmFmt, ByteWriter().Wave64Chunk("cue ", cues))).markers;
    };
    const auto named =
        ByteWriter().Le32(5).Le32(0).Le64(44100).Le64(~0ull).Le32(4).Le32(0).Le16('Z').Le16('Y');
    const auto nameless = ByteWriter().Le32(6).Le32(0).Le64(44100).Le64(~0ull).Le32(0).Le32(0);
    EXPECT_EQ(found(ByteWriter().Le32(2).Add(named).Add(nameless).Add(named)), "5@1 ZY; 6@1");
    EXPECT_TRUE(found(ByteWriter().Le32(1).Fill(32, 1)).starts_with("16843009@"));
}

TEST(CafMarkers, AreNamedAndNumbered) {
    ByteWriter strings, marks, regions;
    strings.Be32(6);
    strings.Be32(7).Be64(~0ull);              // nowhere
    strings.Be32(7).Be64(0).Be32(7).Be64(2);  // of two the first
    strings.Be32(8).Be64(6);                  // an empty string
    strings.Be32(9).Be64(1000);               // beyond the text
    strings.Be32(3).Be64(7);
    strings.Text("Verse").Zeros(2).Fill(600, 'x');
    marks.Be32(0).Be32(9);
    for (const uint32_t id : {7u, 0u, 8u, 9u, 3u, 0x80000007u, 5u})
        marks.Add(CafMark(24000, id));
    marks.Add(CafMark(0, 12)).Add(CafMark(-1, 7));
    regions.Be32(0).Be32(3);
    regions.Be32(7).Be32(0).Be32(3).Add(CafMark(96000, 1)).Add(CafMark(48000, 2)).Add(CafMark(72000, 3));
    regions.Be32(7).Be32(0).Be32(2).Add(CafMark(5, 1)).Add(CafMark(5, 2));
    regions.Be32(0).Be32(0).Be32(2).Add(CafMark(5, 1)).Add(CafMark(6, 2));
    const Bytes replaced = ByteWriter().Be32(1).Be32(5).Be64(0).Text("old");
    const Bytes chunks = ByteWriter()
                             .CafChunk("strg", replaced)
                             .CafChunk("mark", marks)
                             .CafChunk("regn", regions)
                             .CafChunk("strg", strings);
    // Numbered before the one at 0 without a name, the 7th, and the one before the start are removed.
    EXPECT_EQ(FoundIn(CafAudioFile({}, chunks)).markers,
              "1@0.5 Verse; 2@0.5; 3@0.5; 4@0.5 " + std::string(511, 'x') + "; 5@0.5; 6@0.5; 9@1-2 Verse");
    const Bytes early = ByteWriter().Add(chunks).CafChunk("desc", DescBody()).CafChunk("data", Bytes(44));
    EXPECT_EQ(FoundIn(CafFile(early)).markers, "");  // the rate is not known by then
}

}  // namespace
}  // namespace vantor::test
