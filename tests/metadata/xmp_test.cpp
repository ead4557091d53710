#include <gtest/gtest.h>

#include "metadata/write/build_chunks.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

Entries EntriesIn(std::string_view packet) {
    return ReadEntries("XMP", BytesOf(packet));
}

const std::string rdfStart =
    "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'"
    " xmlns:dc='http://purl.org/dc/elements/1.1/'"
    " xmlns:xmpDM='http://ns.adobe.com/xmp/1.0/DynamicMedia/'>";

// A packet of properties inside one rdf:Description.
std::string Described(const std::string& properties) {
    return rdfStart + "<rdf:Description rdf:about=''>" + properties + "</rdf:Description></rdf:RDF>";
}

// As common command-line tools write it: one description a namespace, apostrophes, decimal references.
const std::string toolPacket = R"(<?xpacket begin=')"
                               "\xEF\xBB\xBF"
                               R"(' id='W5M0MpCehiHzreSzNTczkc9d'?>
<x:xmpmeta xmlns:x='adobe:ns:meta/' x:xmptk='Tool 12.40'>
<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>
 <rdf:Description rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/'>
  <dc:creator><rdf:Seq> <rdf:li>A. Ansel</rdf:li> <rdf:li>B. Bj&#246;rk</rdf:li> </rdf:Seq></dc:creator>
  <dc:description><rdf:Alt>
   <rdf:li xml:lang='de'>Regen</rdf:li> <rdf:li xml:lang='x-default'>Rain &amp; &#39;wind&#39;</rdf:li>
  </rdf:Alt></dc:description>
 </rdf:Description>
 <rdf:Description rdf:about='' xmlns:xmpDM='http://ns.adobe.com/xmp/1.0/DynamicMedia/'>
  <xmpDM:artist>Ann</xmpDM:artist>
  <xmpDM:relativeTimestamp rdf:parseType='Resource'>
   <xmpDM:scale>1/1000</xmpDM:scale> <xmpDM:value>000001500</xmpDM:value>
  </xmpDM:relativeTimestamp>
 </rdf:Description>
</rdf:RDF>
</x:xmpmeta>
<?xpacket end='w'?>)";
const Entries toolEntries = Listed("XMP:",
                                   "dc/creator=A. Ansel; B. Bj\u00F6rk|dc/description=Rain & 'wind'"
                                   "|dm/artist=Ann|dm/relativeTimestamp=000001500");

std::string Utf16(std::string_view ascii, bool isBigEndian) {
    std::string text;
    for (const char character : ascii)
        text.append(isBigEndian ? 1 : 0, '\0').append(1, character).append(isBigEndian ? 0 : 1, '\0');
    return text;
}

TEST(XmpReader, ReadsAPacketInEveryEncoding) {
    EXPECT_EQ(EntriesIn(toolPacket), toolEntries);
    EXPECT_EQ(EntriesIn("\xEF\xBB\xBF" + toolPacket + std::string(4096, ' ')), toolEntries);
    EXPECT_EQ(EntriesIn(toolPacket + std::string("\0<>", 3)), toolEntries);
    const auto attributes = rdfStart + "<rdf:Description dc:source='a' xmpDM:album='b'/></rdf:RDF>";
    const auto little = Utf16(attributes, false), big = Utf16(attributes, true);
    for (const auto& packet : {attributes, little, big, "\xFF\xFE" + little, "\xFE\xFF" + big})
        EXPECT_EQ(EntriesIn(packet), Listed("XMP:", "dc/source=a|dm/album=b"));
    EXPECT_EQ(EntriesIn(" " + attributes), Listed("XMP:", "dc/source=a|dm/album=b"));
    for (const char* broken : {"", "x", "<", "><", "<rdf:RDF/>", "<a", "<a>&#x;</a>"})
        EXPECT_EQ(EntriesIn(broken), refused) << broken;
    for (const char* reference : {"&#x0;", "&#xZ;", "&#x00000041;", "&#x1"})
        EXPECT_EQ(EntriesIn(Described("<dc:source>a" + std::string(reference) + "</dc:source>")), refused);
    EXPECT_EQ(EntriesIn(rdfStart + "</rdf:RDF>"), Entries{});
}

