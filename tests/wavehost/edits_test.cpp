// What an edit's wishes become, worked out without a file.
#include <gmock/gmock.h>

#include "wavehost/care/chunk_marks.h"
#include "wavehost/edits/objections.h"
#include "wavehost/edits/position_wishes.h"
#include "wavehost/edits/tag_values.h"
#include "wavehost/os/failure.h"

namespace vantor::wavehost {

void PrintTo(const KeyChange& change, std::ostream* out) {
    *out << change.key << ": " << change.before << " -> " << change.after;
}
void PrintTo(const Assignment& wish, std::ostream* out) {
    *out << wish.key << '=' << wish.value;
}

namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

auto Changed(const std::string& key, const std::string& before, const std::string& after) {
    return ::testing::AllOf(Field(&KeyChange::key, key), Field(&KeyChange::before, before),
                            Field(&KeyChange::after, after));
}
auto Wish(const std::string& key, const std::string& value) {
    return ::testing::AllOf(Field(&Assignment::key, key), Field(&Assignment::value, value));
}

TEST(TagEdits, TellWhatNobodyAskedFor) {
    const Metadata before = {{"BWF:Description", "old"},
                             {"BWF:TimeReference", "5"},
                             {"ID3:APIC", "mime:image/png type:3 offset:900 length:5"},
                             {"IXML:NOTE", "x"},
                             {"IXML:TRACK_LIST:TRACK:NAME:2", "Boom"}};
    const Metadata after = {{"BWF:Description", "new"},
                            {"BWF:TimeReference", "0"},
                            {"ID3:APIC", "mime:image/png type:3 offset:1200 length:5"},
                            {"INFO:ISBJ", "new"},
                            {"IXML:NOTE", "x"},
                            {"IXML:TRACK_LIST_TRACK_NAME_2", "Boom"}};
    const Comparison told = Compare({{"DESC", "new"}}, before, after, 48000, false);
    EXPECT_THAT(told.asked, ElementsAre(Changed("DESC", "old", "new")));
    EXPECT_THAT(told.besides, ElementsAre(Changed("BWF:TimeReference", "5", "0"),
                                          Changed("IXML:TRACK_LIST:TRACK:NAME:2", "Boom", ""),
                                          Changed("IXML:TRACK_LIST_TRACK_NAME_2", "", "Boom")));
    EXPECT_THAT(told.shortfalls, IsEmpty());
    EXPECT_THAT(told.notes, IsEmpty());
    EXPECT_THAT(Compare({{"DESC", "new"}}, before, after, 48000, true).besides,
                ElementsAre(Changed("BWF:TimeReference", "5", "0"),
                            Changed("IXML:TRACK_LIST_TRACK_NAME_2", "", "Boom")));
}

TEST(TagEdits, TellWhichChunksNobodyAskedFor) {
    const ChunkMark bext{"bext", "BWF", 858, 1}, info{"LIST", "INFO", 40, 2}, cue{"cue ", "", 28, 3},
        own{"own ", "", 4, 4};
    const std::vector<ChunkMark> before = {bext, own, cue, info, own};
    EXPECT_THAT(ChunkChanges(before, before, {}), IsEmpty());
    EXPECT_THAT(ChunkChanges(before, {cue, own, own, {"LIST", "INFO", 44, 5}, bext}, {"INFO", "BWF"}),
                ElementsAre("the order of the chunks"));
    EXPECT_THAT(ChunkChanges(before, {{"bext", "BWF", 602, 9}, own, {"cue ", "", 28, 9}, info}, {"INFO"}),
                ElementsAre("chunk 'bext' of 858 bytes, now 602 bytes", "chunk 'cue ' of 28 bytes",
                            "chunk 'own ' of 4 bytes is gone"));
    EXPECT_THAT(ChunkChanges({bext}, {bext, {"iXML", "IXML", 300, 6}}, {"BWF"}),
                ElementsAre("chunk 'iXML' of 300 bytes is new"));
    EXPECT_THAT(ChunkChanges({}, before, {}), IsEmpty());
}

TEST(TagEdits, WhatComesAboutInAnotherFormIsNoFailure) {
    const Metadata before = {{"IXML:USER:My_Field", "old"}};
    const Metadata after = {{"BWF:LoudnessValue", "-23"},
                            {"BWF:Originator", "cut"},
                            {"BWF:TimeReference", "48000"},
                            {"ID3:COMM", "Gut"},
                            {"IXML:USER:My_Field", "new"}};
    const Comparison told = Compare({{"IXML:USER:My Field", "new"},
                                     {"ID3:COMM:eng", "Gut"},
                                     {"BWF:LoudnessValue", "-23.00"},
                                     {"BWF:Originator", "cut off"},
                                     {"PREFPOS", "1000"},
                                     {"INFO:INAM", "x"},
                                     {"ARTIST", ""}},
                                    before, after, 48000, false);
    EXPECT_THAT(told.asked[0], Changed("IXML:USER:My Field", "old", "new"));
    EXPECT_THAT(told.asked[4], Changed("PREFPOS", "0", "1000"));
    EXPECT_THAT(told.besides, IsEmpty());
    EXPECT_THAT(told.notes,
                ElementsAre("IXML:USER:My Field is stored under IXML:USER:My_Field",
                            "ID3:COMM:eng is stored under ID3:COMM", "BWF:Originator was stored as \"cut\""));
    EXPECT_THAT(told.shortfalls, ElementsAre("INFO:INAM was not stored"));
    EXPECT_THAT(Compare({{"ID3:COMM", ""}}, before, after, 48000, false).shortfalls,
                ElementsAre("ID3:COMM was not removed"));
}

TEST(TagEdits, ADateOfThreeFramesIsOneDate) {
    const Metadata before = {{"ID3:TYER", "2020"}};
    const Metadata after = {{"ID3:TDAT", "0403"}, {"ID3:TIME", "1011"}, {"ID3:TYER", "2021"}};
    for (const std::string key : {"DATE", "ID3:TDRC"}) {
        const auto told = Compare({{key, "2021-03-04T10:11"}}, before, after, 48000, false);
        EXPECT_THAT(told.besides, IsEmpty());
        EXPECT_THAT(told.shortfalls, IsEmpty());
    }
}

TEST(TagEdits, APositionIsToldAlikeEverywhere) {
    constexpr uint64_t samples = (uint64_t{1} << 32) + 48000;
    const Metadata tags = {{"ID3:TXXX:TIME_REFERENCE", "1"},
                           {"IXML:BEXT:BWF_TIME_REFERENCE_HIGH", "1"},
                           {"IXML:BEXT:BWF_TIME_REFERENCE_LOW", "1"},
                           {"XMP:dm/relativeTimestamp", "1"}};
    EXPECT_THAT(PositionWishes(samples, 48000, {}), ElementsAre(Wish("BWF:TimeReference", "4295015296")));
    EXPECT_THAT(
        PositionWishes(samples, 48000, tags),
        ElementsAre(Wish("BWF:TimeReference", "4295015296"), Wish("ID3:TXXX:TIME_REFERENCE", "4295015296"),
                    Wish("IXML:BEXT:BWF_TIME_REFERENCE_HIGH", "1"),
                    Wish("IXML:BEXT:BWF_TIME_REFERENCE_LOW", "48000"),
                    Wish("XMP:dm/relativeTimestamp", "089479485")));
    // The same time at twice the rate; half a number without its other half counts as well.
    EXPECT_THAT(AtRate({{"BWF:TimeReference", "48001"},
                        {"CART:INT1", "7"},
                        {"CART:URL", "7"},
                        {"IXML:BEXT:BWF_TIME_REFERENCE_LOW", "-2147483648"},
                        {"IXML:BEXT:BWF_TIME_REFERENCE_HIGH", "0"},
                        {"IXML:TAKE", "7"}},
                       48000, 96000),
                ElementsAre(Wish("BWF:TimeReference", "96002"), Wish("CART:INT1", "14"),
                            Wish("CART:URL", "7"), Wish("IXML:BEXT:BWF_TIME_REFERENCE_LOW", "0"),
                            Wish("IXML:BEXT:BWF_TIME_REFERENCE_HIGH", "1"), Wish("IXML:TAKE", "7")));
    EXPECT_THAT(AtRate({{"BWF:TimeReference", "147"}}, 44100, 48000),
                ElementsAre(Wish("BWF:TimeReference", "160")));
}

TEST(TagEdits, ObjectionsNameEveryReason) {
    const Metadata tags = {{"BWF:OriginationDate", "2024-05-03"}, {"INFO:XOWN", "mine"}};
    const struct {
        Assignments wishes;
        const char* told;  // "": nothing speaks against them
    } cases[] = {
        {{{"INFO:XOWN", "still"}, {"TITLE", "x"}, {"YEAR", "2025-01-01"}, {"YEAR", ""}}, ""},
        {{{"YEAR", "1987"}}, "would lose 2024-05-03"},
        {{{"INFO:IANM", "x"}, {"BPM", "fast"}}, "the nearest is INFO:INAM; BPM=fast: is no number"},
        {{{"BWF:TimeReference", "4151347201"}}, "24 hours"},
        {{{"INFO:IANM", ""}}, "no scheme knows"},
    };
    for (const auto& [wishes, told] : cases)
        try {
            CheckWishes(wishes, tags, 48000);
            EXPECT_STREQ(told, "");
        } catch (const Failure& failure) {
            ASSERT_STRNE(told, "") << failure.what();
            EXPECT_THAT(failure.what(), HasSubstr(told));
        }
    // Before a file is known: its keys and its rate may allow it.
    EXPECT_NO_THROW(CheckWishes({{"INFO:IANM", "x"}, {"BWF:TimeReference", "99999999999"}}));
    EXPECT_THROW(CheckWishes({{"TITEL", "x"}}), Failure);
    EXPECT_THROW(CheckWishes({{"BWF:OriginationDate", "yesterday"}}), Failure);
}

}  // namespace
}  // namespace vantor::wavehost
