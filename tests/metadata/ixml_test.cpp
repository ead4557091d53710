#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "metadata/read/read_metadata.h"
#include "metadata/text.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/escape_xml.h"
#include "tests/support/byte_writer.h"

namespace vantor {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs PairsOf(const MetadataStore& store) {
    Pairs pairs;
    store.ForEach([&](const MetadataEntry& entry) { pairs.emplace_back(entry.key, entry.value); });
    return pairs;
}

MetadataStore StoreOf(const Pairs& pairs) {
    MetadataStore store;
    for (const auto& [key, value] : pairs)
        store.Set(key, value);
    return store;
}

bool Read(std::string_view document, MetadataStore& store) {
    return ReadIxml(test::ByteWriter().Text(document).Done(), store);
}

Pairs PairsOf(std::string_view document) {
    MetadataStore store;
    Read(document, store);
    return PairsOf(store);
}

// The document without the chunk's header and its zeros.
std::string Built(const MetadataStore& store) {
    ChunkImage image;
    BuildIxmlChunk(image, store, 0);
    return image.empty() ? "" : reinterpret_cast<const char*>(image.data() + 8);
}

// What stands between the fixed beginning and end.
std::string BuiltBody(const Pairs& pairs) {
    const std::string header = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML>";
    const std::string trailer = "</BWFXML>";
    const std::string text = Built(StoreOf(pairs));
    if (!text.starts_with(header) || !text.ends_with(trailer)) return "not a document: " + text;
    return text.substr(header.size(), text.size() - header.size() - trailer.size());
}

const char* const recorderDocument = R"(<?xml version="1.0" encoding="UTF-8"?>
<BWFXML>
	<IXML_VERSION>1.61</IXML_VERSION>
	<PROJECT>Moby &amp; Dick</PROJECT>
	<SCENE>12A</SCENE>
	<CIRCLED>TRUE</CIRCLED>
	<NOTE></NOTE>
	<SPEED>
		<TIMECODE_RATE>25/1</TIMECODE_RATE>
	</SPEED>
	<BEXT>
		<BWF_TIME_REFERENCE_LOW>123456</BWF_TIME_REFERENCE_LOW>
		<BWF_TIME_REFERENCE_HIGH>0</BWF_TIME_REFERENCE_HIGH>
	</BEXT>
	<TRACK_LIST>
		<TRACK_COUNT>2</TRACK_COUNT>
		<TRACK>
			<CHANNEL_INDEX>1</CHANNEL_INDEX>
			<NAME>Boom</NAME>
		</TRACK>
		<TRACK>
			<CHANNEL_INDEX>2</CHANNEL_INDEX>
			<NAME>Lav</NAME>
		</TRACK>
	</TRACK_LIST>
	<USER><VANTOR>rain; roof</VANTOR></USER>
	<ASWG><project>Whales</project></ASWG>
</BWFXML>
)";

const Pairs recorderPairs = {
    {"ASWG:project", "Whales"},
    {"IXML:BEXT:BWF_TIME_REFERENCE_HIGH", "0"},
    {"IXML:BEXT:BWF_TIME_REFERENCE_LOW", "123456"},
    {"IXML:CIRCLED", "TRUE"},
    {"IXML:IXML_VERSION", "1.61"},
    {"IXML:PROJECT", "Moby & Dick"},
    {"IXML:SCENE", "12A"},
    {"IXML:SPEED:TIMECODE_RATE", "25/1"},
    {"IXML:TRACK_LIST:TRACK:CHANNEL_INDEX", "1"},
    {"IXML:TRACK_LIST:TRACK:CHANNEL_INDEX:2", "2"},
    {"IXML:TRACK_LIST:TRACK:NAME", "Boom"},
    {"IXML:TRACK_LIST:TRACK:NAME:2", "Lav"},
    {"IXML:TRACK_LIST:TRACK_COUNT", "2"},
    {"IXML:USER:VANTOR", "rain; roof"},
};