TEST(XmpReader, FollowsNamespacesNotPrefixes) {
    const std::string packet =
        "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#' xmlns:m='urn:other'>"
        "<r:Description xmlns:d='http://purl.org/dc/elements/1.1/' d:source='1' m:album='no' source='no'>"
        "<m:album xmlns:m='http://ns.adobe.com/xmp/1.0/DynamicMedia/'>2</m:album>"
        "<m:genre>no</m:genre><dc:rights>no</dc:rights>"
        "<publisher xmlns='http://purl.org/dc/elements/1.1/'>3</publisher>"
        "<d:format xmlns:d='urn:other'>no</d:format></r:Description></r:RDF>";
    EXPECT_EQ(EntriesIn(packet), Listed("XMP:", "dc/publisher=3|dc/source=1|dm/album=2"));
}

// One marker track; times as its rate counts them.
std::string Track(const std::string& rate, const std::string& markers) {
    return "<rdf:li rdf:parseType='Resource'><xmpDM:frameRate>" + rate +
           "</xmpDM:frameRate><xmpDM:markers><rdf:Seq>" + markers + "</rdf:Seq></xmpDM:markers></rdf:li>";
}

TEST(XmpReader, ReadsEveryShapeOfAProperty) {
    const auto tracks =
        "<xmpDM:Tracks><rdf:Bag>" +
        Track("f48000",
              "<rdf:li rdf:parseType='Resource'><xmpDM:startTime>24000</xmpDM:startTime>"
              "<xmpDM:duration>48000</xmpDM:duration><xmpDM:name>a:b</xmpDM:name></rdf:li>"
              "<rdf:li><rdf:Description xmpDM:startTime='48f24' xmpDM:name='own rate'/></rdf:li>"
              "<rdf:li xmpDM:name='no start'/><rdf:li xmpDM:startTime='-1'/>"
              "<rdf:li xmpDM:startTime='1' xmpDM:duration='-1'/><rdf:li xmpDM:startTime='1e308f1'/>"
              "<rdf:li xmpDM:startTime='1' xmpDM:duration='1e308f1'/>") +
        Track("f30000s1001", "<rdf:li xmpDM:startTime='30'/>") +
        Track("f25s0", "<rdf:li xmpDM:startTime='0'/>") +
        Track("", "<rdf:li xmpDM:startTime='7' xmpDM:duration='1'/>") + "</rdf:Bag></xmpDM:Tracks>";
    const std::pair<std::string, const char*> cases[] = {
        {"<dc:source>a</dc:source><xmpDM:genre/>", "dc/source=a"},
        {"<dc:source rdf:resource='urn:x'/>", "dc/source=urn:x"},
        {"<dc:source rdf:parseType='Resource'><rdf:value>v</rdf:value><q>w</q></dc:source>", "dc/source=v"},
        {"<dc:source rdf:value='v' xmpDM:q='w'/>", "dc/source=v"},
        {"<dc:source rdf:value='w' rdf:resource='urn:x'><rdf:value>v</rdf:value><rdf:value/></dc:source>",
         "dc/source=v"},
        {"<dc:source rdf:value='v' rdf:resource='urn:x'/>", "dc/source=v"},
        {"<dc:source><rdf:Description rdf:value='v'/></dc:source>", "dc/source=v"},
        {"<dc:source>&#x41;&#x0000042;</dc:source>", "dc/source=AB"},
        // Bags are those of RDF alone.
        {"<dc:source>a</dc:source><dc:subject><o:Bag xmlns:o='urn:o'><rdf:li>x</rdf:li></o:Bag></dc:subject>"
         "<dc:format><rdf:List><rdf:li>x</rdf:li></rdf:List></dc:format>",
         "dc/source=a"},
        {"<xmpDM:Tracks><rdf:Alt>" + Track("", "<rdf:li xmpDM:startTime='7'/>") + "</rdf:Alt></xmpDM:Tracks>",
         "MARK000=7:7"},
        {"<dc:source><rdf:Description><rdf:value>v</rdf:value></rdf:Description></dc:source>", "dc/source=v"},
        {"<xmpDM:logComment>a&#xA;b&#x20AC;\xE9</xmpDM:logComment>",
         "dm/logComment=a\nb\u00E2\u0082\u00AC\u00E9"},
        {"<dc:title><rdf:Alt><rdf:li xml:lang='fr'>a</rdf:li><rdf:li xml:lang='en'>b</rdf:li></rdf:Alt>"
         "</dc:title><dc:description><rdf:Alt><rdf:li xml:lang='it'>c</rdf:li></rdf:Alt></dc:description>",
         "dc/description=c|dc/language=fr|dc/title=a"},
        {"<dc:title><rdf:Alt><rdf:li xml:lang='fr'>a</rdf:li></rdf:Alt></dc:title>"
         "<dc:language><rdf:Bag><rdf:li>de</rdf:li></rdf:Bag></dc:language>",
         "dc/language=de|dc/title=a"},
        {"<xmpDM:relativeTimestamp xmpDM:value='250' xmpDM:scale='1/1000'/>", "dm/relativeTimestamp=250"},
        {"<xmpDM:relativeTimestamp><rdf:Description xmpDM:value='96000' xmpDM:scale='1/48000'/>"
         "</xmpDM:relativeTimestamp>",
         "dm/relativeTimestamp=2000"},
        {"<xmpDM:relativeTimestamp xmpDM:value='250'/>", "dm/relativeTimestamp=250"},
        // The first alternative that has a text, unless one is the default.
        {"<dc:source><rdf:Alt><rdf:li xml:lang='x-default'>a</rdf:li><rdf:li xml:lang='x-default'>b</rdf:li>"
         "<rdf:q>c</rdf:q></rdf:Alt></dc:source><dc:format><rdf:Alt><rdf:q>c</rdf:q><rdf:li/>"
         "<rdf:li xml:lang='fr'>d</rdf:li></rdf:Alt></dc:format>",
         "dc/format=d|dc/source=a"},
        {"<xmpDM:duration xmpDM:value='5' xmpDM:scale='1/0'/>"
         "<xmpDM:relativeTimestamp xmpDM:value='5' xmpDM:scale='1/0'/>",
         "dm/relativeTimestamp=5"},
        {tracks,
         "MARK000=500000:1500000:a:b|MARK001=2000000:2000000:own "
         "rate|MARK002=1001000:1001000|MARK003=0:0|MARK004=7:8"},
    };
    for (const auto& [properties, entries] : cases)
        EXPECT_EQ(EntriesIn(Described(properties)), Listed("XMP:", entries)) << properties;
}

