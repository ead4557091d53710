// What a sound report says of takes: the slate wherever recorders write it, the head of a day, the table.
#include <gmock/gmock.h>

#include "wavehost/report/columns.h"
#include "wavehost/report/overview.h"
#include "wavehost/report/page.h"
#include "wavehost/report/slate.h"

namespace vantor::wavehost {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(ReportSlate, IsReadWhereverRecordersWriteIt) {
    const Metadata modern = {{"BWF:Description", "sSCENE=1\r\nsTAKE=9"},
                             {"IXML:CIRCLED", "TRUE"},
                             {"IXML:SCENE", "12A"},
                             {"IXML:SPEED:TIMECODE_FLAG", "DF"},
                             {"IXML:SPEED:TIMECODE_RATE", "30000/1001"}};
    const Slate slate(modern);
    EXPECT_EQ(slate.Value(SlateField::scene), "12A");
    EXPECT_EQ(slate.Value(SlateField::take), "9");
    EXPECT_TRUE(slate.IsCircled());
    ASSERT_TRUE(slate.Rate());
    EXPECT_STREQ(slate.Rate()->name, "29.97df");

    const Metadata old = {
        {"BWF:Description", "zTAPE=R7\nzNOTE= wind = loud \nplain words\nE=mc2\nzCIRCLED=TRUE"}};
    EXPECT_EQ(Slate(old).Value(SlateField::roll), "R7");
    EXPECT_EQ(Slate(old).Value(SlateField::note), "wind = loud");
    EXPECT_EQ(Slate(old).Value(SlateField::project), "");
    EXPECT_TRUE(Slate(old).IsCircled());
    EXPECT_FALSE(Slate(old).Rate());
}

Take NamedTake(const std::string& file, const std::string& scene, double sampleRate) {
    Take take;
    take.file = file;
    take.scene = scene;
    take.sampleRate = sampleRate;
    take.bitDepth = 24;
    take.channels = 2;
    take.lengthSeconds = 3599.6;
    take.tracks = {"Boom", "Lav \"A\""};
    return take;
}

TEST(ReportOverview, TellsWhatDiffersAndTakesAdditions) {
    std::vector<Take> takes = {
        NamedTake("a.wav", "1", 48000), NamedTake("b.wav", "2", 44100), NamedTake("c.wav", "2", 48000), {}};
    takes[2].isCircled = true;
    takes[3].obstacle = "permission denied";
    EXPECT_EQ(OverviewOf(takes, {{"Location", "Harbour"}, {"Bit depth", "twenty-four"}}),
              (std::vector<OverviewRow>{{"Sample rate", "48 kHz, 44.1 kHz"},
                                        {"Bit depth", "twenty-four"},
                                        {"Takes", "4, 1 circled"},
                                        {"Length", "02:59:59"},
                                        {"Location", "Harbour"}}));
}

TEST(ReportTable, IsATableThatSpreadsheetsOpen) {
    Take take = NamedTake("day 1/a.wav", "1, 2", 48000);
    take.findings = {{"warning", "odd"}, {"note", "small"}};
    EXPECT_EQ(ReportCsv({take}),
              "Name,Scene,Take,Circled,Position,Length,Format,Tracks,Note,Findings\r\n"
              "day 1/a.wav,\"1, 2\",,,,01:00:00,\"2 ch, 24 bit, 48 kHz\",\"Boom, Lav \"\"A\"\"\",,"
              "\"warning: odd; note: small\"\r\n");
}

TEST(ReportPageText, CannotBeBrokenByWhatFilesSay) {
    Take take = NamedTake("<script>alert(1)</script>.wav", "\"&'\x01", 48000);
    take.note = "caf\xE9";  // Latin-1
    take.waveform = {{-1, 1}, {0, 0}};
    const std::string page = ReportPage("</title>", {{"<b>", "</dl>"}}, {take});
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, Not(HasSubstr("<b>")));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(1)&lt;/script&gt;.wav"));
    EXPECT_THAT(page, HasSubstr("caf\xC3\xA9"));
    EXPECT_THAT(page, HasSubstr("M0 0V32M1 16V17"));
    for (const char* outside : {"http:", "https:", "src=", "@import", "url("})
        EXPECT_THAT(page, Not(HasSubstr(outside)));
}

}  // namespace
}  // namespace vantor::wavehost