TEST(IxmlReader, ReadsADocumentOfAFieldRecorder) {
    EXPECT_EQ(PairsOf(recorderDocument), recorderPairs);
    EXPECT_EQ(PairsOf(std::string(recorderDocument) + std::string(500, '\0') + "<"), recorderPairs);
    EXPECT_EQ(PairsOf("\xEF\xBB\xBF stray" + std::string(recorderDocument)), recorderPairs);
}

TEST(IxmlReader, NeedsTheRootTagUnlessTheTextIsShort) {
    struct Case {
        std::string document;
        bool accepted;
        Pairs pairs;
    };
    const Case cases[] = {
        {"", false, {}},
        {"no element", false, {}},
        {"<?xml version='1.0'?><OTHER><A>1</A></OTHER>", false, {}},
        // 20 bytes are taken as they stand, a longer text is searched while 21 bytes remain.
        {"<X><NOTE>1</NOTE></X", false, {}},
        {"<X><AB>12</AB></X>\n\n", true, {{"IXML:X:AB", "12"}}},
        {"<X><AB>12</AB></X>\n\n\n", false, {}},
        {"  <BWFXML><A></A></BWFXML>", true, {}},
        {" <BWFXML></BWFXML>   ", false, {}},
        {" <BWFXML></BWFXML>    ", true, {}},
        // The search ignores case, the name does not.
        {"<bwfxml><NOTE>1</NOTE></bwfxml>", true, {{"IXML:bwfxml:NOTE", "1"}}},
        {"<BWFXML>root text<A>1</A></BWFXML>", true, {{"IXML:A", "1"}}},
        {"<BWFXML><A>1</A><B>2</BWFXML>", false, {}},
    };
    for (const Case& item : cases) {
        MetadataStore store;
        EXPECT_EQ(Read(item.document, store), item.accepted) << item.document;
        EXPECT_EQ(PairsOf(store), item.pairs) << item.document;
    }
}

TEST(IxmlReader, NumbersWhatIsThereAlready) {
    MetadataStore store;
    const std::string document = "<BWFXML><A>1</A><A>2</A><A:3>x</A:3><A>3</A></BWFXML>";
    ASSERT_TRUE(Read(document, store));
    EXPECT_EQ(PairsOf(store),
              (Pairs{{"IXML:A", "1"}, {"IXML:A:2", "2"}, {"IXML:A:3", "x"}, {"IXML:A:4", "3"}}));
    ASSERT_TRUE(Read("<BWFXML><A>again</A></BWFXML>", store));
    EXPECT_EQ(store.Value("IXML:A:5"), "again");
}

TEST(IxmlReader, NumbersAHundredThousandInOneDocumentAndGoesOnInTheNext) {
    constexpr int count = 100'000;
    std::string document = "<BWFXML>";
    for (int i = 1; i <= count; ++i)
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
    const Pairs pairs = PairsOf("<BWFXML>" + open + "x" + close + "</BWFXML>");
    ASSERT_EQ(pairs.size(), 1u);
    // "IXML" and 169 times a colon and two bytes are 511.
    EXPECT_EQ(pairs[0].first.size(), 511u);
    EXPECT_TRUE(PairsOf("<BWFXML>" + open).empty());
    const Pairs odd = PairsOf("<BWFXML><odd>" + open + "x" + close + "</odd></BWFXML>");
    EXPECT_EQ(odd.at(0).first.size(), 511u);
    EXPECT_TRUE(IsValidUtf8(odd[0].first));
}

TEST(IxmlReader, TakesLatin1WhereTheTextIsNotUtf8) {
    EXPECT_EQ(PairsOf("<BWFXML><NOTE>caf\xE9</NOTE></BWFXML>"), (Pairs{{"IXML:NOTE", "caf\xC3\xA9"}}));
}

TEST(IxmlReader, ReadsNothingFromATruncatedDocument) {
    const std::string document = recorderDocument;
    const size_t end = document.rfind('>');
    for (size_t bytes = 0; bytes < end; ++bytes)
        EXPECT_TRUE(PairsOf(document.substr(0, bytes)).empty()) << bytes;
}

