#include "metadata/key_table.h"

#include <gtest/gtest.h>

#include <tuple>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

std::string SchemeKeys(const char* field) {
    std::string keys;
    char key[64];
    for (int i = 0; SchemeKeyFor(field, i, key, sizeof key); ++i)
        keys += key + " "s;
    return keys;
}

TEST(KeyTable, ListsTheCommonFields) {
    std::string list;
    const char* label = nullptr;
    for (int i = 0; const char* name = CommonField(i, &label); ++i)
        list += name + "="s + label + "|";
    EXPECT_EQ(list,
              "TITLE=Title|ARTIST=Artist|ALBUM=Album|TRACKNUMBER=Track|YEAR=Date|GENRE=Genre|COMMENT=Comment|"
              "DESC=Description|BPM=BPM|KEY=Key|DB_CUSTOM=Browser Tags|");
    EXPECT_EQ(CommonField(-1), nullptr);
    EXPECT_STREQ(CommonField(0), "TITLE");
    char out[64] = "";
    const MetadataStore store;
    EXPECT_FALSE(SchemeKeyFor(nullptr, 0, out, sizeof out) || SchemeKeyFor("", 0, out, sizeof out) ||
                 SchemeKeyFor("TITLE", -1, out, sizeof out) || SchemeKeyFor("TITLE", 0, nullptr, 8) ||
                 SchemeKeyFor("TITLE", 0, out, 0));
    EXPECT_FALSE(LookupField(nullptr, out, sizeof out, &store) || LookupField("", out, sizeof out, &store) ||
                 LookupField("TITLE", nullptr, 8, &store) || LookupField("TITLE", out, 0, &store) ||
                 LookupField("TITLE", out, sizeof out, nullptr));
    CopyText(out, 0, "text");
    EXPECT_STREQ(out, "");
    EXPECT_EQ(SchemeKeys("DATE"), SchemeKeys("YEAR"));
    EXPECT_EQ(SchemeKeys("TRACKNUMBER"),
              "INFO:TRCK ID3:TRCK APE:Track VORBIS:TRACKNUMBER CART:CutID XMP:dm/trackNumber "
              "CAFINFO:track number ");
    EXPECT_EQ(SchemeKeys("DB_CUSTOM"), "ID3:TXXX:VANTOR APE:VANTOR VORBIS:VANTOR IXML:USER:VANTOR ");
    EXPECT_EQ(SchemeKeys("Title"), "ID3:TXXX:Title APE:Title VORBIS:Title IXML:USER:Title ");
}

TEST(KeyTable, LooksFieldsUpInTheOrderOfTheirRow) {
    const auto store = StoreOf(Listed("",
                                      "INFO:INAM=|ID3:TIT2=second|CART:Title=third|XMP:dc/date=2024"
                                      "|VORBIS:MOOD=calm|IXML:USER:VANTOR=tags"));
    for (const auto& [name, value] : Listed("",
                                            "TITLE=second|CART:Title=third|YEAR=2024|DATE=2024|MOOD=calm"
                                            "|DB_CUSTOM=tags|Title=|INFO:INAM=|ARTIST=")) {
        char out[64] = "untouched";
        EXPECT_EQ(LookupField(name.c_str(), out, sizeof out, &store), !value.empty());
        EXPECT_EQ(out, value) << name;
    }
}

TEST(KeyTable, CutsTextsToTheOutput) {
    const auto store = StoreOf({{"ID3:TIT2", "second"}});
    char out[4] = "";
    EXPECT_TRUE(SchemeKeyFor("TITLE", 0, out, sizeof out));
    EXPECT_STREQ(out, "INF");
    EXPECT_TRUE(LookupField("TITLE", out, sizeof out, &store));
    EXPECT_STREQ(out, "sec");
    // A name too long for a key is cut at the same place in both ways.
    const std::string overlong(400, 'n');
    MetadataStore applied;
    ApplyFields({{FieldPair{overlong, "yes"}}}, applied, 48000);
    EXPECT_EQ(applied.At(3)->key.size(), 255u);
    EXPECT_TRUE(LookupField(overlong.c_str(), out, sizeof out, &applied));
}

TEST(KeyTable, AppliesFieldsToTheirWholeRow) {
    const auto titles = Listed("", "INFO:IART=c|INFO:INAM=b|REX:Name=a");
    const auto pictures = Listed("", "FLACPIC:APIC:3=old|ID3:API=stays|ID3:APIC=old|ID3:APIC2=old");
    const auto times = Listed("", "BWF:Originator=o|BWF:TimeReference=1|IXML:BEXT:BWF_TIME_REFERENCE_LOW=1");
    struct Case {
        Entries before;
        std::vector<FieldPair> fields;
        const char* after;
    };
    const Case cases[] = {
        {{},
         {{"KEY", "F#"}},
         "ACID:KEY=F#|APE:Key=F#|CAFINFO:key signature=F#|ID3:TKEY=F#|VORBIS:KEY=F#|XMP:dm/key=F#"},
        {{{"ACID:KEY", "C"}}, {{"ARTIST", "x"}, {"ARTIST", ""}}, "ACID:KEY=C"},
        {titles, {{"TITLE", ""}}, "INFO:IART=c"},
        {{},
         {{"INFO:INAM", "x"}},
         "APE:INFO:INAM=x|ID3:TXXX:INFO:INAM=x|IXML:USER:INFO:INAM=x|VORBIS:INFO:INAM=x"},
        // The first new picture removes all old ones.
        {pictures,
         {{"ID3:APIC:1", "new"}, {"ID3:APIC:2", "newer"}},
         "ID3:API=stays|ID3:APIC:1=new|ID3:APIC:2=newer"},
        {times,
         {{"PREFPOS", "1500"}},
         "BWF:Originator=o|BWF:TimeReference=72000|ID3:TXXX:TIME_REFERENCE=72000|VORBIS:TIME_REFERENCE=72000"
         "|XMP:dm/relativeTimestamp=000001500"},
        {times, {{"PREFPOS", "-5"}}, "BWF:Originator=o"},
    };
    for (const auto& [before, fields, after] : cases) {
        auto store = StoreOf(before);
        ApplyFields(fields, store, 48000);
        EXPECT_EQ(EntriesOf(store), Listed("", after));
    }
}

