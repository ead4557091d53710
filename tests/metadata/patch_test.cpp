// Changes of single keys in chunks that hold more than their keys: what is named changes, every other byte
// stays, and what was put in can be taken out without a trace.
#include <gtest/gtest.h>

#include "metadata/tag_schemes.h"
#include "tests/metadata/recorder_chunks.h"
#include "tests/metadata/store_entries.h"
#include "text/text.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

struct Case {
    const char* scheme;
    Bytes body;
    std::string change;  // "key=value|key=value"
    // Pieces of the old body and what stands for them; nothing else differs.
    std::vector<std::pair<std::string, std::string>> replaced;
};

MetadataStore ChangeOf(const std::string& text) {
    return StoreOf(Listed("", text));
}

MetadataStore StoreIn(const TagScheme& scheme, const Bytes& body) {
    MetadataStore store;
    EXPECT_TRUE(scheme.read(body, store, 1));
    return store;
}

// What takes a change of `old` back.
MetadataStore Reverse(const MetadataStore& change, const MetadataStore& old, const MetadataStore& now) {
    MetadataStore reverse;
    now.ForEach([&](const auto& entry) {
        if (!old.Has(entry.key)) reverse.Set(entry.key, "");
    });
    old.ForEach([&](const auto& entry) {
        if (now.Value(entry.key) != entry.value) reverse.Set(entry.key, entry.value);
    });
    change.ForEach([&](const auto& entry) {
        if (!old.Has(entry.key) && !now.Has(entry.key)) reverse.Set(entry.key, "");
    });
    return reverse;
}

// Zeros at the end keep documents even or odd.
std::string Unpadded(const Case& test, const Bytes& body) {
    auto text = TextOf(body);
    if (test.scheme != "INFO"s) text.resize(text.find_last_not_of('\0') + 1);
    return text;
}

bool AreNew(const MetadataStore& change, const MetadataStore& old) {
    bool areNew = true;
    change.ForEach([&](const auto& entry) { areNew = areNew && !old.Has(entry.key); });
    return areNew;
}

std::string Replaced(std::string text, const Case& test) {
    for (const auto& [from, to] : test.replaced) {
        const size_t place = text.find(from);
        EXPECT_NE(place, text.npos) << from;
        if (place != text.npos) text.replace(place, from.size(), to);
    }
    return text;
}

const std::string fullNote = "<NOTE>it's\xC3\xA9 &lt;1&gt;</NOTE>";

