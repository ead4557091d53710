#include "metadata/read/read_metadata.h"

#include <gtest/gtest.h>

#include "tests/metadata/store_entries.h"
#include "tests/support/byte_writer.h"

namespace vantor {
namespace {

using test::Bytes;
using test::ByteWriter;
using test::Entries;

Bytes Text(std::string_view text) {
    return ByteWriter().Text(text);
}

// Every kind reaches a reader of its own: each chunk is one that no other reader accepts with this result.
TEST(ReadMetadataChunk, HandsEveryKindToItsReader) {
    struct Case {
        const char* kind;
        Bytes chunk;
        Entries entries;
    };
    const Case cases[] = {
        {"BWF", Bytes(602), {{"BWF:TimeReference", "0"}}},
        {"CART", ByteWriter().Zeros(4).Field("t", 2044), {{"CART:Title", "t"}}},
        {"INFO", ByteWriter().Text("INFO").Chunk("INAM", Text("n")), {{"INFO:INAM", "n"}}},
        {"AXML", Text("ISRC:1<"), {{"AXML:ISRC", "1"}}},
        {"ACID", ByteWriter().Zeros(12).Le32(3).Zeros(8), {{"ACID:BEATS", "3"}}},
        {"IXML", Text("<BWFXML><PROJECT>p</PROJECT></BWFXML>"), {{"IXML:PROJECT", "p"}}},
        {"XMP",
         Text(
             "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">"
             "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
             "<rdf:Description xmlns:xmpDM=\"http://ns.adobe.com/xmp/1.0/DynamicMedia/\" xmpDM:artist=\"a\"/>"
             "</rdf:RDF></x:xmpmeta>"),
         {{"XMP:dm/artist", "a"}}},
        {"ID3",
         ByteWriter().Text("ID3").U8(3).Zeros(5).U8(12).Text("TIT2").Be32(2).Zeros(3).Text("t"),
         {{"ID3:TIT2", "t"}}},
    };
    for (const auto& [kind, chunk, entries] : cases) {
        MetadataStore store;
        EXPECT_TRUE(ReadMetadataChunk(chunk, kind, store, 0)) << kind;
        EXPECT_EQ(test::EntriesOf(store), entries) << kind;
    }
}

TEST(ReadMetadataChunk, RefusesUnknownKindsAndAbsentChunks) {
    MetadataStore store;
    const Bytes chunk(602);
    for (const char* kind : {"", "bwf", "BWF ", "LIST"})
        EXPECT_FALSE(ReadMetadataChunk(chunk, kind, store, 0)) << kind;
    EXPECT_FALSE(ReadMetadataChunk({}, "AXML", store, 0));
    EXPECT_EQ(store.Count(), 0u);
}

}  // namespace
}  // namespace vantor
