#include "metadata/key_table.h"

#include <gtest/gtest.h>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

std::vector<std::string> SchemeKeys(const char* field) {
    std::vector<std::string> keys;
    char key[64];
    for (int i = 0; SchemeKeyFor(field, i, key, sizeof key); ++i)
        keys.emplace_back(key);
    return keys;
}

// "-" when the look-up fails; what the output then holds is tested to be empty.
std::string Lookup(const char* name, const MetadataStore& store) {
    char out[64] = "untouched";
    if (LookupField(name, out, sizeof out, &store)) return out;
    EXPECT_STREQ(out, "");
    return "-";
}

std::string Applied(const std::vector<FieldPair>& fields, MetadataStore store = {}) {
    ApplyFields(fields, store, 48000);
    std::string text;
    for (const auto& [key, value] : EntriesOf(store))
        text += key + "=" + value + "\n";
    return text;
}

TEST(KeyTable, ListsTheCommonFieldsWithTheirRows) {
    std::string list;
    const char* label = nullptr;
    for (int i = 0; const char* name = CommonField(i, &label); ++i)
        list += name + "="s + label + " " + std::to_string(SchemeKeys(name).size()) + "|";
    EXPECT_EQ(list,
              "TITLE=Title 11|ARTIST=Artist 8|ALBUM=Album 7|TRACKNUMBER=Track 7|YEAR=Date 10|GENRE=Genre 7|"
              "COMMENT=Comment 11|DESC=Description 8|BPM=BPM 6|KEY=Key 6|DB_CUSTOM=Browser Tags 4|");
    EXPECT_EQ(CommonField(-1), nullptr);
    EXPECT_EQ(SchemeKeys("DATE"), SchemeKeys("YEAR"));
    using Keys = std::vector<std::string>;
    EXPECT_EQ(SchemeKeys("DB_CUSTOM"),
              (Keys{"ID3:TXXX:VANTOR", "APE:VANTOR", "VORBIS:VANTOR", "IXML:USER:VANTOR"}));
    EXPECT_EQ(SchemeKeys("Title"), (Keys{"ID3:TXXX:Title", "APE:Title", "VORBIS:Title", "IXML:USER:Title"}));
}

