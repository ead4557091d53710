#include <gtest/gtest.h>

#include <string>

#include "metadata/write/build_chunks.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

Entries EntriesIn(const Bytes& packet) {
    MetadataStore store;
    ReadXmp(packet, store);
    return EntriesOf(store);
}

Entries EntriesIn(std::string_view packet) {
    return EntriesIn(BytesOf(packet));
}

const std::string rdfStart =
    "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'"
    " xmlns:dc='http://purl.org/dc/elements/1.1/'"
    " xmlns:xmpDM='http://ns.adobe.com/xmp/1.0/DynamicMedia/'>";

// Properties inside one rdf:Description.
Entries Described(const std::string& properties) {
    return EntriesIn(rdfStart + "<rdf:Description rdf:about=''>" + properties +
                     "</rdf:Description></rdf:RDF>");
}

// As common command-line tools write it: one description a namespace, apostrophes, decimal references.
const std::string toolPacket = R"(<?xpacket begin=')"
                               "\xEF\xBB\xBF"
                               R"(' id='W5M0MpCehiHzreSzNTczkc9d'?>
<x:xmpmeta xmlns:x='adobe:ns:meta/' x:xmptk='Tool 12.40'>
<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>
 <rdf:Description rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/'>
  <dc:creator><rdf:Seq>
   <rdf:li>A. Ansel</rdf:li>
   <rdf:li>B. Bj&#246;rk</rdf:li>
  </rdf:Seq></dc:creator>
  <dc:description><rdf:Alt>
   <rdf:li xml:lang='de'>Regen</rdf:li>
   <rdf:li xml:lang='x-default'>Rain &amp; &#39;wind&#39;</rdf:li>
  </rdf:Alt></dc:description>
  <dc:subject><rdf:Bag> <rdf:li>rain</rdf:li> <rdf:li>roof</rdf:li> </rdf:Bag></dc:subject>
 </rdf:Description>
 <rdf:Description rdf:about='' xmlns:xmpDM='http://ns.adobe.com/xmp/1.0/DynamicMedia/'>
  <xmpDM:artist>Ann</xmpDM:artist>
  <xmpDM:relativeTimestamp rdf:parseType='Resource'>
   <xmpDM:scale>1/1000</xmpDM:scale>
   <xmpDM:value>000001500</xmpDM:value>
  </xmpDM:relativeTimestamp>
 </rdf:Description>
</rdf:RDF>
</x:xmpmeta>
<?xpacket end='w'?>)";

const Entries toolEntries =
    Listed("XMP:",
           "dc/creator=A. Ansel; B. Bj\u00F6rk|dc/description=Rain & 'wind'|dc/subject=rain; roof"
           "|dm/artist=Ann|dm/relativeTimestamp=000001500");

Bytes Utf16(std::string_view text, bool bigEndian) {
    ByteWriter writer;
    for (const char character : text)
        bigEndian ? writer.Be16(static_cast<uint8_t>(character))
                  : writer.Le16(static_cast<uint8_t>(character));
    return writer.Done();
}

TEST(XmpReader, ReadsAPacketOfACommonTool) {
    EXPECT_EQ(EntriesIn(toolPacket), toolEntries);
    EXPECT_EQ(EntriesIn("\xEF\xBB\xBF" + toolPacket + std::string(4096, ' ')), toolEntries);
    EXPECT_EQ(EntriesIn(toolPacket + std::string("\0<>", 3)), toolEntries);
}