TEST(XmpReader, ReadsHundredThousandsOfNamesAndItems) {
    std::string attributes, items, markers;
    for (int i = 0; i < 100'000; ++i) {
        attributes += " xmlns:p" + std::to_string(i) + "='urn:x' p" + std::to_string(i) + ":q='1'";
        items += "<rdf:li>i</rdf:li>";
        markers += "<rdf:li xmpDM:startTime='1'/>";
    }
    const auto entries = EntriesIn(Described("<dc:title" + attributes + "/><dc:subject><rdf:Bag>" + items +
                                             "</rdf:Bag></dc:subject><xmpDM:Tracks><rdf:Bag>" +
                                             Track("", markers) + "</rdf:Bag></xmpDM:Tracks>"));
    ASSERT_EQ(entries.size(), 1001u);
    EXPECT_EQ(entries[999].first, "XMP:MARK999");
    EXPECT_EQ(entries[1000].second.size(), 299'998u);
}

// The packet without the chunk's header.
std::string Built(const Entries& entries) {
    ChunkImage image;
    const int appended = BuildXmpChunk(image, StoreOf(entries));
    EXPECT_EQ(appended, static_cast<int>(image.size()));
    return image.empty() ? "" : std::string(image.begin() + 8, image.end());
}

TEST(XmpChunk, WritesAWholePacket) {
    const auto entries =
        Listed("",
               "INFO:INAM=no|XMP:MARK000=5:3|XMP:MARK001=0:0:Intro|XMP:MARK007=1.6:3.2:a<b:c|XMP:MARK999=7:8|"
               "XMP:MARK1000=9:9|XMP:dc/bad name=no|XMP:dc/creator=A \"B\" & "
               "<C>\n\t|XMP:dc/language=d\"e|XMP:dc/title=T & "
               "U|XMP:dm/album=M|XMP:dm/relativeTimestamp=000001500|XMP:photoshop/City=no");
    const std::string expected =
        "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
        "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
        "<rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
        "xmlns:xmpDM=\"http://ns.adobe.com/xmp/1.0/DynamicMedia/\" "
        "dc:creator=\"A &quot;B&quot; &amp; &lt;C&gt;&#10;&#9;\" xmpDM:album=\"M\">"
        "<dc:title><rdf:Alt><rdf:li xml:lang=\"d&quot;e\">T &amp; U</rdf:li></rdf:Alt></dc:title>"
        "<xmpDM:relativeTimestamp xmpDM:value=\"000001500\" xmpDM:scale=\"1/1000\"/>"
        "<xmpDM:Tracks><rdf:Bag><rdf:li rdf:parseType=\"Resource\"><xmpDM:trackType>Cue</xmpDM:trackType>"
        "<xmpDM:frameRate>f1000000</xmpDM:frameRate><xmpDM:markers><rdf:Seq>"
        "<rdf:li rdf:parseType=\"Resource\"><xmpDM:startTime>0</xmpDM:startTime>"
        "<xmpDM:name>Intro</xmpDM:name></rdf:li>"
        "<rdf:li rdf:parseType=\"Resource\"><xmpDM:startTime>2</xmpDM:startTime>"
        "<xmpDM:duration>2</xmpDM:duration><xmpDM:name>a&lt;b:c</xmpDM:name></rdf:li>"
        "<rdf:li rdf:parseType=\"Resource\"><xmpDM:startTime>7</xmpDM:startTime>"
        "<xmpDM:duration>1</xmpDM:duration></rdf:li>"
        "</rdf:Seq></xmpDM:markers></rdf:li></rdf:Bag></xmpDM:Tracks>"
        "</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
    EXPECT_EQ(Built(entries), expected + std::string(expected.size() % 2, '\0'));
    for (const auto& readable : {toolEntries, Listed("XMP:", "dc/language=de|dc/source= a\r\n\tb<&>\"' ")})
        EXPECT_EQ(EntriesIn(Built(readable)), readable);
    EXPECT_EQ(Built(Listed("XMP:", "dc/source=a|MARK000=x|MARK001=-1:2")).find("Tracks"), std::string::npos);
    EXPECT_EQ(Built(Listed("", "INFO:INAM=x")), "");
    // The language stands in the alternative that there is.
    EXPECT_EQ(EntriesIn(Built(Listed("XMP:", "dc/description=d|dc/language=fr"))),
              Listed("XMP:", "dc/description=d|dc/language=fr"));
    for (const auto* text : {"title", "description"}) {
        const auto packet = Built({{"XMP:dc/language", "fr"}, {"XMP:dc/"s + text, "t"}});
        EXPECT_EQ(packet.find("dc:language"), packet.npos) << text;
        EXPECT_NE(packet.find("xml:lang=\"fr\""), packet.npos) << text;
    }
}

}  // namespace
}  // namespace vantor::test