TEST(KeyTable, CutsKeysToTheOutput) {
    char out[8] = "before";
    EXPECT_TRUE(SchemeKeyFor("TITLE", 0, out, sizeof out));
    EXPECT_STREQ(out, "INFO:IN");
    EXPECT_TRUE(SchemeKeyFor("TITLE", 0, out, 1));
    EXPECT_STREQ(out, "");
    EXPECT_FALSE(SchemeKeyFor("TITLE", 0, out, 0));
    EXPECT_FALSE(SchemeKeyFor("TITLE", 0, nullptr, 8));
    EXPECT_FALSE(SchemeKeyFor("TITLE", -1, out, sizeof out));
    for (const char* field : {"", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(SchemeKeyFor(field, 0, out, sizeof out));
}

TEST(KeyTable, LooksFieldsUpInTheOrderOfTheirRow) {
    const auto store = StoreOf(Listed("",
                                      "INFO:INAM=|ID3:TIT2=second|CART:Title=third|XMP:dc/"
                                      "date=2024|VORBIS:MOOD=calm|IXML:USER:VANTOR=tags"));
    for (const auto& [name, value] : Listed("",
                                            "TITLE=second|CART:Title=third|YEAR=2024|DATE=2024|MOOD=calm|DB_"
                                            "CUSTOM=tags|Title=-|INFO:INAM=-|ARTIST=-"))
        EXPECT_EQ(Lookup(name.c_str(), store), value) << name;
    char out[4];
    EXPECT_TRUE(LookupField("TITLE", out, sizeof out, &store));
    EXPECT_STREQ(out, "sec");
    EXPECT_FALSE(LookupField("TITLE", out, sizeof out, nullptr));
    EXPECT_FALSE(LookupField("", out, sizeof out, &store));
    EXPECT_FALSE(LookupField("TITLE", out, 0, &store));
}

// Applying and looking up cut a name too long for a key at the same place.
TEST(KeyTable, FindsWhatWasAppliedUnderAnOverlongName) {
    const std::string name(400, 'n');
    MetadataStore store;
    ApplyFields({{FieldPair{name, "value"}}}, store, 48000);
    EXPECT_EQ(store.Count(), 4u);
    EXPECT_EQ(store.At(0)->key.size(), 255u);
    EXPECT_EQ(Lookup(name.c_str(), store), "value");
}

TEST(ApplyFields, WritesAndRemovesTheWholeRow) {
    EXPECT_EQ(
        Applied({{"KEY", "F#"}}),
        "ACID:KEY=F#\nAPE:Key=F#\nCAFINFO:key signature=F#\nID3:TKEY=F#\nVORBIS:KEY=F#\nXMP:dm/key=F#\n");
    EXPECT_EQ(Applied({{"KEY", "F#"}, {"KEY", ""}}), "");
    EXPECT_EQ(Applied({{"TITLE", ""}}, StoreOf({{"REX:Name", "a"}, {"INFO:INAM", "b"}, {"INFO:IART", "c"}})),
              "INFO:IART=c\n");
    EXPECT_EQ(Applied({{"INFO:INAM", "x"}}),
              "APE:INFO:INAM=x\nID3:TXXX:INFO:INAM=x\nIXML:USER:INFO:INAM=x\nVORBIS:INFO:INAM=x\n");
}

TEST(ApplyFields, ReplacesAllPicturesWithTheFirstNewOne) {
    const auto old =
        StoreOf({{"ID3:APIC", "old"}, {"ID3:APIC2", "old"}, {"FLACPIC:APIC:3", "old"}, {"ID3:API", "stays"}});
    EXPECT_EQ(Applied({{"ID3:APIC:1", "new"}, {"ID3:APIC:2", "newer"}}, old),
              "ID3:API=stays\nID3:APIC:1=new\nID3:APIC:2=newer\n");
}

TEST(ApplyFields, PlacesTheFileByMilliseconds) {
    EXPECT_EQ(Applied({{"PREFPOS", "1500"}}),
              "BWF:TimeReference=72000\nID3:TXXX:TIME_REFERENCE=72000\nVORBIS:TIME_REFERENCE=72000\n"
              "XMP:dm/relativeTimestamp=000001500\n");
    const auto old = StoreOf({{"BWF:TimeReference", "1"}, {"IXML:BEXT:BWF_TIME_REFERENCE_LOW", "1"}});
    EXPECT_EQ(Applied({{"PREFPOS", ""}}, old), "");
    EXPECT_EQ(Applied({{"PREFPOS", "-5"}}, old), "");
}

TEST(TimeReference, IsRemovedWhenThereIsNothingToWrite) {
    const auto all =
        Listed("",
               "BWF:TimeReference=1|ID3:TXXX:TIME_REFERENCE=1|VORBIS:TIME_REFERENCE=1|IXML:BEXT:BWF_TIME_"
               "REFERENCE_HIGH=1|XMP:dm/relativeTimestamp=1|IXML:BEXT:BWF_TIME_REFERENCE_LOW=1");
    for (const auto& [seconds, rate] : {std::pair{0.0, 48000.0}, {10.0, 1.0}, {-1.0, 48000.0}}) {
        auto store = StoreOf(all);
        SetTimeReference(store, seconds, rate);
        EXPECT_EQ(store.Count(), 0u);
    }
}

TEST(TimeReference, IsReadFromTheFirstKeyThatHoldsOne) {
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
        const auto store = StoreOf(Listed("", entries));
        EXPECT_EQ(ReadTimeReference(&store, rate), seconds) << entries;
    }
    EXPECT_EQ(ReadTimeReference(nullptr, 48000), -1);
}

TEST(SchemeList, GoesByTheFileType) {
    const auto list = [](std::string_view type) {
        std::string schemes;
        for (int i = 0; const auto* scheme = SchemeForType(type, i); ++i)
            schemes += std::string(scheme) + " ";
        return schemes;
    };
    EXPECT_EQ(list(".WAV"), "BWF INFO IXML ASWG XMP AXML CART ID3 ");
    EXPECT_EQ(list("Caff"), "CAFINFO ");
    EXPECT_EQ(list("wave") + list(""), "");
    EXPECT_EQ(SchemeForType("wav", -1), nullptr);
}

TEST(SchemeList, ASchemeIsPresentByItsFirstKey) {
    const auto store = StoreOf({{"BWFX", ""}, {"INFO:INAM", ""}});
    for (const char* scheme : {"BWF", "INFO"})
        EXPECT_TRUE(StoreHasScheme(scheme, store)) << scheme;
    for (const char* scheme : {"IN2", "XMP"})
        EXPECT_FALSE(StoreHasScheme(scheme, store)) << scheme;
    for (const char* key : {"FLACPIC:APIC", "ID3:"})
        EXPECT_TRUE(HasSchemePrefix(key)) << key;
    for (const char* key : {"ID3", "TITLE", "info:INAM"})
        EXPECT_FALSE(HasSchemePrefix(key)) << key;
}

}  // namespace
}  // namespace vantor::test
