#include <gtest/gtest.h>

#include "fileio/byte_order.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/store_entries.h"
#include "text/text.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

Entries EntriesIn(std::string_view document) {
    return ReadEntries("IXML", BytesOf(document));
}

// The document without the chunk's header and its zeros.
std::string Built(const Entries& entries) {
    ChunkImage image;
    BuildIxmlChunk(image, StoreOf(entries), 0);
    return image.empty() ? "" : reinterpret_cast<const char*>(image.data() + 8);
}

const std::string recorderDocument = R"(<?xml version="1.0" encoding="UTF-8"?>
<BWFXML>
	<PROJECT>Moby &amp; Dick</PROJECT>
	<NOTE></NOTE>
	<BEXT><BWF_TIME_REFERENCE_LOW>123456</BWF_TIME_REFERENCE_LOW></BEXT>
	<TRACK_LIST>
		<TRACK><CHANNEL_INDEX>1</CHANNEL_INDEX><NAME>Boom</NAME></TRACK>
		<TRACK><CHANNEL_INDEX>2</CHANNEL_INDEX><NAME>Lav</NAME></TRACK>
	</TRACK_LIST>
	<USER><VANTOR>rain; roof</VANTOR></USER>
	<ASWG><project>Whales</project></ASWG>
</BWFXML>
)";
const Entries recorderEntries =
    Listed("",
           "ASWG:project=Whales|IXML:BEXT:BWF_TIME_REFERENCE_LOW=123456|IXML:PROJECT=Moby & Dick"
           "|IXML:TRACK_LIST:TRACK:CHANNEL_INDEX=1|IXML:TRACK_LIST:TRACK:CHANNEL_INDEX:2=2"
           "|IXML:TRACK_LIST:TRACK:NAME=Boom|IXML:TRACK_LIST:TRACK:NAME:2=Lav"
           "|IXML:USER:VANTOR=rain; roof");

TEST(IxmlReader, FlattensDocumentsWithTheRootTag) {
    const std::pair<std::string, Entries> cases[] = {
        {recorderDocument, recorderEntries},
        {"\xEF\xBB\xBF stray\0"s + recorderDocument + std::string(500, '\0') + "<", recorderEntries},
        {recorderDocument.substr(0, recorderDocument.rfind('>')), refused},
        {"", refused},
        {"<?xml version='1.0'?><OTHER><A>1</A></OTHER>", refused},
        // 20 bytes are taken as they stand, a longer text is searched while 21 bytes remain.
        {"<X><AB>12</AB></X>\n\n", Listed("IXML:", "X:AB=12")},
        {"<X><AB>12</AB></X>\n\n\n", refused},
        {" <BWFXML></BWFXML>   ", refused},
        {" <BWFXML></BWFXML>    ", {}},
        // The search ignores case, the name does not.
        {"<bwfxml><NOTE>1</NOTE></bwfxml>", Listed("IXML:", "bwfxml:NOTE=1")},
        {"<BWFXML>root text<A>1</A></BWFXML>", Listed("IXML:", "A=1")},
        {"<BWFXML><BWFXML>text<A>1</A></BWFXML></BWFXML>", Listed("IXML:", "A=1")},
        {"<BWFXML><NOTE>caf\xE9</NOTE></BWFXML>", Listed("IXML:", "NOTE=caf\u00E9")},
        // A number that is there already is passed over.
        {"<BWFXML><A>1</A><A>2</A><A:3>x</A:3><A>3</A></BWFXML>", Listed("IXML:", "A=1|A:2=2|A:3=x|A:4=3")},
    };
    for (const auto& [document, entries] : cases)
        EXPECT_EQ(EntriesIn(document), entries) << document;
}

