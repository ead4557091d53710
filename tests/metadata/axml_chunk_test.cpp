// The documents of "axml" chunks through edits: somebody else's bytes stay, the ISRC follows the store.

#include <gtest/gtest.h>

#include "fileio/byte_order.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/store_entries.h"
#include "xml/xml_parser.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

using Documents = std::vector<std::string>;

Documents Edited(const Documents& documents, const std::string& isrc) {
    std::vector<ChunkBody> old;
    for (const auto& document : documents)
        old.emplace_back(document.begin(), document.end());
    ChunkImage image;
    const auto store = isrc.empty() ? MetadataStore() : StoreOf({{"AXML:ISRC", isrc}});
    const int built = BuildAxmlChunk(image, store, old);
    EXPECT_EQ(built, static_cast<int>(image.size()));
    Documents written;
    for (size_t at = 0; at < image.size();) {
        EXPECT_EQ(FourCharacters(&image[at]), "axml");
        const size_t bytes = ReadLe32(&image[at + 4]);
        written.emplace_back(reinterpret_cast<const char*>(&image[at + 8]), bytes);
        at += 8 + bytes + bytes % 2;
    }
    return written;
}

std::string IsrcOf(const Documents& documents) {
    MetadataStore store;
    for (const auto& document : documents)
        EXPECT_TRUE(ReadAxml(BytesOf(document), store));
    return std::string(store.Value("AXML:ISRC"));
}

void ExpectWellFormed(const std::string& document) {
    XmlMemoryParser parser(reinterpret_cast<const uint8_t*>(document.data()), document.size());
    EXPECT_STREQ(parser.Parse(), nullptr) << document;
}

const std::string description =
    "<?xml version=\"1.0\"?>\r\n<ebu:ebuCoreMain xmlns:ebu=\"urn:e\"><ebu:coreMetadata a='>'>"
    "<ebu:format><audioFormatExtended>odd</audioFormatExtended></ebu:format></ebu:coreMetadata>"
    "</ebu:ebuCoreMain>\n";
const std::string coded = "<a><b>ISRC:OLD00</b><c>ISRC:OTHER</c></a>";

TEST(AxmlDocuments, KeepAllButTheTextOfTheirIsrc) {
    const Documents foreign = {description, "<second>\xFF\xFE</second>", std::string("zeros\0\0\0", 8)};
    const Documents changed = {"<a><b>ISRC:A&amp;B</b><c>ISRC:OTHER</c></a>"};
    struct Case {
        Documents old;
        const char* isrc;
        Documents written;
    };
    const Case cases[] = {
        {foreign, "", foreign},
        {{coded, description}, "OLD00", {coded, description}},
        {{coded}, "A&B", changed},
        // A reference does not grow with every edit.
        {changed, "A&B", changed},
        {changed, "A&amp;B", changed},
        {{coded}, "", {"<a><b></b><c></c></a>"}},
        {{coded},
         "A&lt;B&gt;C&quot;<>",
         {"<a><b>ISRC:A&lt;B&gt;C&amp;quot;&lt;&gt;</b><c>ISRC:OTHER</c></a>"}},
    };
    for (const auto& [old, isrc, written] : cases)
        EXPECT_EQ(Edited(old, isrc), written) << isrc;
    EXPECT_EQ(IsrcOf(Edited({coded, description, "<x>ISRC:last</x>"}, "NEW")), "NEW");
    EXPECT_EQ(IsrcOf(Edited({"<a>ISRC:x<b/>ISISRC:yRC:z<", "ISRC:no end"}, "")), "");
    EXPECT_EQ(IsrcOf({"ISRC:no end"}), "");
}

TEST(AxmlDocuments, ANewIsrcFindsItsPlaceAndLeavesItAgain) {
    const auto added = Edited({"<x/>", description}, "USS1Z9900001");
    ASSERT_EQ(added.size(), 2u);
    EXPECT_EQ(added[0], "<x/>");
    const std::pair<std::string, std::string> rooms[] = {
        {"<coreMetadata>", ""},
        {"<coreMetadata\t>", ""},
        {"<p:coreMetadata a=\"/'>\" >", "p:"},
        {"<q><coreMetadata b='/'>", ""},
        {"<p:coreMetadata>", "p:"},
        {"<q>" + std::string(100, ' ') + "<p:coreMetadata>", "p:"},
    };
    for (const auto& [start, prefix] : rooms)
        EXPECT_EQ(Edited({start + "</x>"}, "C"),
                  Documents{start + "<" + prefix +
                            "identifier typeLabel=\"GUID\" formatLabel=\"ISRC\"><dc:identifier "
                            "xmlns:dc=\"http://purl.org/dc/elements/1.1/\">ISRC:C</dc:identifier></" +
                            prefix + "identifier></x>"});
    for (const auto* code : {"C", "CC"}) {
        const auto own = Edited({}, code);
        EXPECT_EQ(own.at(0).size() % 2, 0u);
        EXPECT_EQ(Edited(own, "other").size(), 1u);
        EXPECT_EQ(Edited(own, ""), Documents{});
        // Somebody who wrote more into it keeps it.
        const auto more = own[0] + "<!-- -->";
        EXPECT_EQ(Edited({more}, "").size(), 1u);
        EXPECT_EQ(Edited({"<!-- -->" + own[0]}, "").size(), 1u);
    }
    EXPECT_EQ(IsrcOf(added), "USS1Z9900001");
    ExpectWellFormed(added[1]);
    EXPECT_EQ(Edited(added, "USS1Z9900001"), added);
    EXPECT_EQ(Edited(added, ""), (Documents{"<x/>", description}));

    for (const std::string roomless :
         {"<x/>", "<coreMetadata/>", "coreMetadata <coreMetadata", "<a coreMetadata>", "<1:coreMetadata></1>",
          "<coreMetadata/ ", "<coreMetadata", "<coreMetadata a='>", "<coreMetadataX>"}) {
        const auto beside = Edited({roomless}, "CO<&>\x01\xE9");
        ASSERT_EQ(beside.size(), 2u) << roomless;
        EXPECT_EQ(beside[0], roomless);
        ExpectWellFormed(beside[1]);
        EXPECT_EQ(IsrcOf(Edited(beside, "NEW")), "NEW");
        EXPECT_EQ(Edited(beside, ""), Documents{roomless}) << "a document that only held the code goes";
    }
}

TEST(AxmlDocuments, RepeatsOfWhatIsLookedForTakeACodeAndGiveItBack) {
    for (const std::string piece :
         {"coreMetadata", "<coreMetadata ", "ISRC:", "ISRC:<", "<a:coreMetadata>"}) {
        std::string document;
        for (int i = 0; i < 1000; ++i)
            document += piece;
        EXPECT_EQ(IsrcOf(Edited({document}, "CODE")), "CODE");
        EXPECT_EQ(IsrcOf(Edited({document}, "")), "");
    }
}

}  // namespace
}  // namespace vantor::test
