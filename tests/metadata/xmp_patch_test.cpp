// Changes of XMP packets where they stand: markers, properties of every shape, languages, encodings.
#include <gtest/gtest.h>

#include "metadata/patch/patch_chunks.h"
#include "tests/metadata/store_entries.h"
#include "text/text.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

const std::string head =
    "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'"
    " xmlns:dc='http://purl.org/dc/elements/1.1/' xmlns:d='http://ns.adobe.com/xmp/1.0/DynamicMedia/'>";
const std::string tail = "</r:RDF>";

// What stands between the tags of rdf:RDF behind the change; "refused" or "gone".
std::string Changed(const std::string& inRdf, const std::string& change) {
    const auto patched = PatchXmp({BytesOf(head + inRdf + tail), StoreOf(Listed("", change))});
    if (!patched) return "refused";
    if (patched->empty()) return "gone";
    auto text = TextOf(*patched);
    text.resize(text.find_last_not_of('\0') + 1);
    EXPECT_TRUE(text.starts_with(head) && text.ends_with(tail)) << text;
    return text.substr(head.size(), text.size() - head.size() - tail.size());
}

struct Case {
    std::string before;
    const char* change;
    std::string after;
};

std::string Described(const std::string& properties) {
    return "<r:Description>" + properties + "</r:Description>";
}

std::string Marked(const std::string& markers, const std::string& rate = "") {
    return Described("<d:Tracks><r:Bag><r:li r:parseType='Resource'>" + rate + "<d:markers><r:Seq>" +
                     markers + "</r:Seq></d:markers></r:li></r:Bag></d:Tracks>");
}

TEST(XmpPatches, ChangeTheFieldsOfAMarkerThatDiffer) {
    const std::string full = "<r:li d:startTime='5' d:duration='2' d:name='n'/>";
    const std::string element = "<r:li><d:startTime>5</d:startTime></r:li>";
    const std::string fields =
        "<r:li><d:startTime>5</d:startTime><d:duration>2</d:duration><d:name>n</d:name></r:li>";
    const Case cases[] = {
        {full, "XMP:MARK000=5:7:n", full},
        {full, "XMP:MARK000=5:9:n", "<r:li d:startTime='5' d:duration='4' d:name='n'/>"},
        {full, "XMP:MARK000=5:5:n", "<r:li d:startTime='5' d:name='n'/>"},
        {full, "XMP:MARK000=5:7", "<r:li d:startTime='5' d:duration='2'/>"},
        {full, "XMP:MARK000=6:9:m", "<r:li d:startTime='6' d:duration='3' d:name='m'/>"},
        {"<r:li d:startTime='5'/>", "XMP:MARK000=5:7:n",
         "<r:li d:startTime='5' d:duration=\"2\" d:name=\"n\"/>"},
        {"<r:li><r:Description d:startTime='5'/></r:li>", "XMP:MARK000=5:5:n",
         "<r:li><r:Description d:startTime='5' d:name=\"n\"/></r:li>"},
        {"<r:li><d:q/><r:Description d:startTime='5'/><d:q/></r:li>", "XMP:MARK000=5:5:n",
         "<r:li><d:q/><r:Description d:startTime='5' d:name=\"n\"/><d:q/></r:li>"},
        {element, "XMP:MARK000=5:7:n",
         "<r:li><d:startTime>5</d:startTime><d:name>n</d:name><d:duration>2</d:duration></r:li>"},
        {fields, "XMP:MARK000=5:5", element},
        {fields, "XMP:MARK000=4:8:m",
         "<r:li><d:startTime>4</d:startTime><d:duration>4</d:duration><d:name>m</d:name></r:li>"},
        // Markers go and come.
        {full + element, "XMP:MARK000=", element},
        {full + element, "XMP:MARK001=", full},
        {full + element, "XMP:MARK000=|XMP:MARK001=|XMP:MARK002=", ""},
        {full + " ", "XMP:MARK001=6:6",
         full + "<r:li r:parseType=\"Resource\"><d:startTime>6</d:startTime></r:li> "},
        {"", "XMP:MARK000=6:7",
         "\n<r:li r:parseType=\"Resource\"><d:startTime>6</d:startTime><d:duration>1</d:duration></r:li>"},
        {"<r:li/>", "XMP:MARK000=6:6",
         "<r:li/>\n<r:li r:parseType=\"Resource\"><d:startTime>6</d:startTime></r:li>"},
    };
    for (const auto& [before, change, after] : cases)
        EXPECT_EQ(Changed(Marked(before), change), Marked(after)) << before << " " << change;
    const std::string rate = "<d:frameRate>f1000</d:frameRate>";
    EXPECT_EQ(Changed(Marked("", rate), "XMP:MARK000=5000:7000"),
              Marked("\n<r:li r:parseType=\"Resource\"><d:startTime>5</d:startTime><d:duration>2</d:duration>"
                     "</r:li>",
                     rate));
}

