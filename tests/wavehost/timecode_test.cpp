// Places on the timeline: every form, and every picture of a day there and back.
#include "wavehost/values/timecode.h"

#include <gtest/gtest.h>

#include "wavehost/os/failure.h"

namespace vantor::test {
namespace {

using namespace wavehost;

TEST(Timecode, NamesTheRatesAsProgramsAndDocumentsWriteThem) {
    const struct {
        const char *text, *name;
    } named[] = {
        {"29.97df", "29.97df"}, {"29.97 DF", "29.97df"},    {"29.97ndf", "29.97"}, {"23.98", "23.976"},
        {"23.976", "23.976"},   {"30000/1001", "29.97"},    {"30/1", "30"},        {"47.952", "47.95"},
        {"59.94df", "59.94df"}, {"24000/1001", "23.976"},   {"25", "25"},          {"119.88", "119.88"},
        {" 50 ", "50"},         {"60000/1001df", "59.94df"}};
    for (const auto& [text, name] : named) {
        const FrameRate* rate = FrameRateNamed(text);
        ASSERT_NE(rate, nullptr) << text;
        EXPECT_STREQ(rate->name, name) << text;
    }
    for (const char* text : {"", "df", "29", "25df", "23.976df", "30dfx", "30/0", "-25", "1/0", "nan"})
        EXPECT_EQ(FrameRateNamed(text), nullptr) << text;
    EXPECT_STREQ(FrameRateOfIxml("30000/1001", "DF")->name, "29.97df");
    EXPECT_STREQ(FrameRateOfIxml("29.97", "NDF")->name, "29.97");
    EXPECT_STREQ(FrameRateOfIxml("25/1", "DF")->name, "25");
    EXPECT_EQ(FrameRateOfIxml("", "NDF"), nullptr);
}

TEST(Timecode, PlacesAreExact) {
    const struct {
        const char *text, *rate;
        double sampleRate;
        uint64_t samples;
    } places[] = {
        {"01:00:00:00", "25", 48000, 172800000},
        {"01:00:00:00", "29.97", 48000, 172972800},    // 108,000 pictures of 1601.6 samples
        {"01:00:00;00", "29.97df", 48000, 172799827},  // 107,892 of them: 3.6 ms short of an hour
        {"00:10:00;00", "29.97df", 48000, 28799971},
        {"00:01:00;02", "29.97df", 48000, 2882880},
        {"00:00:59;29", "29.97df", 48000, 2881278},
        {"00:01:00;04", "59.94df", 48000, 2882880},
        {"10:00:00:23", "23.976", 44100, 1589229905},
        {"01:00:00:12", "30df", 96000, 345292800},
        {"172800000", "25", 48000, 172800000},
        {"18446744073709551615", "25", 48000, 18446744073709551615u},
        {"3600.5s", "25", 48000, 172824000},
        {"01:00:00.500", "25", 48000, 172824000},
        {"01:00:00", "25", 44100, 158760000},
        {"00:00:00.001", "25", 44100, 44},
        {"23:59:59.999999", "25", 192000, 16588800000},
    };
    for (const auto& place : places)
        EXPECT_EQ(PositionOf(place.text, place.sampleRate, FrameRateNamed(place.rate)), place.samples)
            << place.text << " at " << place.rate;
    EXPECT_EQ(ClockText(172824023, 48000), "01:00:00.500");
    EXPECT_EQ(ClockText(172824024, 48000), "01:00:00.501");
    EXPECT_EQ(ClockText(47999, 48000), "00:00:01.000");
    EXPECT_EQ(ClockText(uint64_t{100} * 3600 * 48000, 48000), "100:00:00.000");
}

// A recorder rounds the first sample of a picture up or down.
TEST(Timecode, EveryPictureOfADayComesBack) {
    for (const FrameRate& rate : FrameRates())
        for (const double sampleRate : {44100.0, 48000.0, 192000.0}) {
            std::string last;
            const auto pictures = static_cast<uint64_t>(24) * 3600 * rate.numerator / rate.denominator;
            for (uint64_t picture = 0; picture < pictures; picture += picture % 1800 < 4 ? 1 : 449) {
                const double start =
                    static_cast<double>(picture) * rate.denominator * sampleRate / rate.numerator;
                const auto down = static_cast<uint64_t>(start);
                const std::string text = TimecodeText(down, sampleRate, rate);
                ASSERT_EQ(TimecodeText(down + 1, sampleRate, rate), text) << rate.name << ' ' << picture;
                ASSERT_GT(text, last) << rate.name << ' ' << picture;
                ASSERT_LE(PositionOf(text, sampleRate, &rate) - down, 1u) << rate.name << ' ' << text;
                last = text;
            }
        }
    const FrameRate& dropping = *FrameRateNamed("29.97df");
    EXPECT_EQ(TimecodeText(2882880, 48000, dropping), "00:01:00;02");
    EXPECT_EQ(TimecodeText(2882879, 48000, dropping), "00:00:59;29");
    EXPECT_EQ(TimecodeText(uint64_t{25} * 3600 * 48000, 48000, *FrameRateNamed("25")), "25:00:00:00");
}

TEST(Timecode, RefusesWhatIsNoPlace) {
    const FrameRate* dropping = FrameRateNamed("29.97df");
    for (const char* text : {"",
                             "s",
                             "-1",
                             "1.5",
                             "-3s",
                             "1e300s",
                             "nans",
                             "01:00",
                             "01:60:00",
                             "01:00:60",
                             "1:2:3:4:5",
                             "a:00:00",
                             "01:00:00.",
                             "01:00:00.5x",
                             "01:00:00,",
                             "01:00:00:30",
                             "00:01:00:00",
                             "00:01:00;01",
                             "01:00:00;",
                             ";",
                             "01:00:00.5;1",
                             "18446744073709551616"})
        EXPECT_THROW(PositionOf(text, 48000, dropping), Failure) << text;
    EXPECT_THROW(PositionOf("01:00:00;00", 48000, FrameRateNamed("29.97")), Failure);
    EXPECT_THROW(PositionOf("01:00:00:00", 48000, nullptr), Failure);
}

}  // namespace
}  // namespace vantor::test
