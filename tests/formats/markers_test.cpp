#include "formats/markers.h"

#include <gtest/gtest.h>

#include "fileio/byte_order.h"
#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

constexpr uint32_t rate = 44100;

Bytes CueList(std::initializer_list<std::pair<uint32_t, uint32_t>> cues) {
    ByteWriter body;
    body.Le32(static_cast<uint32_t>(cues.size()));
    for (const auto& [id, frame] : cues)
        body.Le32(id).Zeros(16).Le32(frame);
    return body;
}

Bytes Label(uint32_t id, std::string_view text) {
    return ByteWriter().Le32(id).Text(text);
}

Bytes LabelledText(uint32_t id, uint32_t frames, std::string_view text = {}) {
    return ByteWriter().Le32(id).Le32(frames).Zeros(12).Text(text);
}

// The chunks around a format and some audio.
std::vector<Marker> MarkersOf(const Bytes& chunks, uint32_t sampleRate = rate) {
    const auto parsed = ParseBytes(RiffFile(ByteWriter()
                                                .Chunk("fmt ", FmtBody(1, 1, sampleRate, 16))
                                                .Add(chunks)
                                                .Chunk("data", ByteWriter().Zeros(20))));
    EXPECT_EQ(parsed->result, 0) << parsed->Message();
    return parsed->format.markers;
}

ByteWriter Adtl(const Bytes& subChunks) {
    return ByteWriter().Chunk("LIST", ByteWriter().Text("adtl").Add(subChunks));
}

TEST(Markers, CueListsMustAddUp) {
    Bytes body = CueList({{1, 0}, {2, 22050}});
    const auto markers = MarkersOf(ByteWriter().Chunk("cue ", body));
    ASSERT_EQ(markers.size(), 1u);  // the one at 0 without a name is none
    EXPECT_EQ(markers[0].id, 2);
    EXPECT_EQ(markers[0].start, 0.5);
    body.push_back(0);
    EXPECT_TRUE(MarkersOf(ByteWriter().Chunk("cue ", body)).empty());
    body = CueList({{2, 22050}});
    WriteLe32(body.data(), 0xFFFFFFFF);
    EXPECT_TRUE(MarkersOf(ByteWriter().Chunk("cue ", body)).empty());
}

TEST(Markers, WithoutARateThereAreNone) {
    EXPECT_TRUE(MarkersOf(ByteWriter()
                              .Chunk("cue ", CueList({{2, 9}}))
                              .Add(Adtl(ByteWriter().Chunk("labl", Label(2, "a")))),
                          0)
                    .empty());
    EXPECT_TRUE(MarkersOf(ByteWriter().Chunk("cue ", CueList({{2, 9}})), 1).empty());
}

TEST(Markers, LabelsWinOverNotesOverLabelledTextsInAnyOrder) {
    const auto labl = ByteWriter().Chunk("labl", Label(1, "Verse"));
    const auto note = ByteWriter().Chunk("note", Label(1, "x"));
    const auto ltxt = ByteWriter().Chunk("ltxt", LabelledText(1, 0, "y"));
    const auto nameOf = [](const Bytes& subChunks) { return MarkersOf(Adtl(subChunks)).at(0).name; };
    EXPECT_EQ(nameOf(ByteWriter().Add(labl).Add(note).Add(ltxt)), "Verse");
    EXPECT_EQ(nameOf(ByteWriter().Add(ltxt).Add(note).Add(labl)), "Verse");
    EXPECT_EQ(nameOf(ByteWriter().Add(note).Add(ltxt)), "x");
    EXPECT_EQ(nameOf(ByteWriter().Add(ltxt).Chunk("labl", Label(1, ""))), "y");
    EXPECT_EQ(nameOf(ByteWriter().Add(labl).Chunk("labl", Label(1, "again"))), "Verse");
    EXPECT_EQ(nameOf(ByteWriter().Chunk("labl", Label(1, std::string(600, 'a')))), std::string(511, 'a'));
}

TEST(Markers, ALabelWithoutItsCuePointStandsAtTheStart) {
    const auto markers = MarkersOf(Adtl(ByteWriter().Chunk("labl", Label(7, "odd"))));
    ASSERT_EQ(markers.size(), 1u);
    EXPECT_EQ(markers[0].id, 7);
    EXPECT_EQ(markers[0].start, 0);
}

TEST(Markers, RegionsAreMeasuredFromWhereTheirMarkerStandsByThen) {
    const auto cues = ByteWriter().Chunk("cue ", CueList({{1, rate}}));
    const auto list = Adtl(ByteWriter().Chunk("ltxt", LabelledText(1, rate)));
    const auto after = MarkersOf(ByteWriter().Add(cues).Add(list));
    EXPECT_TRUE(after.at(0).isRegion);
    EXPECT_EQ(after.at(0).start, 1);
    EXPECT_EQ(after.at(0).end, 2);
    const auto before = MarkersOf(ByteWriter().Add(list).Add(cues));
    EXPECT_EQ(before.at(0).start, 1);
    EXPECT_EQ(before.at(0).end, 1);
}

