// What is compared before a lossless edit is written: tags that say the same are the same, whatever the
// numbers of their fields, and what no chunk can hold is not missed.
#include "edit/tag_proof.h"

#include <gtest/gtest.h>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

TEST(TagProof, TakesRepeatedFieldsByTheirOrder) {
    const struct {
        const char* scheme;
        Entries entries;
        PlainTags tags;
    } cases[] = {
        {"IXML",
         {{"IXML:A", "c"}, {"IXML:A:10", "a"}, {"IXML:A:2", "b"}, {"ASWG:B:7", "d"}},
         {{"IXML:A", {"c", "b", "a"}}, {"ASWG:B", {"d"}}}},
        {"IXML",
         {{"IXML:A:2b", "a"}, {"IXML:A:", "b"}, {"IXML:A:b2", "c"}, {"IXML:A:99999999999999999999", "d"}},
         {{"IXML:A:2b", {"a"}},
          {"IXML:A:", {"b"}},
          {"IXML:A:b2", {"c"}},
          {"IXML:A:99999999999999999999", {"d"}}}},
        {"XMP",
         {{"XMP:MARK007", "b"}, {"XMP:MARK003", "a"}, {"XMP:dc/title:2", "c"}},
         {{"XMP:MARK", {"a", "b"}}, {"XMP:dc/title:2", {"c"}}}},
        {"ID3",
         {{"ID3:COMM:eng", "d"},
          {"ID3:COMM:002", "c"},
          {"ID3:COMM", "e"},
          {"ID3:COMM:long", "b"},
          {"ID3:USLT:eng", "a"},
          {"ID3:TXXX:a:002", "f"},
          {"ID3:CHAP", "2"},
          {"ID3:TIT2", ""}},
         {{"ID3:COMM", {"c", "d", "e"}},
          {"ID3:COMM:long", {"b"}},
          {"ID3:USLT:eng", {"a"}},
          {"ID3:TXXX:a", {"f"}}}},
        {"ID3",
         {{"ID3:APIC", "mime:image/png type:3 offset:77 length:9"}, {"ID3:APIC_2", "none"}},
         {{"ID3:APIC", {"mime:image/png type:3 offset:0 length:0"}}, {"ID3:APIC_2", {"none"}}}},
        {"BWF",
         {{"BWF:TimeReference", "0"}, {"BWF:Version", "0"}, {"INFO:INAM", "other"}, {"TITLE", "none"}},
         {{"BWF:Version", {"0"}}}},
        {"BWF", {{"BWF:TimeReference", "10"}}, {{"BWF:TimeReference", {"10"}}}},
    };
    for (const auto& [scheme, entries, tags] : cases)
        EXPECT_EQ(PlainTagsOf(scheme, StoreOf(entries)), tags) << entries[0].first;
}

TEST(TagProof, AsksForNoMoreThanAChunkCanHold) {
    const struct {
        Entries change, held;
    } cases[] = {
        {{{"BWF:Description", std::string(300, 'd')}}, {{"BWF:Description", std::string(256, 'd')}}},
        {{{"BWF:TimeReference", "0"}}, {{"BWF:TimeReference", ""}}},
        {{{"BWF:TimeReference", "many"}, {"BWF:LoudnessValue", "-23"}},
         {{"BWF:LoudnessValue", "-23"}, {"BWF:TimeReference", ""}}},
        {Listed("IXML:", "A:3=x|NOTE=n|USER:OWN:2=y"), Listed("IXML:", "A:3=x|NOTE=n|USER:OWN:2=y")},
        {Listed("IXML:", "NOTE="), Listed("IXML:", "NOTE=")},
        {Listed("IXML:", "A:1=x|USER:2=y|a b=z"), Listed("IXML:", "A:_1=x|USER:_2=y|a_b=z")},
        {Listed("XMP:", "MARK007=1:2:m|MARK008=none"), Listed("XMP:", "MARK007=1:2:m|MARK008=")},
        {Listed("ID3:", "COMM:002=x|TDRC=2024|TIT2:002=y"),
         Listed("ID3:", "COMM:002=x|TDRC=2024|TIT2:002=y")},
        {Listed("ID3:", "TXXX:5=x|TXXX:a:2=y|UFID:2=z|USLT:002=u|WXXX:2=w"),
         Listed("ID3:", "TXXX:5=x|TXXX:a:2=y|UFID:2=z|USLT:002=u|WXXX:2=w")},
    };
    for (const auto& [change, held] : cases) {
        const auto* scheme = SchemeOfKey(change[0].first);
        const auto blank = scheme->blank();
        const auto store = StoreOf(change);
        EXPECT_EQ(EntriesOf(HeldChange(*scheme, {blank, store})), held) << change[0].first;
    }
}

}  // namespace
}  // namespace vantor::test
