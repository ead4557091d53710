#include "formats/chunk_catalogue.h"

#include <gtest/gtest.h>

#include "formats/channel_layout.h"
#include "formats/ds64.h"
#include "tests/formats/parse_fixture.h"

namespace vantor::test {
namespace {

MetadataStore CatalogueOne(std::string_view id, const Bytes& body, uint32_t size) {
    const TempFolder folder;
    const Bytes file = ByteWriter().Text(id).Le32(size).Add(body);
    FileReader reader(folder.Write("chunk", file), smallReader);
    MetadataStore metadata;
    Bytes scratch;
    reader.Seek(8);
    CatalogueChunk(reader, file.data(), 8, size, scratch, metadata);
    return metadata;
}

MetadataStore CatalogueOne(std::string_view id, const Bytes& body) {
    return CatalogueOne(id, body, static_cast<uint32_t>(body.size()));
}

TEST(ChunkCatalogue, HandsMetadataToTheReaderOfItsScheme) {
    const Bytes info = ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("song"));
    const Bytes axml = ByteWriter().Text("<x>ISRC:AB</x>");
    const Bytes acid = ByteWriter().Le32(0).Zeros(8).Le32(8).Zeros(8);
    const Bytes ixml = ByteWriter().Text("<BWFXML><PROJECT>p</PROJECT></BWFXML>");
    Bytes cart(2048, 0);
    cart[4] = 'T';
    Bytes bext(602, 0);
    Bytes id3 =
        ByteWriter().Text("ID3").Add({3, 0, 0, 0, 0, 0, 14}).Text("TIT2").Be32(4).Be16(0).U8(0).Text("abc");
    const struct {
        std::string_view id;
        Bytes body;
        std::string_view key, value;
    } cases[] = {
        {"LIST", info, "INFO:INAM", "song"}, {"list", info, "INFO:INAM", "song"},
        {"axml", axml, "AXML:ISRC", "AB"},   {"acid", acid, "ACID:BEATS", "8"},
        {"iXML", ixml, "IXML:PROJECT", "p"}, {"cart", cart, "CART:Title", "T"},
        {"CART", cart, "CART:Title", "T"},   {"bext", bext, "BWF:TimeReference", "0"},
        {"ID3 ", id3, "ID3:TIT2", "abc"},    {"id3 ", id3, "ID3:TIT2", "abc"},
        {"ID3x", id3, "ID3:TIT2", "abc"},    {"id3x", id3, "ID3:TIT2", "abc"},
        {"ID3_", id3, "ID3:TIT2", "abc"},    {"id3_", id3, "ID3:TIT2", "abc"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CatalogueOne(c.id, c.body).Value(c.key), c.value) << c.id;
        const auto cut = CatalogueOne(c.id, c.body, static_cast<uint32_t>(c.body.size()) + 1);
        EXPECT_EQ(cut.Count(), 0u) << c.id;
    }
}

TEST(ChunkCatalogue, ListsWhatItDoesNotKnowAndDropsPadding) {
    const Bytes four(4, 'x');
    for (const auto* id : {"abcd", "IXML", "BEXT", "disp", "PAD "}) {
        const auto metadata = CatalogueOne(id, four);
        EXPECT_TRUE(metadata.Has(id)) << id;
        EXPECT_EQ(metadata.Value(id), "");
        EXPECT_EQ(CatalogueOne(id, Bytes(3)).Count(), 0u) << id;
    }
    for (const auto* id : {"JUNK", "junk", "JUNQ", "junq", "FILR", "filr", "FLLR", "fllr", "PAD_", "pad_"})
        EXPECT_EQ(CatalogueOne(id, four).Count(), 0u) << id;
}

TEST(ChunkCatalogue, KeepsDisplayTexts) {
    EXPECT_EQ(CatalogueOne("DISP", ByteWriter().Le32(1).Text("shown").U8(0).Text("x")).Value("DISP:CF_TEXT"),
              "shown");
    EXPECT_EQ(CatalogueOne("DISP", ByteWriter().Le32(8).Text("picture")).Count(), 0u);
    EXPECT_EQ(CatalogueOne("DISP", ByteWriter().Le32(1)).Count(), 0u);
    EXPECT_EQ(CatalogueOne("DISP", ByteWriter().Le32(1).Text("cut"), 100).Count(), 0u);
}

TEST(ChannelLayout, NamesTagsAndMasks) {
    const struct {
        uint32_t tag, mask;
        std::string_view text;
    } cases[] = {
        {0x10000, 0x3F, "L R C LFE Lb Rb"},
        {0x10000, 0x3, "L R"},
        {0x10000, 0x4, "unknown channel mask 00000004"},
        {0x10000, 0, "unknown layout tag 00010000"},
        {0x790006, 0, "MPEG 5.1A - L R C LFE Lb Rb"},
        {0x800008, 0, "MPEG 7.1C (SMPTE 7.1) - L R C LFE Ls Rs Lb Rb"},
        {0x790006, 0x3, "unknown channel mask 00000003"},
        {0xBE0009, 0, "HO Ambisonic SN3D"},
        {0xBF0010, 0, "HO Ambisonic N3D"},
        {0xC10010, 0, "Atmos 9.1.6 - L R C LFE Lb Rb Rls Rrs Lw Rw Ltf Rtf Ltm Rtm Ltr Rtr"},
        {0xDEADBEEF, 0, "unknown layout tag DEADBEEF"},
        {0, 0x3, "unknown channel mask 00000003"},
        {0, 0, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ChannelLayoutText(c.tag, c.mask), c.text) << c.tag;
}

TEST(Ds64, TheFirstEntryOfAnIdGivesItsSize) {
    const TempFolder folder;
    const Bytes body = ByteWriter()
                           .Le64(1)
                           .Le64(2)
                           .Le64(3)
                           .Le32(3)
                           .Text("zzzz")
                           .Le64(5)
                           .Text("aaaa")
                           .Le64(6)
                           .Text("zzzz")
                           .Le64(7);
    FileReader reader(folder.Write("ds64", body), smallReader);
    Ds64 ds64;
    ASSERT_EQ(ReadDs64(reader, static_cast<uint32_t>(body.size()), 24, ds64), Ds64Result::ok);
    EXPECT_EQ(ds64.dataSize, 2u);
    EXPECT_EQ(ds64.sampleCount, 3u);
    EXPECT_EQ(SizeFromTable(ds64, "zzzz", sizeInDs64), 5u);
    EXPECT_EQ(SizeFromTable(ds64, "aaaa", sizeInDs64), 6u);
    EXPECT_EQ(SizeFromTable(ds64, "aaaa", 9), 9u);
    EXPECT_EQ(SizeFromTable(ds64, "bbbb", sizeInDs64), sizeInDs64);
    reader.Seek(0);
    ASSERT_EQ(ReadDs64(reader, 28 + 35, 24, ds64), Ds64Result::ok);  // no room for the table: none
    EXPECT_TRUE(ds64.table.empty());
    reader.Seek(0);
    EXPECT_EQ(ReadDs64(reader, 16, 16, ds64), Ds64Result::ok);
    EXPECT_EQ(ds64.sampleCount, 0u);
}

}  // namespace
}  // namespace vantor::test