TEST(IxmlReader, NumbersAnyRunOfRepeats) {
    std::string document = "<BWFXML>";
    for (int i = 1; i <= 100'000; ++i)
        document += "<A>" + std::to_string(i) + "</A>";
    MetadataStore store;
    ASSERT_TRUE(ReadIxml(BytesOf(document + "</BWFXML>"), store));
    EXPECT_EQ(store.Value("IXML:A:100000"), "100000");
    for (int i = 0; i < 1000; ++i)
        ASSERT_TRUE(ReadIxml(BytesOf("<BWFXML><A>later</A></BWFXML>"), store));
    EXPECT_EQ(store.Count(), 101'000u);
    EXPECT_EQ(store.Value("IXML:A:101000"), "later");
}

TEST(IxmlReader, CutsADeepPathBetweenCharacters) {
    std::string open, close;
    for (int i = 0; i < 20'000; ++i) {
        open += "<\u00E9>";
        close += "</\u00E9>";
    }
    for (const std::string parent : {"BWFXML", "odd"}) {
        const auto entries =
            EntriesIn("<BWFXML><" + parent + ">" + open + "x" + close + "</" + parent + "></BWFXML>");
        ASSERT_EQ(entries.size(), 1u);
        // "IXML" and 169 times a colon and two bytes are 511.
        EXPECT_EQ(entries[0].first.size(), 511u);
        EXPECT_TRUE(IsValidUtf8(entries[0].first));
    }
}

TEST(IxmlChunk, WritesKeysIntoTheirSections) {
    const auto times = [](const std::string& high, const std::string& low) {
        return "<BWF_TIME_REFERENCE_HIGH>" + high + "</BWF_TIME_REFERENCE_HIGH><BWF_TIME_REFERENCE_LOW>" +
               low + "</BWF_TIME_REFERENCE_LOW></BWF>";
    };
    const std::pair<const char*, std::string> cases[] = {
        {"BWF:CodingHistory=x", ""},
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
        {"IXML:1/2=a<b & \xE9", "<_1_2>a&lt;b &amp; \u00E9</_1_2>"},
        {"IXML:A:B=1|IXML:A B=2|IXML:=3|IXML:USER:=4", "<A_B>2</A_B><A_B_2>1</A_B_2>"},
        // Characters of every length; what XML forbids is a blank.
        {"IXML:N=\x1F \t\n\r\u007F\u0080\u07FF\u0800\uFFFD\uFFFE\uFFFF\U00010000\U0010FFFF",
         "<N>  \t\n\r\u007F\u0080\u07FF\u0800\uFFFD  \U00010000\U0010FFFF</N>"},
        {"IXML:\u00C0\u07FF\u0800\U00010000\U000F0000=1",
         "<\u00C0\u07FF\u0800\U00010000_>1</\u00C0\u07FF\u0800\U00010000_>"},
        {"ASWG:a=1", "<ASWG><a>1</a></ASWG>"},
        {"IXML:BWF:BWF_DESCRIPTION2=1|IXML:BWF:2=2|IXML:BWF:BWF_DESCRIPTION:=3|BWF:Description=d",
         "<BWF><BWF_DESCRIPTION>d</BWF_DESCRIPTION></BWF><BWF_2>2</BWF_2>"
         "<BWF_BWF_DESCRIPTION2>1</BWF_BWF_DESCRIPTION2><BWF_BWF_DESCRIPTION_>3</BWF_BWF_DESCRIPTION_>"},
    };
    for (const auto& [entries, body] : cases)
        EXPECT_EQ(Built(Listed("", entries)),
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML>" + body + "</BWFXML>");
    EXPECT_EQ(Built(Listed("", "INFO:INAM=x|XMP:dc/title=x")), "");
}

TEST(IxmlChunk, FillsWithZerosToAnEvenSize) {
    const auto entries = Listed("", "IXML:NOTE=abc");
    const std::string text = Built(entries);
    for (const auto& [minimum, bytes] : {std::pair{0, text.size() / 2 * 2 + 2}, {300, 300}, {4095, 4096}}) {
        ChunkImage image = {1, 2, 3};
        EXPECT_EQ(BuildIxmlChunk(image, StoreOf(entries), minimum), static_cast<int>(bytes + 8));
        EXPECT_EQ(image, ByteWriter().Add({1, 2, 3}).Chunk("iXML", ByteWriter().Field(text, bytes)).Done());
    }
}

// What is read from one pass is written again as it was; plain fields are so from the start.
TEST(IxmlChunk, ReachesAFixedPointAfterOnePass) {
    const auto plain = Listed("", "ASWG:project=p & q|IXML:NOTE=a\nb <c> \"d\"|IXML:USER:VANTOR=tag \u65E5");
    EXPECT_EQ(EntriesIn(Built(plain)), plain);
    const std::string longName(300, 'n');
    const Entries stores[] = {
        recorderEntries,
        Listed("IXML:", "A B=1|A:B=2|A:B:2=3|A_B=4|A_B_2=5"),
        Listed("IXML:", "USER=u|USER:2=v|USER:BWFXML=w|BWFXML=x"),
        Listed("", "ASWG:a=1|ASWG:a:2=2|IXML:ASWG=3|IXML:ASWG:b=4|IXML:BWF=5"),
        Listed("IXML:", longName + " " + longName + "=1|" + longName + longName + longName + "=2"),
    };
    for (const Entries& entries : stores) {
        const auto once = EntriesIn(Built(entries));
        EXPECT_EQ(once.size(), entries.size());
        EXPECT_EQ(EntriesIn(Built(once)), once);
    }
}

// What the document repeats from the broadcast chunk is no field of its own once it is read back.
TEST(IxmlChunk, CopiesOfTheBroadcastChunkGoWithIt) {
    auto store = StoreOf(Listed("",
                                "BWF:TimeReference=5|IXML:BWF:BWF_DESCRIPTION:2=x"
                                "|IXML:BWF:BWF_TIME_REFERENCE_LOW=5|IXML:BWF:OTHER=x|IXML:NOTE=x"));
    RemoveBwfCopies(store);
    EXPECT_EQ(EntriesOf(store), Listed("", "BWF:TimeReference=5|IXML:BWF:OTHER=x|IXML:NOTE=x"));
    auto half = StoreOf(Listed("", "BWF:TimeReference=5|IXML:BWF:BWF_TIME_REFERENCE_HIGH=0"));
    RemoveBwfCopies(half);
    EXPECT_EQ(half.Count(), 1u);
}

TEST(IxmlChunk, NamesKeysAsTheyWillBeRead) {
    for (const auto& [key, written] :
         Listed("",
                "IXML:A:B=IXML:A_B|IXML:USER:a b=IXML:USER:a_b|ASWG:1=ASWG:_1|BWF:a b=BWF:a b|IXML:=IXML:"
                "|IXML:USER:=IXML:USER:|INFO:a b=INFO:a b|IXML:BWFXML=IXML:_BWFXML"))
        EXPECT_EQ(IxmlKeyAsWritten(key), written);
    // At most 480 bytes, all of a character or nothing of it.
    const std::string most(480, 'n');
    EXPECT_EQ(IxmlKeyAsWritten("IXML:" + most), "IXML:" + most);
    EXPECT_EQ(IxmlKeyAsWritten("IXML:" + most + "n"), "IXML:" + most);
    EXPECT_EQ(IxmlKeyAsWritten("IXML:" + most.substr(1) + "\u00E9"), "IXML:" + most.substr(1));
}

}  // namespace
}  // namespace vantor::test