TEST(EscapeXml, EscapesContentAndNames) {
    std::string text, name;
    EscapeXml(text, std::string_view("a<b>: \"&'\0z", 11), true);
    EscapeXml(name, "a<b>: \"&'", false);
    EXPECT_EQ(text, "a&lt;b&gt;: \"&amp;'");
    EXPECT_EQ(name, "a&lt;b&gt;__\"&amp;'");
}

TEST(IxmlChunk, WritesKeysIntoTheirSections) {
    struct Case {
        Pairs store;
        std::string body;
    };
    const Case cases[] = {
        {{{"BWF:Description", "x"}}, "<BWF><BWF_DESCRIPTION>x</BWF_DESCRIPTION></BWF>"},
        {{{"BWF:CodingHistory", "x"}}, ""},
        {{{"IXML:NOTE", "a<b & c"}}, "<NOTE>a&lt;b &amp; c</NOTE>"},
        {{{"IXML:A B:C", "1"}}, "<A_B_C>1</A_B_C>"},
        {{{"ASWG:project", "p"},
          {"BWF:Version", "2"},
          {"IXML:A", "1"},
          {"IXML:USER:X", "2"},
          {"IXML:Z", "3"},
          {"INFO:INAM", "no"}},
         "<ASWG><project>p</project></ASWG><BWF><BWF_VERSION>2</BWF_VERSION></BWF><A>1</A>"
         "<USER><X>2</X></USER><Z>3</Z>"},
        {{{"BWF:TimeReference", "4294967296"}},
         "<BWF><BWF_TIME_REFERENCE_HIGH>1</BWF_TIME_REFERENCE_HIGH>"
         "<BWF_TIME_REFERENCE_LOW>0</BWF_TIME_REFERENCE_LOW></BWF>"},
        {{{"BWF:TimeReference", "4294967295 samples"}},
         "<BWF><BWF_TIME_REFERENCE_HIGH>0</BWF_TIME_REFERENCE_HIGH>"
         "<BWF_TIME_REFERENCE_LOW>-1</BWF_TIME_REFERENCE_LOW></BWF>"},
        {{{"BWF:TimeReference", "-2"}},
         "<BWF><BWF_TIME_REFERENCE_HIGH>-1</BWF_TIME_REFERENCE_HIGH>"
         "<BWF_TIME_REFERENCE_LOW>-2</BWF_TIME_REFERENCE_LOW></BWF>"},
        {{{"BWF:TimeReference", "x1"}},
         "<BWF><BWF_TIME_REFERENCE_HIGH>0</BWF_TIME_REFERENCE_HIGH>"
         "<BWF_TIME_REFERENCE_LOW>0</BWF_TIME_REFERENCE_LOW></BWF>"},
        {{{"IXML:A", "#junk#1"}, {"IXML:B", "1#junk#"}}, "<B>1#junk#</B>"},
        // A section that the document writes anew is not carried along from the last one.
        {{{"BWF:Originator", "o"},
          {"BWF:TimeReference", "1"},
          {"IXML:BWF:BWF_ORIGINATOR", "old"},
          {"IXML:BWF:BWF_ORIGINATOR:2", "old"},
          {"IXML:BWF:BWF_TIME_REFERENCE_LOW", "7"},
          {"IXML:BWF:BWF_DESCRIPTION", "kept"}},
         "<BWF><BWF_ORIGINATOR>o</BWF_ORIGINATOR><BWF_TIME_REFERENCE_HIGH>0</BWF_TIME_REFERENCE_HIGH>"
         "<BWF_TIME_REFERENCE_LOW>1</BWF_TIME_REFERENCE_LOW></BWF>"
         "<BWF_BWF_DESCRIPTION>kept</BWF_BWF_DESCRIPTION>"},
        // Names are well formed whatever the key holds, and none is written twice.
        {{{"IXML:USER:1/2=\"", "1"}}, "<USER><_1_2__>1</_1_2__></USER>"},
        {{{"IXML:A B", "1"}, {"IXML:A:B", "2"}, {"IXML:A_B", "3"}, {"IXML:A_B_2", "4"}},
         "<A_B_3>1</A_B_3><A_B_4>2</A_B_4><A_B>3</A_B><A_B_2>4</A_B_2>"},
        {{{"IXML:\xC3\x97\xE6\x97\xA5", "\xE6\x97\xA5\x01\x0B"}},
         "<__\xE6\x97\xA5>\xE6\x97\xA5  </__\xE6\x97\xA5>"},
        {{{"IXML:NOTE", "caf\xE9"}}, "<NOTE>caf\xC3\xA9</NOTE>"},
    };
    for (const Case& item : cases)
        EXPECT_EQ(BuiltBody(item.store), item.body);
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
        const test::Bytes chunk =
            test::ByteWriter().U8(1).U8(2).U8(3).Chunk("iXML", test::ByteWriter().Field(text, data));
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
    const Pairs stores[] = {
        recorderPairs,
        {{"BWF:Description", "d"}, {"BWF:TimeReference", "5000000000"}, {"IXML:BWF:BWF_DESCRIPTION", "old"}},
        {{"IXML:A B", "1"}, {"IXML:A:B", "2"}, {"IXML:A:B:2", "3"}, {"IXML:A_B", "4"}, {"IXML:A_B_2", "5"}},
        {{"IXML:USER", "u"}, {"IXML:USER:2", "v"}, {"IXML:USER:BWFXML", "w"}, {"IXML:BWFXML", "x"}},
        {{"ASWG:a", "1"}, {"ASWG:a:2", "2"}, {"IXML:ASWG", "3"}, {"IXML:ASWG:b", "4"}, {"IXML:BWF", "5"}},
        {{"IXML:" + std::string(300, 'n') + " " + std::string(300, 'n'), "1"},
         {"IXML:" + std::string(700, 'n'), "2"}},
        {{"IXML:SPACE", " "}, {"IXML:LINES", " a\r\n\tb "}, {"IXML:LATIN", "\xE9"}, {"IXML:CONTROL", "\x02"}},
    };
    for (const Pairs& pairs : stores) {
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
        EXPECT_EQ(PairsOf(again), PairsOf(store));
    }
}

