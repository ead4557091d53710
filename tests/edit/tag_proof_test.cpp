// What is compared before a lossless edit is written: tags that say the same are the same, whatever the
// numbers of their fields, and what no chunk can hold is not missed.
#include "edit/tag_proof.h"

#include <gtest/gtest.h>

#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

// "key=value=value|key=value".
std::string TextOf(const PlainTags& tags) {
    std::string text;
    for (const auto& [key, values] : tags) {
        text += (text.empty() ? "" : "|") + key;
        for (const auto& value : values)
            text += "=" + value;
    }
    return text;
}

TEST(TagProof, TakesRepeatedFieldsByTheirOrder) {
    const struct {
        const char *scheme, *entries, *tags;
    } cases[] = {
        {"IXML", "IXML:A=c|IXML:A:10=a|IXML:A:2=b|ASWG:B:7=d", "ASWG:B=d|IXML:A=c=b=a"},
        {"IXML", "IXML:A:2b=a|IXML:A:=b|IXML:A:99999999999999999999=d|IXML:A:b2=c",
         "IXML:A:=b|IXML:A:2b=a|IXML:A:99999999999999999999=d|IXML:A:b2=c"},
        {"XMP", "XMP:MARK007=b|XMP:MARK003=a|XMP:dc/title:2=c", "XMP:MARK=a=b|XMP:dc/title:2=c"},
        {"ID3", "ID3:COMM:eng=d|ID3:COMM:002=c|ID3:COMM=e|ID3:COMM:long=b|ID3:USLT:eng=a",
         "ID3:COMM=c=d=e|ID3:COMM:long=b|ID3:USLT:eng=a"},
        {"ID3", "ID3:TXXX:a:002=f|ID3:CHAP=2|ID3:TIT2=|ID3:APIC_2=none", "ID3:APIC_2=none|ID3:TXXX:a=f"},
        {"ID3", "ID3:APIC=type:3 offset:77 length:9", "ID3:APIC=type:3 offset:0 length:0"},
        {"BWF", "BWF:TimeReference=0|BWF:Version=0|INFO:INAM=other|TITLE=none", "BWF:Version=0"},
        {"BWF", "BWF:TimeReference=10", "BWF:TimeReference=10"},
    };
    for (const auto& [scheme, entries, tags] : cases)
        EXPECT_EQ(TextOf(PlainTagsOf(scheme, StoreOf(Listed("", entries)))), tags);
}

TEST(TagProof, AsksForNoMoreThanAChunkCanHold) {
    const std::string held = "TXXX:5=x|TXXX:a:2=y|UFID:2=z|USLT:002=u|WXXX:2=w", cut(256, 'd');
    const std::pair<std::string, std::string> cases[] = {
        {"BWF:Description=" + cut + "ddd", "Description=" + cut},
        {"BWF:TimeReference=0", "TimeReference="},
        {"BWF:LoudnessValue=-23|TimeReference=many", "LoudnessValue=-23|TimeReference="},
        {"IXML:A:3=x|NOTE=n|USER:OWN:2=y", "A:3=x|NOTE=n|USER:OWN:2=y"},
        {"IXML:NOTE=", "NOTE="},
        {"IXML:A:1=x|USER:2=y|a b=z", "A:_1=x|USER:_2=y|a_b=z"},
        {"XMP:MARK007=1:2:m|MARK008=none", "MARK007=1:2:m|MARK008="},
        {"ID3:COMM:002=x|TDRC=2024|TIT2:002=y", "COMM:002=x|TDRC=2024|TIT2:002=y"},
        {"ID3:" + held, held},
    };
    for (const auto& [change, wanted] : cases) {
        const auto prefix = change.substr(0, change.find(':') + 1);
        const auto* scheme = SchemeOfKey(change);
        const auto blank = scheme->blank();
        const auto store = StoreOf(Listed(prefix, change.substr(prefix.size())));
        EXPECT_EQ(EntriesOf(HeldChange(*scheme, {blank, store})), Listed(prefix, wanted));
    }
}

}  // namespace
}  // namespace vantor::test