TEST(XmpPatches, ATrackForMarkersComesWithTheFirstAndGoesWithTheLast) {
    const std::string track =
        "\n<d:Tracks><r:Bag><r:li r:parseType=\"Resource\"><d:trackType>Cue</d:trackType>"
        "<d:frameRate>f1000000</d:frameRate><d:markers><r:Seq><r:li r:parseType=\"Resource\">"
        "<d:startTime>5</d:startTime><d:duration>2</d:duration><d:name>n</d:name></r:li></r:Seq></d:markers>"
        "</r:li></r:Bag></d:Tracks>";
    const std::string old = "<dc:source>a</dc:source>";
    const auto added = Changed("<r:RDF/>" + Described(old) + Described(old), "XMP:MARK007=5:7:n");
    EXPECT_EQ(added, "<r:RDF/>" + Described(old + track) + Described(old));
    EXPECT_EQ(Changed(added, "XMP:MARK000="), "<r:RDF/>" + Described(old) + Described(old));
    // One that was there stays, and so does one with other markers.
    const std::string own = "<d:Tracks><r:Bag/></d:Tracks>";
    EXPECT_EQ(Changed(Described(own + old), "XMP:MARK000="), Described(own + old));
    const auto tracks = [](const std::string& markers) {
        const std::string start = "<r:li><d:markers><r:Seq>", end = "</r:Seq></d:markers></r:li>";
        return Described("<d:Tracks><r:Bag>" + start + "<r:li d:startTime='5'/>" + end + start + markers +
                         end + "</r:Bag></d:Tracks>");
    };
    EXPECT_EQ(Changed(tracks(""), "XMP:MARK001=6:6"),
              tracks("\n<r:li r:parseType=\"Resource\"><d:startTime>6</d:startTime></r:li>"));
    EXPECT_EQ(Changed("", "XMP:MARK000=5:7:n"), "refused");
    EXPECT_EQ(Changed("<x", "XMP:MARK000=5:7:n"), "refused");
    EXPECT_EQ(Changed("<x", "XMP:dc/source=b"), "refused");
}

std::string Items(const std::string& letters) {
    std::string items;
    for (const char letter : letters)
        items += "<r:li>"s + letter + "</r:li>";
    return Described("<dc:subject><r:Bag>" + items + "</r:Bag></dc:subject>");
}