const std::vector<Case>& Cases() {
    static const Bytes document = BytesOf(recordersIxml), xmp = BytesOf(editorsXmp);
    static const Bytes fields = BytesOf("<BWFXML><Z>1</Z></BWFXML>   "s);
    const std::string end = "</BWFXML>";
    static const std::vector<Case> cases = {
        // An element is filled, changed, found by its number; what is empty without an end tag gets one.
        {"IXML", document, "IXML:NOTE=it's\u00E9 <1>", {{"<NOTE></NOTE>", fullNote}}},
        {"IXML", document, "IXML:PROJECT=Moby+Dick", {{"Moby &amp; Dick", "Moby+Dick"}}},
        {"IXML", document, "IXML:TAPE=12", {{"<TAPE/>", "<TAPE>12</TAPE >"}}},
        {"IXML", document, "IXML:SCENE=1", {{"<SCENE unit=\"no\" />", "<SCENE unit=\"no\">1</SCENE  >"}}},
        {"IXML", document, "IXML:TRACK_LIST:TRACK:NAME=Bass", {{">Boom<", ">Bass<"}}},
        {"IXML",
         document,
         "IXML:TRACK_LIST:TRACK:NAME:2=LavLavLavLavLavL2",
         {{"<![CDATA[Lav <3>]]>", "LavLavLavLavLavL2"}}},
        {"IXML", document, "IXML:SPEED:TIMECODE_RATE=30/1", {{"25/1", "30/1"}}},
        {"IXML", document, "IXML:MIXED=twelve", {{"one<EMPTY/>two", "twelve<EMPTY/>"}}},
        // New ones stand at the end of their parents.
        {"IXML",
         document,
         "IXML:USER:VANTOR=rain|IXML:USER:MOOD=dark",
         {{"</BWFXML>", "\n<USER>\n<MOOD>dark</MOOD>\n<VANTOR>rain</VANTOR></USER></BWFXML>"}}},
        {"IXML",
         document,
         "ASWG:project=Whale",
         {{"</BWFXML>", "\n<ASWG>\n<project>Whale</project></ASWG></BWFXML>"}}},
        {"IXML",
         document,
         "IXML:TRACK_LIST:TRACK:FUNC=M",
         {{"Boom</NAME></TRACK>", "Boom</NAME>\n<FUNC>M</FUNC></TRACK>"}}},
        {"IXML",
         document,
         "IXML:TRACK_LIST:TRACK:NAME:3=4th",
         {{"\t</TRACK_LIST>", "\t\n<TRACK>\n<NAME>4th</NAME></TRACK></TRACK_LIST>"}}},
        // Without an element white space would be a text.
        {"IXML",
         BytesOf("<BWFXML><USER>\n\n<MOOD>dark</MOOD></USER></BWFXML> "s),
         "IXML:USER:MOOD=",
         {{"dark", ""}}},
        // A line feed would lengthen the text that their parent has.
        {"IXML", document, "IXML:MIXED:A:B=1", {{"two<", "two<A >\n<B>1</B></A><"}}},
        {"IXML",
         BytesOf("<BWFXML><ASWG>text</ASWG></BWFXML>"s),
         "ASWG:project=a|ASWG:notes=b",
         {{"text", "text<notes >b</notes>\n<project>a</project>"}}},
        {"IXML",
         BytesOf("<?xml encoding='ISO-8859-1'?><BWFXML><A>\xE4</A></BWFXML>"s),
         "IXML:A=\u00F6\u20AC.",
         {{"\xE4", "&#246;&#8364;."}}},
        {"IXML",
         BytesOf("<BWFXML><A>x<!--> y--></A></BWFXML>"s),
         "IXML:A=1",
         {{"x<!--> y-->", "1<!--> y-->"}}},
        {"IXML", BytesOf("<BWFXML><A>x<?p q='?>' r=\"'\"?></A></BWFXML>"s), "IXML:A=1", {{"x<?", "1<?"}}},
        {"IXML",
         BytesOf("<BWFXML><A>x<?p q='?>' r=\"'?>\"?>yz<?q?>y</A></BWFXML>"s),
         "IXML:A=1",
         {{"x<?", "1<?"}, {"?>yz<", "?><"}, {"?>y<", "?><"}}},
        {"IXML", BytesOf("<BWFXML><NOTE> </NOTE><B>2</B></BWFXML>"s), "IXML:NOTE=1", {{"> <", ">1<"}}},
        {"IXML",
         BytesOf("<?xml encoding='ISO-8859-1'?><BWFXML><A>1</A></BWFXML>"s),
         "IXML:A=\u007F\u0080\u00E9",
         {{"1</A>", "\x7F&#128;&#233;</A>"}}},
        {"IXML", BytesOf("encoding <BWFXML><A>1</A></BWFXML>"s), "IXML:A=\u00E9", {{"1", "\u00E9"}}},
        {"IXML", BytesOf("<BWFXML><A>1</A></BWFXML>    "s), "IXML:A=\u00E9|INFO:INAM=x", {{"1", "\u00E9"}}},
        // Several at once, some inside others.
        {"IXML",
         BytesOf("<BWFXML><M>one<C>two</C>three</M></BWFXML>"s),
         "IXML:M=11111|IXML:M:C=2",
         {{"one", "11111"}, {"two", "2"}, {"three", ""}}},
        {"IXML",
         BytesOf("<BWFXML><M>one<C>two</C>three</M><N>4</N></BWFXML>"s),
         "IXML:M=|IXML:M:C=",
         {{"one", ""}, {"two", ""}, {"three", ""}}},
        {"IXML", document, "IXML:PROJECT=|IXML:SPEED:NOTE=", {{"Moby &amp; Dick", ""}, {"slow", ""}}},
        {"IXML", BytesOf("<BWFXML><BWFXML>t<A>1</A></BWFXML></BWFXML>"s), "IXML=x|IXML:A=2", {{"1", "2"}}},
        // What was there keeps its tags, whatever else is taken out of it.
        {"IXML", BytesOf("<BWFXML>\n<N a='1'>x</N></BWFXML>"s), "IXML:N=", {{"x", ""}}},
        {"IXML", BytesOf("<BWFXML>\n<N>x<C/></N></BWFXML>"s), "IXML:N=", {{"x", ""}}},
        {"IXML", BytesOf("<BWFXML><N>x<?q ?></N ></BWFXML>"s), "IXML:N=", {{">x", ">"}}},
        {"IXML",
         document,
         "IXML:PROJECT=|IXML:TRACK_LIST:TRACK:NAME:2=",
         {{"Moby &amp; Dick", ""}, {"<![CDATA[Lav <3>]]>", ""}}},
        {"IXML", BytesOf("<BWFXML><P>text<N>x</N></P></BWFXML>"s), "IXML:P:N=", {{">x<", "><"}}},
        {"IXML", BytesOf("<BWFXML><P><N >x</N></P></BWFXML>"s), "IXML:P:N=", {{">x<", "><"}}},
        {"IXML", BytesOf("<BWFXML><P>\n<N>x</N> </P></BWFXML>"s), "IXML:P:N=", {{">x<", "><"}}},
        {"IXML", BytesOf("<BWFXML>\n<P a='1'>\n<N>x</N></P></BWFXML>"s), "IXML:P:N=", {{"\n<N>x</N>", ""}}},
        {"IXML", BytesOf("<BWFXML><A>1</A>\n<B>x</B>\n<C>3</C></BWFXML>"s), "IXML:B=", {{"\n<B>x</B>", ""}}},
        {"IXML",
         BytesOf("<BWFXML>\n<P>\n<N>x</N>\n<M>y</M></P></BWFXML>"s),
         "IXML:P:N=",
         {{"\n<N>x</N>", ""}}},
        {"IXML",
         BytesOf("<BWFXML>\n<P>\n<N>x</N>\n<M>y</M></P></BWFXML>"s),
         "IXML:P:M=",
         {{"\n<M>y</M>", ""}}},
        {"IXML", BytesOf("<BWFXML>own\n<A >x</A></BWFXML>   "s), "IXML:A=", {{"\n<A >x</A>", ""}}},
        {"IXML", document, "IXML:TAPE:X=1", {{"<TAPE/>", "<TAPE>\n<X>1</X></TAPE >"}}},
        // The place of a new one: the first empty one, the first parent that has none, or a new parent.
        {"IXML", BytesOf("<BWFXML><A/><A/></BWFXML>   "s), "IXML:A=1", {{"<A/>", "<A>1</A >"}}},
        {"IXML",
         BytesOf("<BWFXML><L><T><N>a</N></T><T>x</T><T>y</T></L></BWFXML>"s),
         "IXML:L:T:N:2=b",
         {{"x<", "x<N >b</N><"}}},
        {"IXML",
         BytesOf("<BWFXML><L><T><N>a</N></T><T/><T><N>c</N></T></L></BWFXML>"s),
         "IXML:L:T:N:3=d",
         {{"</L>", "\n<T>\n<N>d</N></T></L>"}}},
        {"IXML", BytesOf("<BWFXML><L><N>a</N></L></BWFXML>"s), "IXML:L:N:2=b", {{"</L>", "\n<N>b</N></L>"}}},
        {"IXML",
         BytesOf("<BWFXML><L><A>1</A></L><L><A>2</A></L></BWFXML>"s),
         "IXML:L:B:C=3",
         {{"2</A>", "2</A>\n<B>\n<C>3</C></B>"}}},
        {"IXML",
         BytesOf("<BWFXML><L><B><X>1</X></B></L><L><A>2</A></L></BWFXML>"s),
         "IXML:L:B:C:D:2=3",
         {{"</X>", "</X>\n<C>\n<D>3</D></C>"}}},
        // A number behind a colon counts from 2 on; other digits are a name.
        {"IXML", fields, "IXML:A:2=x", {{end, "\n<A>x</A>" + end}}},
        {"IXML", fields, "IXML:A:02=x", {{end, "\n<A>\n<_02>x</_02></A>" + end}}},
        {"IXML", fields, "IXML:A:1=x", {{end, "\n<A>\n<_1>x</_1></A>" + end}}},
        {"IXML", fields, "IXML:A:2x=x", {{end, "\n<A>\n<_2x>x</_2x></A>" + end}}},
        {"IXML", fields, "IXML:A:99999999999=x", {{end, "\n<A>\n<_99999999999>x</_99999999999></A>" + end}}},
        {"IXML", fields, "IXML:USER:2=x", {{end, "\n<USER>\n<_2>x</_2></USER>" + end}}},
        {"IXML",
         BytesOf("<BWFXML><USER>u</USER></BWFXML>"s),
         "IXML:USER:2=x",
         {{"</USER>", "</USER>\n<USER>x</USER>"}}},
        {"IXML",
         fields,
         "IXML:A=1|IXML:A:2=2|IXML:A:3=3|IXML:A:4=4|IXML:A:5=5|IXML:A:6=6|IXML:A:7=7|IXML:A:8=8|IXML:A:9=9"
         "|IXML:A:10=10|IXML:A:11=11",
         {{end,
           "\n<A>1</A>\n<A>2</A>\n<A>3</A>\n<A>4</A>\n<A>5</A>\n<A>6</A>\n<A>7</A>\n<A>8</A>\n<A>9</A>"
           "\n<A>10</A>\n<A>11</A>" +
               end}}},
        // Attributes, elements, items and alternatives are changed where they stand.
        {"XMP", xmp, "XMP:dm/artist=B", {{"d:artist=\"A\"", "d:artist=\"B\""}}},
        {"XMP", xmp, "XMP:dc/format=it's", {{"audio/x-&#xE4;", "it&apos;s"}}},
        {"XMP", xmp, "XMP:dc/title=Other", {{"Title &#xA;", "Other"}}},
        {"XMP", xmp, "XMP:dc/subject=wind; rain; tide", {{">sea<", ">tide<"}}},
        {"XMP", xmp, "XMP:dc/subject=wind; rain; sea; fog", {{"sea</r:li>", "sea</r:li><r:li>fog</r:li>"}}},
        {"XMP", xmp, "XMP:dc/source=disk", {{"tape", "disk"}}},
        {"XMP",
         xmp,
         "XMP:dc/description=New",
         {{"\n </r:Description>",
           "\n \n<dc:description><r:Alt><r:li "
           "xml:lang=\"x-default\">New</r:li></r:Alt></dc:description></r:Description>"}}},
        {"XMP",
         xmp,
         "XMP:dm/album=Sea",
         {{"\n </r:Description>",
           "\n \n<xmpDM:album "
           "xmlns:xmpDM=\"http://ns.adobe.com/xmp/1.0/DynamicMedia/\">Sea</xmpDM:album></r:Description>"}}},
        {"XMP",
         BytesOf(
             "<r:RDF xmlns:r=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><r:Description a=\"b\" "
             "xmlns:dc=\"http://purl.org/dc/elements/1.1/\"><dc:title><r:Alt><r:li xml:lang=\"de\">T</r:li>"
             "</r:Alt></dc:title><!-- --></r:Description></r:RDF>"s),
         "XMP:dc/title=",
         {{" xmlns:dc=\"http://purl.org/dc/elements/1.1/\">",
           " xmlns:dc=\"http://purl.org/dc/elements/1.1/\" dc:language=\"de\">"},
          {"<dc:title><r:Alt><r:li xml:lang=\"de\">T</r:li></r:Alt></dc:title>", ""}}},
        {"XMP", xmp, "XMP:dc/date=2024", {{"&#xE4;'>", "&#xE4;' dc:date=\"2024\">"}}},
        {"XMP",
         xmp,
         "XMP:MARK000=1000000:1000000:one",
         {{"50</d:startTime>", "50</d:startTime><d:name>one</d:name>"}}},
        {"XMP",
         xmp,
         "XMP:MARK001=2000001:2000001:two",
         {{"d:startTime=\"100\"", "d:startTime=\"2000001f1000000\""}}},
        {"XMP",
         xmp,
         "XMP:MARK002=3000000:4000000",
         {{"d:name=\"two\"/>",
           "d:name=\"two\"/><r:li "
           "r:parseType=\"Resource\"><d:startTime>150</d:startTime><d:duration>50</d:duration></r:li>"}}},
        {"BWF",
         RecorderBext(),
         "BWF:Originator=M\u00F6wenstein und Partner GmbH & Co KG",
         {{"maker"s + std::string(27, '\0'), "M\u00F6wenstein und Partner GmbH & C"s}}},
        {"BWF", RecorderBext(), "BWF:OriginationTime=23:59", {{"10:11:12", "23:59:00"}}},
        {"BWF", RecorderBext(), "BWF:TimeReference=48001", {{"\x80\xBB\0\0"s, "\x81\xBB\0\0"s}}},
        {"CART", StationCart(), "CART:SEG1=201", {{"SEG1\xC8"s, "SEG1\xC9"s}}},
        {"CART",
         StationCart(),
         "CART:INT1=9",
         {{"SEG1\x64\0\0\0\0\0\0\0\0\0\0\0"s, "SEG1\x64\0\0\0INT1\x09\0\0\0"s}}},
        {"CART", StationCart(), "CART:TagText=text", {{"tag text", "text"}}},
        {"INFO",
         OddInfo(),
         "INFO:ICMT=third!!!",
         {{"second\0\0more"s, "third!!!\0\0"s}, {"ICMT\x0C"s, "ICMT\x09"s}}},
        {"INFO", OddInfo(), "INFO:INAM=n\u00E4", {{"rest", "INAM\4\0\0\0n\u00E4\0rest"s}}},
        // A tag keeps its version, a comment its language; a date before 2.4 goes into three frames.
        {"ID3", RecorderTag(2), "ID3:TIT2=Other", {{"Title", "Other"}}},
        {"ID3",
         RecorderTag(3),
         "ID3:COMM=W\u00F6rt",
         {{"COMM\0\0\0\x09"s, "COMM\0\0\0\x09"s}, {"deu\0Wort"s, "deu\0W\xF6rt"s}}},
        {"ID3",
         RecorderTag(4),
         "ID3:COMM=W\u00F6rt",
         {{"[", "]"}, {"COMM\0\0\0\x09\0\0\0"s, "COMM\0\0\0\x0A\0\0\3"s}, {"deu\0Wort"s, "deu\0W\u00F6rt"s}}},
    };
    return cases;
}