TEST(XmpReader, ReadsUtf16WithAndWithoutAMark) {
    const std::string packet = rdfStart + "<rdf:Description dc:source='a' xmpDM:album='b'/></rdf:RDF>";
    for (const bool bigEndian : {false, true}) {
        const auto units = Utf16(packet, bigEndian);
        const auto marked = ByteWriter().Add(BytesOf(bigEndian ? "\xFE\xFF" : "\xFF\xFE")).Add(units).Done();
        for (const auto& bytes : {units, marked})
            EXPECT_EQ(EntriesIn(bytes), Listed("XMP:", "dc/source=a|dm/album=b"));
    }
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

TEST(XmpReader, ReadsEveryShapeOfAProperty) {
    const std::pair<const char*, Entries> cases[] = {
        {"<dc:source>a</dc:source><xmpDM:genre/>", Listed("XMP:", "dc/source=a")},
        {"<dc:source rdf:resource='urn:x'/>", Listed("XMP:", "dc/source=urn:x")},
        {"<dc:source rdf:parseType='Resource'><rdf:value>v</rdf:value><q>w</q></dc:source>",
         Listed("XMP:", "dc/source=v")},
        {"<dc:source><rdf:Description><rdf:value>v</rdf:value></rdf:Description></dc:source>",
         Listed("XMP:", "dc/source=v")},
        {"<xmpDM:logComment>a&#xA;b&#x20AC;</xmpDM:logComment>",
         Listed("XMP:", "dm/logComment=a\nb\xE2\x82\xAC")},
        {"<xmpDM:logComment>caf\xE9</xmpDM:logComment>", Listed("XMP:", "dm/logComment=caf\xC3\xA9")},
        {"<dc:title><rdf:Alt><rdf:li xml:lang='fr'>a</rdf:li><rdf:li "
         "xml:lang='en'>b</rdf:li></rdf:Alt></dc:title>"
         "<dc:description><rdf:Alt><rdf:li xml:lang='it'>c</rdf:li></rdf:Alt></dc:description>",
         Listed("XMP:", "dc/description=c|dc/language=fr|dc/title=a")},
        {"<dc:title><rdf:Alt><rdf:li xml:lang='fr'>a</rdf:li></rdf:Alt></dc:title>"
         "<dc:language><rdf:Bag><rdf:li>de</rdf:li></rdf:Bag></dc:language>",
         Listed("XMP:", "dc/language=de|dc/title=a")},
        {"<xmpDM:relativeTimestamp xmpDM:value='250' xmpDM:scale='1/1000'/>",
         Listed("XMP:", "dm/relativeTimestamp=250")},
        {"<xmpDM:relativeTimestamp><rdf:Description xmpDM:value='96000' xmpDM:scale='1/48000'/>"
         "</xmpDM:relativeTimestamp>",
         Listed("XMP:", "dm/relativeTimestamp=2000")},
        {"<xmpDM:relativeTimestamp xmpDM:value='5' xmpDM:scale='1/0'/>",
         Listed("XMP:", "dm/relativeTimestamp=5")},
        {"<xmpDM:duration xmpDM:value='5' xmpDM:scale='1/0'/>", {}},
    };
    for (const auto& [properties, entries] : cases)
        EXPECT_EQ(Described(properties), entries) << properties;
}

TEST(XmpReader, ReadsMarkersOfAllTracksInMicroseconds) {
    const auto track = [](const std::string& rate, const std::string& markers) {
        return "<rdf:li rdf:parseType='Resource'>" + rate + "<xmpDM:markers><rdf:Seq>" + markers +
               "</rdf:Seq></xmpDM:markers></rdf:li>";
    };
    const std::string properties =
        "<xmpDM:Tracks><rdf:Bag>" +
        track("<xmpDM:frameRate>f48000</xmpDM:frameRate>",
              "<rdf:li rdf:parseType='Resource'><xmpDM:startTime>24000</xmpDM:startTime>"
              "<xmpDM:duration>48000</xmpDM:duration><xmpDM:name>a:b</xmpDM:name></rdf:li>"
              "<rdf:li><rdf:Description xmpDM:startTime='48f24' xmpDM:name='own rate'/></rdf:li>"
              "<rdf:li xmpDM:name='no start'/><rdf:li xmpDM:startTime='-1'/>") +
        track("<xmpDM:frameRate>f30000s1001</xmpDM:frameRate>", "<rdf:li xmpDM:startTime='30'/>") +
        track("", "<rdf:li xmpDM:startTime='7' xmpDM:duration='1'/>") + "</rdf:Bag></xmpDM:Tracks>";
    EXPECT_EQ(Described(properties), Listed("XMP:",
                                            "MARK000=500000:1500000:a:b|MARK001=2000000:2000000:own "
                                            "rate|MARK002=1001000:1001000|MARK003=7:8"));
}

TEST(XmpReader, RefusesWhatIsNoPacket) {
    MetadataStore store;
    for (const std::string packet : {"", "x", ">", "><", "<a/>", "<rdf:RDF/>", "<a", "<a>&#x;</a>"})
        EXPECT_FALSE(ReadXmp(ByteWriter().Text(packet).Done(), store)) << packet;
    EXPECT_TRUE(ReadXmp(ByteWriter().Text(rdfStart + "</rdf:RDF>").Done(), store));
    EXPECT_EQ(store.Count(), 0u);
}

TEST(XmpReader, SurvivesTruncationAtEveryByte) {
    const size_t lastTag = toolPacket.rfind("</x:xmpmeta>") + 12;
    for (size_t bytes = 0; bytes < toolPacket.size(); ++bytes)
        EXPECT_EQ(EntriesIn(toolPacket.substr(0, bytes)).empty(), bytes < lastTag) << bytes;
}

TEST(XmpReader, ReadsHundredThousandsOfNamesAndItems) {
    std::string attributes, items, markers;
    for (int i = 0; i < 100'000; ++i) {
        attributes += " xmlns:p" + std::to_string(i) + "='urn:x' p" + std::to_string(i) + ":q='1'";
        items += "<rdf:li>i</rdf:li>";
        markers += "<rdf:li xmpDM:startTime='1'/>";
    }
    const Entries pairs =
        EntriesIn(rdfStart + "<rdf:Description" + attributes + "><dc:subject><rdf:Bag>" + items +
                  "</rdf:Bag></dc:subject><xmpDM:Tracks><rdf:Bag><rdf:li><xmpDM:markers><rdf:Seq>" + markers +
                  "</rdf:Seq></xmpDM:markers></rdf:li></rdf:Bag></xmpDM:Tracks>"
                  "</rdf:Description></rdf:RDF>");
    ASSERT_EQ(pairs.size(), 1001u);
    EXPECT_EQ(pairs[999].first, "XMP:MARK999");
    EXPECT_EQ(pairs[1000].second.size(), 299'998u);
}

// The packet without the chunk's header.
std::string Built(const Entries& pairs) {
    ChunkImage image;
    BuildXmpChunk(image, StoreOf(pairs));
    return image.empty() ? "" : std::string(image.begin() + 8, image.end());
}

TEST(XmpChunk, WritesAWholePacket) {
    const auto entries =
        Listed("",
               "INFO:INAM=no|XMP:MARK000=5:3|XMP:MARK001=0:0:Intro|XMP:MARK007=1.6:3.2:a<b:c|XMP:MARK999=7:8|"
               "XMP:MARK1000=9:9|XMP:dc/bad name=no|XMP:dc/creator=A \"B\" & <C>\n\t|XMP:dc/title=T & "
               "U|XMP:dm/album=M|XMP:dm/relativeTimestamp=000001500|XMP:photoshop/City=no");
    const std::string expected =
        "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
        "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
        "<rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
        "xmlns:xmpDM=\"http://ns.adobe.com/xmp/1.0/DynamicMedia/\" "
        "dc:creator=\"A &quot;B&quot; &amp; &lt;C&gt;&#10;&#9;\" xmpDM:album=\"M\">"
        "<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">T &amp; U</rdf:li></rdf:Alt></dc:title>"
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
    ChunkImage image;
    const int appended = BuildXmpChunk(image, StoreOf(entries));
    const Bytes chunk = ByteWriter().Chunk("_PMX", ByteWriter().Text(expected).Zeros(expected.size() & 1));
    EXPECT_EQ(std::string(image.begin(), image.end()), std::string(chunk.begin(), chunk.end()));
    EXPECT_EQ(appended, static_cast<int>(chunk.size()));
}

TEST(XmpChunk, WritesNoTracksWithoutAMarkerAndNothingWithoutAKey) {
    EXPECT_EQ(Built({{"XMP:dc/source", "a"}, {"XMP:MARK000", "x"}, {"XMP:MARK001", "-1:2"}}).find("Tracks"),
              std::string::npos);
    ChunkImage image;
    EXPECT_EQ(BuildXmpChunk(image, StoreOf({{"INFO:INAM", "x"}})), 0);
    EXPECT_TRUE(image.empty());
}

TEST(XmpChunk, GivesBackWhatWasRead) {
    const Entries stores[] = {
        toolEntries,
        Listed("XMP:", "dc/language=de|dc/title=Ti\ntel \"\xE6\x97\xA5\""),
        Listed("XMP:", "dc/description= d |dc/language=en; de"),
        Listed("XMP:", "dc/language=en; de|dc/source= a\r\n\tb<&>\"' "),
        Listed("XMP:", "MARK000=0:0|MARK001=86400000001:86400000003:x:y & z"),
        Listed("XMP:", "dm/relativeTimestamp=000001500|dm/tempo=120.5"),
    };
    for (const Entries& pairs : stores) {
        const std::string packet = Built(pairs);
        EXPECT_EQ(EntriesIn(packet), pairs) << packet;
    }
}

}  // namespace
}  // namespace vantor::test