TEST(XmpPatches, ChangePropertiesOfEveryShape) {
    const std::string plain = "<d:relativeTimestamp d:value='5' d:scale='1/1000'/>";
    const std::string stamp = "\n<d:relativeTimestamp d:value=\"7\" d:scale=\"1/1000\"/>";
    const std::string source = "<dc:source>a</dc:source>";
    const auto titled = [](const std::string& language) {
        return Described("<dc:title><r:Alt><r:li xml:lang='" + language + "'>t</r:li></r:Alt></dc:title>");
    };
    const Case cases[] = {
        {Described(plain), "XMP:dm/relativeTimestamp=7",
         Described("<d:relativeTimestamp d:value='7' d:scale='1/1000'/>")},
        {Described("<d:relativeTimestamp d:value='5'/>"), "XMP:dm/relativeTimestamp=7",
         Described("<d:relativeTimestamp d:value='7'/>")},
        {Described("<d:relativeTimestamp d:value='5' d:scale='1/48000'/>" + source),
         "XMP:dm/relativeTimestamp=7", Described(source + stamp)},
        {Described("<d:relativeTimestamp>5</d:relativeTimestamp>" + source), "XMP:dm/relativeTimestamp=7",
         Described(source + stamp)},
        {Described(source), "XMP:dm/relativeTimestamp=7", Described(source + stamp)},
        {"<r:Description d:relativeTimestamp='5'/>", "XMP:dm/relativeTimestamp=7",
         "<r:Description d:relativeTimestamp='7'/>"},
        {"<r:Description dc:source=''  />", "XMP:dc/source=b", "<r:Description dc:source='b'  />"},
        {"<r:Description dc:source='a'  />", "XMP:dc/format=b",
         "<r:Description dc:source='a' dc:format=\"b\"  />"},
        {Described("<dc:source r:parseType='Resource'><r:value>a</r:value></dc:source>"), "XMP:dc/source=b",
         Described("<dc:source r:parseType='Resource'><r:value>b</r:value></dc:source>")},
        {"<r:Description dc:format='f' dc:source='&#x0041;'/>", "XMP:dc/format=g",
         "<r:Description dc:format='g' dc:source='&#x0041;'/>"},
        {"<r:Description dc:format='f' dc:source='&#xF4240;'/>", "XMP:dc/format=g", "refused"},
        // The last of several counts; all of them go.
        {Described(source) + Described(source), "XMP:dc/source=b",
         Described(source) + Described("<dc:source>b</dc:source>")},
        {"<r:Description dc:source='a' own='1'/>" + Described(source),
         "XMP:dc/source=", "<r:Description own='1'/>" + Described("")},
        {Described("<d:Tracks>x</d:Tracks>" + source), "XMP:dm/Tracks=|XMP:dc/source=b",
         Described("<d:Tracks>x</d:Tracks><dc:source>b</dc:source>")},
        // Nothing that a packet could hold.
        {Described(source), "XMP:dc/bad name=x|XMP:dc/=x|XMP:photoshop/City=x|INFO:INAM=x",
         Described(source)},
        {Items("abc"), "XMP:dc/subject=a; x; y; c", Items("axyc")},
        {Items("abc"), "XMP:dc/subject=c", Items("c")},
        {Items("abc"), "XMP:dc/subject=a; c", Items("ac")},
        {Items("abc"), "XMP:dc/subject=a; b", Items("ab")},
        {Items("abc"), "XMP:dc/subject=b; c", Items("bc")},
        {Items("aa"), "XMP:dc/subject=a", Items("a")},
        {Items("a"), "XMP:dc/subject=a; a; a", Items("aaa")},
        // Languages.
        {titled("fr"), "XMP:dc/language=", titled("x-default")},
        {titled("x-default"), "XMP:dc/language=", titled("x-default")},
        {titled("fr"), "XMP:dc/language=|XMP:dc/title=u",
         Described("<dc:title><r:Alt><r:li xml:lang='x-default'>u</r:li></r:Alt></dc:title>")},
        {titled("fr") + Described(source),
         "XMP:dc/title=", "<r:Description dc:language=\"fr\"></r:Description>" + Described(source)},
        {Described("<dc:title>t</dc:title>"), "XMP:dc/language=", Described("<dc:title>t</dc:title>")},
        {titled("fr"), "XMP:dc/title=u",
         Described("<dc:title><r:Alt><r:li xml:lang='fr'>u</r:li></r:Alt></dc:title>")},
        {"<r:RDF/>" + Described(source), "XMP:dc/format=b",
         "<r:RDF/><r:Description dc:format=\"b\">" + source + "</r:Description>"},
        {Described(source) + "<r:Description dc:source=''/>", "XMP:dc/source=b",
         Described("<dc:source>b</dc:source>") + "<r:Description dc:source=''/>"},
        {Described("<dc:subject><r:Bag><r:li>a</r:li><r:li o='1'>c</r:li></r:Bag></dc:subject>"),
         "XMP:dc/subject=x; y; c",
         Described(
             "<dc:subject><r:Bag><r:li>x</r:li><r:li>y</r:li><r:li o='1'>c</r:li></r:Bag></dc:subject>")},
        // Nothing but the frame is left: it goes.
        {"", "XMP:dc/source=", "gone"},
        {Described(source) + Described(""), "XMP:dc/source=", Described("") + Described("")},
        {"<r:Description r:about='' xmlns:o='urn:o' dc:source='a'/>", "XMP:dc/source=", "gone"},
        {Described(source), "XMP:dc/source=", "gone"},
        {Described(source) + Described("x"), "XMP:dc/source=", Described("") + Described("x")},
        {Described(source + "<o/>"), "XMP:dc/source=", Described("<o/>")},
    };
    for (const auto& [before, change, after] : cases)
        EXPECT_EQ(Changed(before, change), after) << before << " " << change;
    // So many in one packet are not gone through.
    for (const int count : {63, 64}) {
        std::string descriptions;
        for (int i = 0; i < count; ++i)
            descriptions += "<r:Description dc:source='a'/>";
        EXPECT_EQ(
            Changed(descriptions + "<r:Description own='1'/>", "XMP:dc/source=|XMP:dm/album=") == "refused",
            count == 64);
    }
}