TEST(Patches, ChangeTheBytesOfTheValueAndNothingElse) {
    for (const auto& test : Cases()) {
        SCOPED_TRACE(std::string(test.scheme) + " " + test.change);
        const auto& scheme = *FindScheme(test.scheme);
        const auto change = ChangeOf(test.change);
        const auto old = StoreIn(scheme, test.body);
        const auto patched = scheme.patch({test.body, change});
        ASSERT_TRUE(patched);
        EXPECT_EQ(Unpadded(test, *patched), Replaced(Unpadded(test, test.body), test));
        EXPECT_EQ(patched->size() % 2, test.body.size() % 2);
        const auto now = StoreIn(scheme, *patched);
        const auto reverse = Reverse(change, old, now);
        const auto back = scheme.patch({*patched, reverse});
        ASSERT_TRUE(back);
        EXPECT_EQ(EntriesOf(StoreIn(scheme, *back)), EntriesOf(old));
        if (AreNew(change, old)) {
            EXPECT_EQ(TextOf(*back), TextOf(test.body));
        }
    }
}

TEST(Patches, OfDocumentsThatCannotBeReadAreRefused) {
    for (const auto* document : {"<BWFXML><A>1</B></BWFXML>", "<OTHER><A>1</A></OTHER>    ", ""})
        for (const auto* change : {"IXML:A=2", "IXML:A=", "IXML:A=|IXML:B="})
            EXPECT_FALSE(PatchIxml({BytesOf(document), ChangeOf(change)})) << document;
    for (const auto* change : {"IXML:A=1", "IXML:A=1|IXML:A:2=2|ASWG:b=3"}) {
        const auto filled = PatchIxml({BlankIxml(), ChangeOf(change)});
        ASSERT_TRUE(filled);
        MetadataStore store, reverse;
        ASSERT_TRUE(ReadIxml(*filled, store));
        EXPECT_EQ(EntriesOf(store), EntriesOf(ChangeOf(change)));
        store.ForEach([&](const auto& entry) { reverse.Set(entry.key, ""); });
        EXPECT_EQ(PatchIxml({*filled, reverse}), Bytes{});
    }
}

}  // namespace
}  // namespace vantor::test