TEST(Markers, AListKeepsWhatItSaidBeforeItBroke) {
    const auto broken = [](uint32_t size) {
        return MarkersOf(
            Adtl(ByteWriter().Chunk("labl", Label(1, "odd")).Text("labl").Le32(size).Add(Label(2, "lost"))));
    };
    for (const uint32_t size : {9u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        const auto markers = broken(size);
        ASSERT_EQ(markers.size(), 1u) << size;
        EXPECT_EQ(markers[0].name, "odd");
    }
    EXPECT_EQ(broken(8).size(), 2u);
    EXPECT_EQ(broken(3).size(), 1u);  // too small for its id
}

TEST(Markers, SamplerLoopsMustAddUp) {
    const auto smpl = [](uint32_t loops, uint32_t extra) {
        return MarkersOf(ByteWriter().Chunk(
            "smpl",
            ByteWriter().Zeros(28).Le32(loops).Le32(extra).Le32(3).Le32(0).Le32(0).Le32(22050).Zeros(8).Zeros(
                2)));
    };
    const auto markers = smpl(1, 2);
    ASSERT_EQ(markers.size(), 1u);
    EXPECT_TRUE(markers[0].isRegion);
    EXPECT_EQ(markers[0].start, 0);
    EXPECT_EQ(markers[0].end, 0.5);
    EXPECT_TRUE(smpl(1, 1).empty());
    EXPECT_TRUE(smpl(178956971, 10).empty());  // 24 times it is 8 in 32 bits
}

TEST(Markers, ManyCuesAndLabelsFindEachOther) {
    constexpr uint32_t count = 100000;
    ByteWriter cues;
    ByteWriter labels;
    cues.Le32(2 * count);
    for (uint32_t i = 0; i < count; ++i) {
        cues.Le32(i).Zeros(16).Le32(0);
        labels.Chunk("labl", Label(count - 1 - i, "m"));
    }
    for (uint32_t i = 0; i < count; ++i)
        cues.Le32(i).Zeros(16).Le32(rate);  // the same ids again
    const auto markers = MarkersOf(ByteWriter().Chunk("cue ", cues).Add(Adtl(labels)));
    ASSERT_EQ(markers.size(), count);
    EXPECT_EQ(markers[count - 1].id, static_cast<int>(count - 1));
    EXPECT_EQ(markers[17].start, 1);
    EXPECT_EQ(markers[17].name, "m");
}

TEST(Markers, NegativeIdsAreRemoved) {
    EXPECT_TRUE(MarkersOf(ByteWriter().Chunk("cue ", CueList({{0x80000000, 100}}))).empty());
}

struct Rf64Entry {
    uint32_t flags;
    uint64_t frame;
    uint32_t id;
    std::string_view label = {};
};

std::vector<Marker> PlaceRf64(std::vector<Marker> markers, std::initializer_list<Rf64Entry> entries,
                              size_t tail = 0) {
    ByteWriter body;
    for (const auto& entry : entries)
        body.Le32(entry.flags).Le64(entry.frame).Zeros(16).Field(entry.label, 256).Le32(entry.id).Zeros(32);
    ReadRf64Markers(body.Zeros(tail).Done(), rate, markers);
    return markers;
}

TEST(Rf64Markers, MoveTheMarkerOfTheirIdAndPlace) {
    constexpr uint64_t far = (uint64_t{1} << 32) + rate;
    const Marker cue{1, 1, 0, false, "old", nameFromLabl};
    const Marker other{2, 1, 0, false, {}, nameNone};
    const Marker region{1, 1, 3, true, {}, nameNone};
    // Of two alike the first moves, then the second.
    const auto moved = PlaceRf64({other, cue, region}, {{1, far, 1, "new"}, {1 | 8, far, 1, "unread"}}, 319);
    ASSERT_EQ(moved.size(), 3u);
    const double place = static_cast<double>(far) / rate;
    EXPECT_EQ(moved[0].start, 1);
    EXPECT_EQ(moved[1].start, place);
    EXPECT_EQ(moved[1].name, "new");
    EXPECT_EQ(moved[2].start, place);
    EXPECT_DOUBLE_EQ(moved[2].end, place + 2);
    EXPECT_FALSE(moved[2].name);
}

TEST(Rf64Markers, MakeWhatIsNotThere) {
    const auto made =
        PlaceRf64({}, {{0, rate, 1}, {1, 2 * rate, 4, "a"}, {0, 3 * rate, 0xDEADBEEF}, {1, rate, 5}});
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[0].start, 2);
    EXPECT_EQ(made[0].end, 3);
    EXPECT_TRUE(made[0].isRegion);
    EXPECT_EQ(made[0].name, "a");
    EXPECT_EQ(made[1].start, 1);
    EXPECT_EQ(made[1].end, 1);
    EXPECT_FALSE(made[1].isRegion);
    // A marker made is found again.
    EXPECT_EQ(PlaceRf64({}, {{1, rate, 5}, {1, rate, 5}}).size(), 1u);
}

TEST(Rf64Markers, AreReadInRf64FilesOnly) {
    const Bytes r64m = ByteWriter().Le32(1).Le64(rate).Zeros(16).Field("a", 256).Le32(5).Zeros(32);
    const auto chunks = ByteWriter()
                            .Chunk("ds64", ByteWriter().Zeros(28))
                            .Chunk("r64m", r64m)
                            .Chunk("fmt ", FmtBody(1, 1, rate, 16))
                            .Chunk("data", ByteWriter().Zeros(20));
    EXPECT_EQ(ParseBytes(RiffFile(chunks, "RF64"))->format.markers.size(), 1u);
    const auto plain = ParseBytes(RiffFile(chunks));
    EXPECT_TRUE(plain->format.markers.empty());
    EXPECT_TRUE(plain->format.metadata.Has("r64m"));
}

}  // namespace
}  // namespace vantor::test