TEST(IxmlChunk, GivesPlainFieldsBackAsTheyWere) {
    const Pairs pairs = {{"ASWG:project", "p & q"},
                         {"IXML:NOTE", "a\nb <c> \"d\""},
                         {"IXML:PROJECT", "x"},
                         {"IXML:USER:VANTOR", "tag \xE6\x97\xA5"}};
    EXPECT_EQ(PairsOf(Built(StoreOf(pairs))), pairs);
}

// What the document repeats from the broadcast chunk is no field of its own once it is read back.
TEST(IxmlChunk, CopiesOfTheBroadcastChunkGoWithIt) {
    auto store = StoreOf({{"BWF:TimeReference", "5"},
                          {"IXML:BWF:BWF_DESCRIPTION", "x"},
                          {"IXML:BWF:BWF_DESCRIPTION:2", "x"},
                          {"IXML:BWF:BWF_TIME_REFERENCE_HIGH", "0"},
                          {"IXML:BWF:BWF_TIME_REFERENCE_LOW", "5"},
                          {"IXML:BWF:OTHER", "x"},
                          {"IXML:NOTE", "x"}});
    RemoveBwfCopies(store);
    EXPECT_EQ(PairsOf(store),
              (Pairs{{"BWF:TimeReference", "5"}, {"IXML:BWF:OTHER", "x"}, {"IXML:NOTE", "x"}}));

    const Pairs withoutChunk = {{"IXML:BWF:BWF_DESCRIPTION", "x"}};
    auto alone = StoreOf(withoutChunk);
    RemoveBwfCopies(alone);
    EXPECT_EQ(PairsOf(alone), withoutChunk);
}

}  // namespace
}  // namespace vantor
