// What the entries of a file become with the changes that are asked for.
#include "edit/merge_fields.h"

#include <gtest/gtest.h>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

struct Tagged : AudioFormat {
    explicit Tagged(const Entries& entries) {
        sampleRate = 1000;
        metadata = StoreOf(entries);
    }
};

const std::string picture = "desc:d type:3 offset:9 length:9";

TEST(MergeFields, ReplacesAndRemovesUnderEveryNameOfAKey) {
    const struct {
        const char* what;
        Entries before, changes, after;
    } cases[] = {
        {"ids of three letters give way to their successors", Listed("ID3:", "TT2=t|TP1=p|CRM=c"),
         Listed("ID3:", "TIT2=n"), Listed("ID3:", "CRM=c|TIT2=n|TP1=p")},
        {"unless they are named themselves", Listed("ID3:", "TT2=t"), Listed("ID3:", "TIT2=n|TT2=o"),
         Listed("ID3:", "TIT2=n|TT2=o")},
        {"a name as long as an id is none",
         Listed("INFO:", "TT2=t"),
         Listed("ID3:", "TIT2=n"),
         {{"ID3:TIT2", "n"}, {"INFO:TT2", "t"}}},
        {"a path of the file's own is another field than the name that it is written under",
         Listed("IXML:", "A:B=path|A_B=name"), Listed("IXML:", "A:B=new"),
         Listed("IXML:", "A:B=new|A_B=name")},
        {"a field of another name than the position has", Listed("ID3:", "TXXX:PREFPOS=own"),
         Listed("", "PREFPOS="), Listed("ID3:", "TXXX:PREFPOS=own")},
        {"a new picture takes the place of all",
         Listed("", "FLACPIC:APIC=a|ID3:APIC=b|ID3:APIC:002=c"),
         {{"ID3:APIC", picture}},
         {{"ID3:APIC", picture}}},
        {"one that goes leaves the others", Listed("ID3:", "APIC=b|APIC:002=c"), Listed("ID3:", "APIC="),
         Listed("ID3:", "APIC:002=c")},
    };
    for (const auto& [what, before, changes, after] : cases)
        EXPECT_EQ(EntriesOf(MergedTags(Tagged(before), StoreOf(changes))), after) << what;
}

// What a broadcast chunk, or the loss of the document that says it, would make of the position.
TEST(MergeFields, KeepsThePositionOfTheFile) {
    const Entries field = Listed("BWF:", "Description=d"), none;
    const Entries xmp = Listed("XMP:", "dm/relativeTimestamp=000001500");
    const Entries document = Listed("IXML:", "BEXT:BWF_TIME_REFERENCE_LOW=1500");
    const struct {
        const char* what;
        Entries before, changes;
        std::string position;  // in the broadcast chunk
    } cases[] = {
        {"a broadcast chunk that is new", xmp, field, "1500"},
        {"none", xmp, Listed("INFO:", "INAM=x"), ""},
        {"a document that is written anew", document, Listed("INFO:", "INAM=x"), "1500"},
        {"a tag that says it, too", Listed("ID3:", "TXXX:TIME_REFERENCE=1500"), field, "1500"},
        {"the start", Listed("ID3:", "TXXX:TIME_REFERENCE=0"), field, "0"},
        {"no position", none, field, ""},
        {"one that a change names", xmp, Listed("", "BWF:Description=d|XMP:dm/relativeTimestamp="), ""},
        {"one that a change takes away", xmp, Listed("", "BWF:Description=d|PREFPOS="), ""},
        {"more digits than a number of seconds has", Listed("BWF:", "TimeReference=9007199254740993"), field,
         "9007199254740993"},
        {"more frames than are counted", Listed("ID3:", "TXXX:TIME_REFERENCE=9223372036854775808"), field,
         ""},
    };
    for (const auto& [what, before, changes, position] : cases) {
        const auto tags = EditedTags(Tagged(before), {}, StoreOf(changes), true);
        EXPECT_EQ(tags.Value("BWF:TimeReference"), position) << what;
        EXPECT_FALSE(EditedTags(Tagged(before), {}, StoreOf(changes), false).Has("BWF:TimeReference"));
    }
}

// A field of the broadcast chunk that goes does not live on in the copy that a document has of it.
TEST(MergeFields, TakesDocumentsOnceAndNoCopies) {
    const Entries copied =
        Listed("", "BWF:TimeReference=1|IXML:BWF:BWF_DESCRIPTION=d|IXML:NOTE=n|IXML:NOTE:2=n");
    OldChunks old;
    EXPECT_EQ(EntriesOf(EditedTags(Tagged(copied), old, {}, true)),
              Listed("", "BWF:TimeReference=1|IXML:NOTE=n|IXML:NOTE:2=n"));
    old.documentEntries = StoreOf(Listed("IXML:", "NOTE=n"));
    old.repeatsDocument = true;
    EXPECT_EQ(EntriesOf(EditedTags(Tagged(copied), old, {}, true)),
              Listed("", "BWF:TimeReference=1|IXML:NOTE=n"));
}

}  // namespace
}  // namespace vantor::test
