// What is looked at before a tag is written: keys, values, and what stands for them on the command line.
#include <gmock/gmock.h>

#include "tests/support/temp_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/values/assignments.h"
#include "wavehost/values/keys.h"
#include "wavehost/values/known_keys.h"
#include "wavehost/values/value_checks.h"

namespace vantor::test {
namespace {

using namespace wavehost;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(Values, KnowsTheKeysOfEverySchemeAndRefusesSlips) {
    for (const char* key : {"TITLE", "DATE", "DB_CUSTOM", "PREFPOS", "INFO:INAM", "BWF:TimeReference",
                            "CART:INT1", "CART:SEGs", "IXML:NOTE", "IXML:TRACK_LIST:TRACK:NAME:12",
                            "IXML:USER:anything at all", "ASWG:catId", "XMP:dc/title", "XMP:MARK007",
                            "ID3:TIT2", "ID3:TIT2:002", "ID3:TXXX:MOOD", "ID3:COMM:deu", "AXML:ISRC"})
        EXPECT_EQ(KeyObjection(key), "") << key;

    const struct {
        const char *key, *told;
    } slips[] = {
        {"TITEL", "the nearest is TITLE"},
        {"title", "the nearest is TITLE"},
        {"ixml:NOTE", "the nearest is IXML:NOTE"},
        {"IXML:SCNE", "the nearest is IXML:SCENE"},
        {"BWF:Time_Reference", "the nearest is BWF:TimeReference"},
        {"Originator", "the nearest is BWF:Originator"},
        {"INFO:IANM", "the nearest is INFO:INAM"},
        {"XMP:MARK1000", "no scheme knows"},
        {"CART:Intro", "no scheme knows"},
        {"IXML:USER:", "no scheme knows"},
        {"MICROPHONES", "a field of your own is IXML:USER:MICROPHONES"},
        {"CAFINFO:title", "no edit of a WAV file writes 'CAFINFO:title'"},
        {"ADM:numTracks", "no edit of a WAV file writes 'ADM:numTracks'"},
        {"", "no scheme knows"},
    };
    for (const auto& [key, told] : slips)
        EXPECT_THAT(KeyObjection(key), HasSubstr(told)) << key;
}

// Each known name is written in one spelling, or the nearest one would depend on the order.
TEST(Values, NamesAreTheirOwnNearest) {
    for (const SchemeNames& scheme : KnownNames())
        for (const std::string_view name : scheme.names)
            EXPECT_TRUE(IsKnown(std::string(scheme.prefix).append(name))) << scheme.prefix << name;
    EXPECT_THAT(SchemeKeysOf("TITLE"), Contains("INFO:INAM"));
    EXPECT_THAT(SchemeKeysOf("TITLE"), Not(Contains("IFF:NAME")));
    EXPECT_THAT(SchemeKeysOf("DATE"), Contains("BWF:OriginationDate"));
    EXPECT_EQ(SchemeKeysOf("INFO:INAM"), std::vector<std::string>{"INFO:INAM"});
}

TEST(Values, FieldsTakeWhatTheyCanHold) {
    const std::string wide(256, 'x');
    const struct {
        const char* key;
        std::vector<std::string> held, refused;
    } fields[] = {
        {"BWF:TimeReference",
         {"0", "172800000", "4151347200", ""},
         {"01:00:00:00", "-1", "1.5", "4151347201", "x"}},
        {"PREFPOS", {"0", "3600000"}, {"1.5", "100000000000"}},
        {"BWF:OriginationDate",
         {"2024-02-29", "2024/02/29", "0001-01-01"},
         {"yesterday", "2023-02-29", "2024-2-9", "2024-13-01", "2024-00-10", "20240229xx", "2024-02-29T"}},
        {"BWF:OriginationTime",
         {"00:00:00", "23:59:60", "12:34"},
         {"24:00:00", "12:60:00", "7:05:00", "12:34:5"}},
        {"YEAR",
         {"1987", "1987-05", "1987-05-03", "2024-05-03T12:00:00", "2024-05-03T12:00:00.25+02:00"},
         {"87", "1987-5", "1987-05-32", "03.05.1987", "2024-05-03T25:00", "2024-05-03T12:00:00+2"}},
        {"XMP:dc/date",
         {"2024-05-03T12:00Z", "2024-05-03T12"},
         {"2024-05-03Z", "2024-05-03T", "2024-05-03T12Z"}},
        {"BWF:Description", {wide}, {wide + "x", "a\x01"}},
        {"DESC", {wide}, {wide + "x"}},
        {"INFO:ISBJ", {wide + "x", "two\r\nlines"}, {"\xFF", std::string("a\0b", 3)}},
        {"BWF:Originator", {std::string(32, 'x')}, {std::string(33, 'x')}},
        {"CART:URL", {std::string(1024, 'x')}, {std::string(1025, 'x')}},
        {"CART:TagText", {std::string(5000, 'x')}, {}},
        {"CART:INT1", {"1", "2147483647"}, {"0", "-1", "2147483648", "soon"}},
        {"CART:LevelReference", {"32768"}, {"-32768"}},
        {"CART:EndDate", {"2024-12-31"}, {"2024-12-32"}},
        {"BPM", {"2", "960", "98.5"}, {"1.99", "1e39", "fast", "nan"}},
        {"BWF:LoudnessValue", {"-23", "-22.98"}, {"0", "quiet", "-100", "inf"}},
        {"BWF:MaxTruePeakLevel", {"-1.5"}, {"100"}},
        {"IXML:BEXT:BWF_TIME_REFERENCE_LOW", {"-1", "4294967295"}, {"4294967296", "-2147483649"}},
        {"IXML:SPEED:TIMECODE_RATE", {"25/1", "30000/1001", "29.97"}, {"26", "fast"}},
        {"IXML:SPEED:TIMECODE_FLAG", {"DF"}, {"drop"}},
        {"IXML:CIRCLED", {"TRUE", "false"}, {"yes"}},
        {"IXML:NOTE", {"any <text> & \t more"}, {"bell\x07"}},
        {"ID3:TYER", {"1999"}, {"99"}},
        {"ID3:TRCK", {"3", "3/12"}, {"A1", "3/", "/3"}},
        {"AXML:ISRC", {"DE-A12-24-00001", "USRC17607839"}, {"DE-A12-24-0001", "12AAA2400001"}},
        {"XMP:MARK000", {"0:0", "1000:2000:Verse: two"}, {"5:3", "12", "a:b"}},
        {"ID3:APIC", {}, {"mime:image/png"}},
        {"ID3:TXXX:TIME_REFERENCE", {"5"}, {"five"}},
    };
    for (const auto& [key, held, refused] : fields) {
        for (const auto& value : held)
            EXPECT_EQ(ValueObjection(key, value, 48000), "") << key << '=' << value;
        for (const auto& value : refused)
            EXPECT_NE(ValueObjection(key, value, 48000), "") << key << '=' << value;
    }
}

TEST(Values, AssignmentsAreNoFiles) {
    const TempFolder folder;
    const std::string take = folder.Write("take=2.wav", {'x'});
    EXPECT_THROW(AssignmentOf(take), Failure);
    EXPECT_THROW(AssignmentOf("=x"), Failure);
    EXPECT_THROW(AssignmentOf("TITLE"), Failure);
    const Assignment assignment = AssignmentOf("TITLE=one = two");
    EXPECT_EQ(assignment.key, "TITLE");
    EXPECT_EQ(assignment.value, "one = two");

    const std::string text = folder.Write("note.txt", {'a', '\n', '\n', 'b', ' ', '\r', '\n'});
    EXPECT_EQ(AssignmentFromFile("IXML:NOTE=" + text).value, "a\n\nb ");
    EXPECT_EQ(AssignmentFromFile("IXML:NOTE=" + folder.Write("empty", {})).value, "");
    EXPECT_THROW(AssignmentFromFile("IXML:NOTE=" + folder.Path("none")), Failure);
    EXPECT_THROW(AssignmentFromFile("IXML:NOTE=" + folder.Path("")), Failure);
}

}  // namespace
}  // namespace vantor::test
