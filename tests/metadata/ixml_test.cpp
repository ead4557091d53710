#include <gtest/gtest.h>

#include <string>

#include "metadata/text.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/escape_xml.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

bool Read(std::string_view document, MetadataStore& store) {
    return ReadIxml(BytesOf(document), store);
}

Entries EntriesIn(std::string_view document) {
    MetadataStore store;
    Read(document, store);
    return EntriesOf(store);
}

// The document without the chunk's header and its zeros.
std::string Built(const MetadataStore& store) {
    ChunkImage image;
    BuildIxmlChunk(image, store, 0);
    return image.empty() ? "" : reinterpret_cast<const char*>(image.data() + 8);
}

// What stands between the fixed beginning and end.
std::string BuiltBody(const Entries& pairs) {
    const std::string header = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML>";
    const std::string trailer = "</BWFXML>";
    const std::string text = Built(StoreOf(pairs));
    if (!text.starts_with(header) || !text.ends_with(trailer)) return "not a document: " + text;
    return text.substr(header.size(), text.size() - header.size() - trailer.size());
}

const std::string recorderDocument = R"(<?xml version="1.0" encoding="UTF-8"?>
<BWFXML>
	<PROJECT>Moby &amp; Dick</PROJECT>
	<CIRCLED>TRUE</CIRCLED>
	<NOTE></NOTE>
	<BEXT>
		<BWF_TIME_REFERENCE_LOW>123456</BWF_TIME_REFERENCE_LOW>
		<BWF_TIME_REFERENCE_HIGH>0</BWF_TIME_REFERENCE_HIGH>
	</BEXT>
	<TRACK_LIST>
		<TRACK_COUNT>2</TRACK_COUNT>
		<TRACK><CHANNEL_INDEX>1</CHANNEL_INDEX><NAME>Boom</NAME></TRACK>
		<TRACK><CHANNEL_INDEX>2</CHANNEL_INDEX><NAME>Lav</NAME></TRACK>
	</TRACK_LIST>
	<USER><VANTOR>rain; roof</VANTOR></USER>
	<ASWG><project>Whales</project></ASWG>
</BWFXML>
)";

const Entries recorderEntries =
    Listed("",
           "ASWG:project=Whales|IXML:BEXT:BWF_TIME_REFERENCE_HIGH=0|IXML:BEXT:BWF_TIME_REFERENCE_LOW=123456"
           "|IXML:CIRCLED=TRUE|IXML:PROJECT=Moby & Dick|IXML:TRACK_LIST:TRACK:CHANNEL_INDEX=1"
           "|IXML:TRACK_LIST:TRACK:CHANNEL_INDEX:2=2|IXML:TRACK_LIST:TRACK:NAME=Boom"
           "|IXML:TRACK_LIST:TRACK:NAME:2=Lav|IXML:TRACK_LIST:TRACK_COUNT=2|IXML:USER:VANTOR=rain; roof");

TEST(IxmlReader, ReadsADocumentOfAFieldRecorder) {
    EXPECT_EQ(EntriesIn(recorderDocument), recorderEntries);
    EXPECT_EQ(EntriesIn(recorderDocument + std::string(500, '\0') + "<"), recorderEntries);
    EXPECT_EQ(EntriesIn("\xEF\xBB\xBF stray" + recorderDocument), recorderEntries);
}

TEST(IxmlReader, NeedsTheRootTagUnlessTheTextIsShort) {
    struct Case {
        const char* document;
        Entries entries;
    };
    const Case cases[] = {
        {"", refused},
        {"no element", refused},
        {"<?xml version='1.0'?><OTHER><A>1</A></OTHER>", refused},
        // 20 bytes are taken as they stand, a longer text is searched while 21 bytes remain.
        {"<X><NOTE>1</NOTE></X", refused},
        {"<X><AB>12</AB></X>\n\n", Listed("IXML:", "X:AB=12")},
        {"<X><AB>12</AB></X>\n\n\n", refused},
        {"  <BWFXML><A></A></BWFXML>", {}},
        {" <BWFXML></BWFXML>   ", refused},
        {" <BWFXML></BWFXML>    ", {}},
        // The search ignores case, the name does not.
        {"<bwfxml><NOTE>1</NOTE></bwfxml>", Listed("IXML:", "bwfxml:NOTE=1")},
        {"<BWFXML>root text<A>1</A></BWFXML>", Listed("IXML:", "A=1")},
        {"<BWFXML><NOTE>caf\xE9</NOTE></BWFXML>", Listed("IXML:", "NOTE=caf\xC3\xA9")},
        {"<BWFXML><A>1</A><B>2</BWFXML>", refused},
    };
    for (const auto& [document, entries] : cases)
        EXPECT_EQ(ReadEntries("IXML", BytesOf(document)), entries) << document;
}

