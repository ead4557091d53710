// What stands where in a picture of a waveform, and what its time axis says.
#include "wavehost/picture/picture.h"

#include <gmock/gmock.h>

#include <numeric>

#include "wavehost/facts/source_facts.h"
#include "wavehost/picture/canvas.h"
#include "wavehost/picture/style.h"

namespace vantor::test {
namespace {

using namespace wavehost;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

std::vector<std::string> Labels(const ShownTime& time, double width) {
    std::vector<std::string> labels;
    double before = -1e9;
    for (const Tick& tick : TimeTicks(time, width, 100)) {
        EXPECT_GE(tick.seconds, time.startSeconds - 1e-9);
        EXPECT_LE(tick.seconds, time.startSeconds + time.lengthSeconds + 1e-9);
        EXPECT_GE((tick.seconds - before) / time.lengthSeconds * width, 99) << tick.label;
        before = tick.seconds;
        labels.push_back(tick.label);
    }
    return labels;
}

TEST(TimeAxis, TicksStandAtRoundTimesOfFileOrTimeline) {
    EXPECT_THAT(Labels({0.5, 20, 48000, {}, nullptr}, 500), ElementsAre("0:05", "0:10", "0:15", "0:20"));
    EXPECT_THAT(Labels({0.1, 0.01, 48000, {}, nullptr}, 300),
                ElementsAre("0:00.100", "0:00.105", "0:00.110"));
    EXPECT_THAT(Labels({0, 20, 48000, 36000u * 48000u, nullptr}, 250),
                ElementsAre("10:00:00", "10:00:10", "10:00:20"));
    const FrameRate* film = FrameRateNamed("25");
    EXPECT_THAT(Labels({0, 20, 48000, 3600u * 48000u, film}, 250),
                ElementsAre("01:00:00:00", "01:00:10:00", "01:00:20:00"));
    EXPECT_THAT(Labels({0, 0.5, 48000, 3600u * 48000u, film}, 260),
                ElementsAre("01:00:00:00", "01:00:00:05", "01:00:00:10"));
    // Closer than two pictures, timecode says nothing.
    EXPECT_THAT(Labels({0, 0.02, 48000, 3600u * 48000u, film}, 210),
                ElementsAre("01:00:00.00", "01:00:00.01", "01:00:00.02"));
    // The number that drop-frame counting leaves out has no tick; the place of the next one is exact.
    const FrameRate* dropping = FrameRateNamed("29.97df");
    const auto ticks = TimeTicks({0, 150, 48000, 0u, dropping}, 300, 100);
    ASSERT_EQ(ticks.size(), 3u);
    EXPECT_EQ(ticks[1].label, "00:01:00;02");
    EXPECT_NEAR(ticks[1].seconds, 1800 * 1.001 / 30, 1e-4);
}

Picture PictureOf(size_t channels, size_t markers) {
    Picture picture;
    picture.title = "take.wav";
    picture.channelNames.assign(channels, "Boom");
    picture.time = {0, 10, 48000, {}, nullptr};
    for (size_t i = 0; i < markers; ++i) {
        const double at = 10 * static_cast<double>(i) / static_cast<double>(markers);
        picture.markers.push_back({static_cast<int32_t>(i), at, at, false, "Marker " + std::to_string(i)});
    }
    return picture;
}

TEST(PictureLayout, EveryNameHasAPlaceOfItsOwnAboveTheWave) {
    const Picture picture = PictureOf(2, 200);
    const PictureLayout layout = LayOut(picture, 1200, {});
    EXPECT_EQ(layout.names.size(), 200u);
    EXPECT_EQ(layout.namesLeftOut, 0u);
    Canvas canvas(1, 1);
    std::vector<double> rowEnds(100, 0.0);
    for (const NameLabel& name : layout.names) {
        EXPECT_GE(name.x, rowEnds[name.row]) << name.text;
        rowEnds[name.row] = name.x + canvas.TextWidth(name.text, textPixels);
        EXPECT_LE(rowEnds[name.row], 1200) << name.text;
        EXPECT_LE(titleHeight + static_cast<int32_t>(name.row + 1) * nameHeight, layout.top);
    }
    const PictureLayout low = LayOut(picture, 1200, 300);
    EXPECT_EQ(low.names.size() + low.namesLeftOut, 200u);
    EXPECT_GE(low.plotHeight, 140);
}

TEST(PictureLayout, HasRoomForEveryChannelAndShrinksToTheWave) {
    const PictureLayout many = LayOut(PictureOf(64, 0), 1200, {});
    EXPECT_EQ(many.lanes, 64);
    EXPECT_GE(many.plotHeight / many.lanes, 12) << "as high as its label";
    EXPECT_EQ(LayOut(PictureOf(64, 0), 1200, 400).lanes, 64);
    const PictureLayout tiny = LayOut(PictureOf(2, 200), 100, 60);
    EXPECT_GE(tiny.plotWidth, 90);
    EXPECT_GE(tiny.plotHeight, 40);
    EXPECT_TRUE(tiny.names.empty());
}

TEST(Picture, ShowsWhatIsBeyondFullScale) {
    const Picture picture = PictureOf(1, 3);
    const PictureLayout layout = LayOut(picture, 300, 200);
    const auto drawn = [&](double high) {
        PicturePeaks peaks{layout.plotWidth, {}};
        peaks.pairs.assign(2 * static_cast<size_t>(layout.plotWidth), -0.5);
        std::fill_n(peaks.pairs.begin(), layout.plotWidth, high);
        return DrawPicture(picture, layout, peaks);
    };
    EXPECT_THAT(drawn(1), StartsWith("\x89PNG\r\n\x1A\n"));
    EXPECT_EQ(drawn(1), drawn(1));
    EXPECT_NE(drawn(1), drawn(1.0001));
    EXPECT_EQ(drawn(1.0001), drawn(1.5));
}

TEST(Picture, TextsThatCannotBeDrawnAreMendedOrCut) {
    Canvas canvas(1, 1);
    EXPECT_EQ(Drawable("a\x01\nb\xE9"), "a  b\xC3\xA9");
    const std::string longText(5000, 'x');
    const std::string shortened = Shortened(canvas, longText, textPixels, 50);
    EXPECT_THAT(shortened, EndsWith("…"));
    EXPECT_LE(canvas.TextWidth(shortened, textPixels), 50);
    EXPECT_EQ(Shortened(canvas, "äöü", textPixels, 1), "");
    EXPECT_EQ(Shortened(canvas, "ä", textPixels, 500), "ä");
}

TEST(ChannelNames, FollowTheTracksPlaceInTheFile) {
    SourceFacts facts{};
    facts.channels = 3;
    EXPECT_THAT(ChannelNames(facts), ElementsAre("1", "2", "3"));
    facts.metadata = {{"IXML:TRACK_LIST:TRACK:INTERLEAVE_INDEX", "3"},
                      {"IXML:TRACK_LIST:TRACK:INTERLEAVE_INDEX:2", "9"},
                      {"IXML:TRACK_LIST:TRACK:NAME", "Boom"},
                      {"IXML:TRACK_LIST:TRACK:NAME:2", "Nowhere"},
                      {"IXML:TRACK_LIST:TRACK:NAME:3", "Third"}};
    EXPECT_THAT(ChannelNames(facts), ElementsAre("1", "2", "3 Third"));
}

}  // namespace
}  // namespace vantor::test