TEST(TimeReference, IsReadFromTheFirstKeyThatHoldsOne) {
    MetadataStore largest;
    constexpr double wholeWord = 4294967296.0;
    struct Case {
        const char* entries;
        double rate;
        double seconds;
    };
    const Case cases[] = {
        {"OTHER=1", 48000, -1},
        {"BWF:TimeReference=48000", 48000, 1},
        {"BWF:TimeReference=48000 ", 48000, 0},
        {"BWF:TimeReference=18446744073709551615", 1, 18446744073709551616.0},
        {"BWF:TimeReference=|ID3:TXXX:TIME_REFERENCE=2|VORBIS:TIME_REFERENCE=9", 1, 2},
        {"VORBIS:TIME_REFERENCE=9|IXML:BEXT:BWF_TIME_REFERENCE_LOW=5", 1, 9},
        {"IXML:BEXT:BWF_TIME_REFERENCE_LOW=-1", 1, wholeWord - 1},
        {"IXML:BEXT:BWF_TIME_REFERENCE_LOW=7|IXML:BEXT:BWF_TIME_REFERENCE_HIGH=2", 1, 2 * wholeWord + 7},
        {"IXML:BEXT:BWF_TIME_REFERENCE_HIGH=2", 1, -1},
        {"XMP:dm/relativeTimestamp=000001500", 48000, 1.5},
        {"BWF:TimeReference=48000|IXML:BEXT:BWF_TIME_REFERENCE_LOW=1|XMP:dm/relativeTimestamp=2000", 0, 2},
    };
    for (const auto& [entries, rate, seconds] : cases) {
        auto store = StoreOf(Listed("", entries));
        EXPECT_EQ(ReadTimeReference(&store, rate), seconds) << entries;
        SetTimeReference(store, 10, 1);
        EXPECT_EQ(ReadTimeReference(&store, rate), -1) << "no rate, nothing to write";
    }
    EXPECT_EQ(ReadTimeReference(nullptr, 48000), -1);
    for (const auto& [seconds, rate, frames] : {std::tuple(2.5, 2.0, "5"),
                                                {0.9, 2.0, "1"},
                                                {2.5, 1.9, ""},
                                                {0.0, 48000.0, ""},
                                                {-1.0, 48000.0, ""}}) {
        MetadataStore store;
        SetTimeReference(store, seconds, rate);
        EXPECT_EQ(store.Value("BWF:TimeReference"), frames) << seconds;
        EXPECT_EQ(NamesTimeReference(store), *frames != 0);
    }
    EXPECT_TRUE(HoldsPositionInDocument(StoreOf(Listed("IXML:BEXT:", "BWF_TIME_REFERENCE_LOW=5"))));
    for (const auto* entries : {"IXML:BEXT:BWF_TIME_REFERENCE_LOW=", "IXML:BEXT:BWF_TIME_REFERENCE_HIGH=5",
                                "IXML:BEXT:BWF_TIME_REFERENCE_LOW=5|BWF:TimeReference=5"})
        EXPECT_FALSE(HoldsPositionInDocument(StoreOf(Listed("", entries)))) << entries;
    const auto half = StoreOf(Listed("IXML:BEXT:", "BWF_TIME_REFERENCE_LOW= \t\r\n-2x"));
    EXPECT_EQ(ReadTimeReference(&half, 1), wholeWord - 2);
    SetTimeReference(largest, 1e6, 2);
    EXPECT_EQ(largest.Value("XMP:dm/relativeTimestamp"), "1000000000");
}

TEST(Schemes, GoByTheFileTypeAndTheFirstKey) {
    std::string schemes;
    for (int i = 0; const auto* scheme = SchemeForType(".WAV", i); ++i)
        schemes += scheme + " "s;
    EXPECT_EQ(schemes, "BWF INFO IXML ASWG XMP AXML CART ID3 ");
    EXPECT_STREQ(SchemeForType("Caff", 0), "CAFINFO");
    EXPECT_EQ(SchemeForType("wave", 0), nullptr);
    EXPECT_EQ(SchemeForType("wav", -1), nullptr);
    EXPECT_EQ(SchemeForType("caf", 1), nullptr);
    const auto store = StoreOf({{"BWFX", ""}, {"INFO:INAM", ""}});
    EXPECT_TRUE(StoreHasScheme("BWF", store) && StoreHasScheme("INFO", store));
    EXPECT_FALSE(StoreHasScheme("IN2", store) || StoreHasScheme("XMP", store));
    EXPECT_TRUE(HasSchemePrefix("FLACPIC:APIC") && HasSchemePrefix("ID3:"));
    EXPECT_FALSE(HasSchemePrefix("ID3") || HasSchemePrefix("TITLE") || HasSchemePrefix("info:INAM"));
}

}  // namespace
}  // namespace vantor::test