TEST(IxmlReader, NumbersWhatIsThereAlready) {
    EXPECT_EQ(EntriesIn("<BWFXML><A>1</A><A>2</A><A:3>x</A:3><A>3</A></BWFXML>"),
              Listed("IXML:", "A=1|A:2=2|A:3=x|A:4=3"));
    std::string document = "<BWFXML>";
    for (int i = 1; i <= 100'000; ++i)
        document += "<A>" + std::to_string(i) + "</A>";
    MetadataStore store;
    ASSERT_TRUE(Read(document + "</BWFXML>", store));
    EXPECT_EQ(store.Value("IXML:A:100000"), "100000");
    for (int i = 0; i < 1000; ++i)
        ASSERT_TRUE(Read("<BWFXML><A>later</A></BWFXML>", store));
    EXPECT_EQ(store.Count(), 101'000u);
    EXPECT_EQ(store.Value("IXML:A:101000"), "later");
}

TEST(IxmlReader, CutsADeepPathBetweenCharacters) {
    std::string open, close;
    for (int i = 0; i < 20'000; ++i) {
        open += "<\xC3\xA9>";
        close += "</\xC3\xA9>";
    }
    const Entries pairs = EntriesIn("<BWFXML>" + open + "x" + close + "</BWFXML>");
    ASSERT_EQ(pairs.size(), 1u);
    // "IXML" and 169 times a colon and two bytes are 511.
    EXPECT_EQ(pairs[0].first.size(), 511u);
    EXPECT_TRUE(EntriesIn("<BWFXML>" + open).empty());
    const Entries odd = EntriesIn("<BWFXML><odd>" + open + "x" + close + "</odd></BWFXML>");
    EXPECT_EQ(odd.at(0).first.size(), 511u);
    EXPECT_TRUE(IsValidUtf8(odd[0].first));
}

TEST(IxmlReader, ReadsNothingFromATruncatedDocument) {
    for (size_t bytes = 0; bytes < recorderDocument.rfind('>'); ++bytes)
        EXPECT_TRUE(EntriesIn(recorderDocument.substr(0, bytes)).empty()) << bytes;
}

TEST(EscapeXml, EscapesContentAndNames) {
    std::string text, name;
    EscapeXml(text, std::string_view("a<b>: \"&'\0z", 11), true);
    EscapeXml(name, "a<b>: \"&'", false);
    EXPECT_EQ(text, "a&lt;b&gt;: \"&amp;'");
    EXPECT_EQ(name, "a&lt;b&gt;__\"&amp;'");
}

TEST(IxmlChunk, WritesKeysIntoTheirSections) {
    const auto times = [](const std::string& high, const std::string& low) {
        return "<BWF_TIME_REFERENCE_HIGH>" + high + "</BWF_TIME_REFERENCE_HIGH><BWF_TIME_REFERENCE_LOW>" +
               low + "</BWF_TIME_REFERENCE_LOW></BWF>";
    };
    const std::pair<const char*, std::string> cases[] = {
        {"BWF:Description=x", "<BWF><BWF_DESCRIPTION>x</BWF_DESCRIPTION></BWF>"},
        {"BWF:CodingHistory=x", ""},
        {"IXML:NOTE=a<b & c", "<NOTE>a&lt;b &amp; c</NOTE>"},
        {"IXML:A B:C=1", "<A_B_C>1</A_B_C>"},
        {"ASWG:project=p|BWF:Version=2|IXML:A=1|IXML:USER:X=2|IXML:Z=3|INFO:INAM=no",
         "<ASWG><project>p</project></ASWG><BWF><BWF_VERSION>2</BWF_VERSION></BWF><A>1</A>"
         "<USER><X>2</X></USER><Z>3</Z>"},
        {"BWF:TimeReference=4294967296", "<BWF>" + times("1", "0")},
        {"BWF:TimeReference=4294967295 samples", "<BWF>" + times("0", "-1")},
        {"BWF:TimeReference=-2", "<BWF>" + times("-1", "-2")},
        {"BWF:TimeReference=x1", "<BWF>" + times("0", "0")},
        {"IXML:A=#junk#1|IXML:B=1#junk#", "<B>1#junk#</B>"},
        // A section that the document writes anew is not carried along from the last one.
        {"BWF:Originator=o|BWF:TimeReference=1|IXML:BWF:BWF_ORIGINATOR=old|IXML:BWF:BWF_ORIGINATOR:2=old"
         "|IXML:BWF:BWF_TIME_REFERENCE_LOW=7|IXML:BWF:BWF_DESCRIPTION=kept",
         "<BWF><BWF_ORIGINATOR>o</BWF_ORIGINATOR>" + times("0", "1") +
             "<BWF_BWF_DESCRIPTION>kept</BWF_BWF_DESCRIPTION>"},
        // Names are well formed whatever the key holds, and none is written twice.
        {"IXML:A B=1|IXML:A:B=2|IXML:A_B=3|IXML:A_B_2=4",
         "<A_B_3>1</A_B_3><A_B_4>2</A_B_4><A_B>3</A_B><A_B_2>4</A_B_2>"},
        {"IXML:\u00D7\u65E5=\u65E5\x01\x0B", "<__\u65E5>\u65E5  </__\u65E5>"},
        {"IXML:NOTE=caf\xE9", "<NOTE>caf\u00E9</NOTE>"},
    };
    for (const auto& [entries, body] : cases)
        EXPECT_EQ(BuiltBody(Listed("", entries)), body);
    EXPECT_EQ(BuiltBody({{"IXML:USER:1/2=\"", "1"}}), "<USER><_1_2__>1</_1_2__></USER>");
}

TEST(IxmlChunk, FillsWithZerosToAnEvenSize) {
    const MetadataStore store = StoreOf({{"IXML:NOTE", "abc"}});
    const std::string text = Built(store);
    for (const int minimum : {0, 1, 100, 301, 4096}) {
        ChunkImage image = {1, 2, 3};
        const int appended = BuildIxmlChunk(image, store, minimum);
        size_t data = std::max(text.size() + 1, static_cast<size_t>(minimum));
        data += data % 2;
        EXPECT_EQ(appended, static_cast<int>(data + 8));
        const Bytes chunk = ByteWriter().U8(1).U8(2).U8(3).Chunk("iXML", ByteWriter().Field(text, data));
        EXPECT_EQ(image, chunk) << minimum;
    }
}

TEST(IxmlChunk, BuildsNothingWithoutAKeyOfItsSchemes) {
    ChunkImage image;
    EXPECT_EQ(BuildIxmlChunk(image, StoreOf({{"INFO:INAM", "x"}, {"XMP:dc/title", "x"}}), 4096), 0);
    EXPECT_TRUE(image.empty());
}

// After the first pass what is read is written back as it was.
TEST(IxmlChunk, ReachesAFixedPointAfterOnePass) {
    const Entries stores[] = {
        recorderEntries,
        Listed("", "BWF:Description=d|BWF:TimeReference=5000000000|IXML:BWF:BWF_DESCRIPTION=old"),
        Listed("IXML:", "A B=1|A:B=2|A:B:2=3|A_B=4|A_B_2=5"),
        Listed("IXML:", "USER=u|USER:2=v|USER:BWFXML=w|BWFXML=x"),
        Listed("", "ASWG:a=1|ASWG:a:2=2|IXML:ASWG=3|IXML:ASWG:b=4|IXML:BWF=5"),
        Listed("IXML:",
               std::string(300, 'n') + " " + std::string(300, 'n') + "=1|" + std::string(700, 'n') + "=2"),
        Listed("IXML:", "SPACE= |LINES= a\r\n\tb |LATIN=\xE9|CONTROL=\x02"),
    };
    for (const Entries& pairs : stores) {
        const std::string first = Built(StoreOf(pairs));
        MetadataStore store;
        ASSERT_TRUE(Read(first, store)) << first;
        for (const auto& [key, value] : pairs)
            if (key.starts_with("BWF:")) store.Set(key, value);
        const std::string second = Built(store);
        EXPECT_EQ(second.size(), first.size());
        MetadataStore again;
        ASSERT_TRUE(Read(second, again));
        for (const auto& [key, value] : pairs)
            if (key.starts_with("BWF:")) again.Set(key, value);
        EXPECT_EQ(EntriesOf(again), EntriesOf(store));
    }
}

TEST(IxmlChunk, GivesPlainFieldsBackAsTheyWere) {
    const auto plain = Listed("", "ASWG:project=p & q|IXML:NOTE=a\nb <c> \"d\"|IXML:USER:VANTOR=tag \u65E5");
    EXPECT_EQ(EntriesIn(Built(StoreOf(plain))), plain);
}

// What the document repeats from the broadcast chunk is no field of its own once it is read back.
TEST(IxmlChunk, CopiesOfTheBroadcastChunkGoWithIt) {
    auto store = StoreOf(Listed("",
                                "BWF:TimeReference=5|IXML:BWF:BWF_DESCRIPTION=x|IXML:BWF:BWF_DESCRIPTION:2=x"
                                "|IXML:BWF:BWF_TIME_REFERENCE_HIGH=0|IXML:BWF:BWF_TIME_REFERENCE_LOW=5|IXML:"
                                "BWF:OTHER=x|IXML:NOTE=x"));
    RemoveBwfCopies(store);
    EXPECT_EQ(EntriesOf(store), Listed("", "BWF:TimeReference=5|IXML:BWF:OTHER=x|IXML:NOTE=x"));

    const auto withoutChunk = Listed("IXML:", "BWF:BWF_DESCRIPTION=x");
    auto alone = StoreOf(withoutChunk);
    RemoveBwfCopies(alone);
    EXPECT_EQ(EntriesOf(alone), withoutChunk);
}

}  // namespace
}  // namespace vantor::test