TEST(XmpPatches, DeclareTheNamespacesThatArePassedOver) {
    const std::string rdf = "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#' ";
    const std::string space = "http://purl.org/dc/elements/1.1/",
                      added = "\n<dc:source xmlns:dc=\"" + space + "\">a</dc:source>";
    for (const std::string& start :
         {"xmlns='" + space + "'><r:Description>", "xmlns:q='" + space + "'><r:Description xmlns:q='urn:o'>",
          "xmlns:q='urn:o' q:n='" + space + "'><r:Description>", "xmlns:1='" + space + "'><r:Description>"}) {
        const auto patched =
            PatchXmp({BytesOf(rdf + start + "</r:Description></r:RDF>"), StoreOf({{"XMP:dc/source", "a"}})});
        ASSERT_TRUE(patched);
        EXPECT_NE(TextOf(*patched).find(start + added + "</r:Description>"), std::string::npos)
            << TextOf(*patched);
    }
}

TEST(XmpPatches, KeepTheEncodingAndWhatFollows) {
    const std::string packet = head + "<r:Description dc:source='a'/>" + tail;
    const std::string changed = head + "<r:Description dc:source='\u00FC'/>" + tail;
    const auto change = StoreOf({{"XMP:dc/source", "\u00FC"}});
    for (const bool isBig : {false, true}) {
        const auto patched = PatchXmp({Utf8ToUtf16(packet, isBig), change});
        EXPECT_EQ(patched, Utf8ToUtf16(changed, isBig));
    }
    EXPECT_EQ(TextOf(PatchXmp({BytesOf("<?x?>" + packet + "\0junk"s), change}).value())
                  .substr(0, changed.size() + 10),
              "<?x?>" + changed + "\0junk"s);
    auto broken = Utf8ToUtf16(packet, false);
    broken.insert(broken.end(), {0x3C, 0xD8, 0x20, 0});  // half of a pair
    EXPECT_FALSE(PatchXmp({broken, change}));
    EXPECT_FALSE(PatchXmp({BytesOf("no packet"), change}));
    const auto blank = BlankXmp();
    EXPECT_EQ(blank.size() % 2, 0u);
    const auto both = Listed("XMP:", "MARK000=5:7:n|dc/source=a");
    const auto filled = PatchXmp({blank, StoreOf(both)});
    ASSERT_TRUE(filled);
    EXPECT_EQ(ReadEntries("XMP", *filled), both);
    EXPECT_EQ(PatchXmp({*filled, StoreOf(Listed("XMP:", "MARK000=|dc/source="))}), Bytes{});
}

}  // namespace
}  // namespace vantor::test
