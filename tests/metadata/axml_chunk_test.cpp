// The documents of "axml" chunks through edits: somebody else's bytes stay, the ISRC follows the store.

#include <gtest/gtest.h>

#include "fileio/byte_order.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/store_entries.h"
#include "xml/xml_parser.h"

namespace vantor::test {
namespace {

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
        ReadAxml(BytesOf(document), store);
    return std::string(store.Value("AXML:ISRC"));
}

bool IsWellFormed(const std::string& document) {
    XmlMemoryParser parser(reinterpret_cast<const uint8_t*>(document.data()), document.size());
    return parser.Parse() == nullptr;
}

const std::string description =
    "<?xml version=\"1.0\"?>\r\n<ebu:ebuCoreMain xmlns:ebu=\"urn:e\"><ebu:coreMetadata a='>'>"
    "<ebu:format><audioFormatExtended>odd</audioFormatExtended></ebu:format></ebu:coreMetadata>"
    "</ebu:ebuCoreMain>\n";
const std::string coded = "<a><b>ISRC:OLD00</b><c>ISRC:OTHER</c></a>";

TEST(AxmlDocuments, StayByteForByteWhileTheIsrcIsTheSame) {
    const Documents none = {description, "<second>\xFF\xFE</second>", std::string("zeros\0\0\0", 8)};
    EXPECT_EQ(Edited(none, ""), none);
    EXPECT_EQ(Edited({coded}, "OLD00"), Documents{coded});
    EXPECT_EQ(Edited({coded, description}, "OLD00"), (Documents{coded, description}));
}

TEST(AxmlDocuments, OnlyTheTextOfAChangedIsrcIsReplaced) {
    const Documents changed = {"<a><b>ISRC:A&amp;B</b><c>ISRC:OTHER</c></a>"};
    EXPECT_EQ(Edited({coded}, "A&B"), changed);
    for (const char* again : {"A&B", "A&amp;B"})
        EXPECT_EQ(Edited(changed, again), changed) << "a reference does not grow with every edit";
    EXPECT_EQ(IsrcOf(Edited({coded, description, "<x>ISRC:last</x>"}, "NEW")), "NEW");
}

TEST(AxmlDocuments, ARemovedIsrcLeavesNoCodeBehind) {
    EXPECT_EQ(Edited({coded}, ""), Documents{"<a><b></b><c></c></a>"});
    EXPECT_EQ(IsrcOf(Edited({"<a>ISRC:x<b/>ISISRC:yRC:z<", "ISRC:no end"}, "")), "");
    const auto own = Edited({}, "USS1Z9900001");
    EXPECT_TRUE(IsWellFormed(own.at(0)));
    EXPECT_TRUE(IsWellFormed(Edited({}, "A<&>\x01\xE9").at(0)));
    EXPECT_EQ(IsrcOf(own), "USS1Z9900001");
    EXPECT_EQ(Edited(own, ""), Documents{}) << "a document that only held the code goes";
}

TEST(AxmlDocuments, ANewIsrcFindsItsPlaceAndLeavesItAgain) {
    const auto added = Edited({"<x/>", description}, "USS1Z9900001");
    ASSERT_EQ(added.size(), 2u);
    EXPECT_EQ(added[0], "<x/>");
    EXPECT_EQ(IsrcOf(added), "USS1Z9900001");
    EXPECT_TRUE(IsWellFormed(added[1])) << added[1];
    EXPECT_EQ(Edited(added, "USS1Z9900001"), added);
    EXPECT_EQ(Edited(added, ""), (Documents{"<x/>", description}));

    for (const std::string roomless : {"<x/>", "<coreMetadata/>", "coreMetadata <coreMetadata",
                                       "<a coreMetadata>", "<1:coreMetadata></1>"}) {
        const auto beside = Edited({roomless}, "CODE");
        ASSERT_EQ(beside.size(), 2u) << roomless;
        EXPECT_EQ(beside[0], roomless);
        EXPECT_EQ(IsrcOf(beside), "CODE");
        EXPECT_EQ(Edited(beside, ""), Documents{roomless});
    }
}

// Documents of many megabytes, in which every search could run to the end again and again.
TEST(AxmlDocuments, HostileOnesCostLinearTime) {
    const auto repeated = [](std::string_view piece) {
        std::string text;
        while (text.size() < (size_t{8} << 20))
            text += piece;
        return text;
    };
    for (const std::string_view piece :
         {"coreMetadata", "<coreMetadata ", "ISRC:", "ISRC:<", "<a:coreMetadata>"}) {
        const auto document = repeated(piece);
        EXPECT_EQ(IsrcOf(Edited({document}, "CODE")), "CODE");
        EXPECT_EQ(IsrcOf(Edited({document}, "")), "");
    }
}

}  // namespace
}  // namespace vantor::test
