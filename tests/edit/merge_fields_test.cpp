// What the entries of a file become with the changes that are asked for.
#include "edit/merge_fields.h"

#include <gtest/gtest.h>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

Entries Edited(const std::string& entries, const Entries& changes, const OldChunks& old = {},
               bool merges = true) {
    AudioFormat format;
    format.sampleRate = 1000;
    format.metadata = StoreOf(Listed("", entries));
    return EntriesOf(EditedTags(format, old, StoreOf(changes), merges));
}

TEST(MergeFields, ReplacesRemovesAndKeepsThePosition) {
    const struct {
        const char *before, *changes, *after;
    } cases[] = {
        // Ids of three letters give way to their successors, unless they are named themselves.
        {"ID3:CRM=c|ID3:TP1=p|ID3:TT2=t", "ID3:TIT2=n", "ID3:CRM=c|ID3:TIT2=n|ID3:TP1=p"},
        {"ID3:TT2=t", "ID3:TIT2=n|ID3:TT2=o", "ID3:TIT2=n|ID3:TT2=o"},
        {"INFO:TT2=t", "ID3:TIT2=n", "ID3:TIT2=n|INFO:TT2=t"},
        {"IXML:A:B=path|IXML:A_B=name", "IXML:A:B=new", "IXML:A:B=new|IXML:A_B=name"},
        {"ID3:TXXX:PREFPOS=own", "PREFPOS=", "ID3:TXXX:PREFPOS=own"},
        // A new picture takes the place of all.
        {"FLACPIC:APIC=a|ID3:APIC=b|ID3:APIC:002=c", "ID3:APIC=d", "ID3:APIC=d"},
        {"ID3:APIC=b|ID3:APIC:002=c", "ID3:APIC=", "ID3:APIC:002=c"},
        // A broadcast chunk says a position, and a document that is written anew none.
        {"XMP:dm/relativeTimestamp=1500", "BWF:Version=1",
         "BWF:TimeReference=1500|BWF:Version=1|XMP:dm/relativeTimestamp=1500"},
        {"XMP:dm/relativeTimestamp=1500", "INFO:INAM=x", "INFO:INAM=x|XMP:dm/relativeTimestamp=1500"},
        {"XMP:dm/relativeTimestamp=1500", "BWF:Version=1|XMP:dm/relativeTimestamp=", "BWF:Version=1"},
        {"XMP:dm/relativeTimestamp=1500", "BWF:Version=1|PREFPOS=", "BWF:Version=1"},
        {"IXML:BEXT:BWF_TIME_REFERENCE_LOW=7", "INFO:INAM=x",
         "BWF:TimeReference=7|INFO:INAM=x|IXML:BEXT:BWF_TIME_REFERENCE_LOW=7"},
        {"ID3:TXXX:TIME_REFERENCE=0", "BWF:Version=1",
         "BWF:TimeReference=0|BWF:Version=1|ID3:TXXX:TIME_REFERENCE=0"},
        {"ID3:TXXX:TIME_REFERENCE=9223372036854775808", "BWF:Version=1",
         "BWF:Version=1|ID3:TXXX:TIME_REFERENCE=9223372036854775808"},
        {"BWF:TimeReference=9007199254740993", "BWF:Version=1",
         "BWF:TimeReference=9007199254740993|BWF:Version=1"},
        {"INFO:INAM=x", "BWF:Version=1", "BWF:Version=1|INFO:INAM=x"},
        // A field of it that goes does not live on in the copy that a document has.
        {"BWF:TimeReference=1|IXML:BWF:BWF_VERSION=1", "IXML:A=a", "BWF:TimeReference=1|IXML:A=a"},
    };
    for (const auto& [before, changes, after] : cases)
        EXPECT_EQ(Edited(before, Listed("", changes)), Listed("", after)) << before;
    const Entries field = {{"BWF:Version", "1"}};
    EXPECT_EQ(Edited(cases[7].before, field, {}, false), field);
    OldChunks old;
    old.documentEntries = StoreOf({{"IXML:NOTE", "n"}});
    EXPECT_EQ(Edited("IXML:NOTE=n|IXML:NOTE:2=n", {}, old).size(), 2u);
    old.repeatsDocument = true;
    EXPECT_EQ(Edited("IXML:NOTE=n|IXML:NOTE:2=n", {}, old).size(), 1u);
}

}  // namespace
}  // namespace vantor::test
