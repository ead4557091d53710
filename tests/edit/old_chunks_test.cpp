// What an edit that builds all chunks anew takes over from the old ones.
#include "edit/old_chunks.h"

#include <gtest/gtest.h>

#include "tests/metadata/id3_tag_writer.h"
#include "tests/metadata/store_entries.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

struct Chunk {
    std::string_view id;
    Bytes body;
};

OldChunks Taken(const std::vector<Chunk>& chunks) {
    const TempFolder folder;
    ByteWriter file;
    for (const auto& [id, body] : chunks)
        file.Chunk(id, body);
    FileReader reader(folder.Write("a.wav", RiffFile(file)), {});
    return OldChunksOf(ReadTagChunks(reader, false, true).value());
}

Chunk Document(const std::string& elements) {
    return {"iXML", BytesOf("<BWFXML>" + elements + "</BWFXML>")};
}
Chunk Tag(const std::vector<std::string>& documents, const std::string& owner = "IXML") {
    Id3TagWriter tag(3);
    for (const auto& document : documents)
        tag.Frame("PRIV", ByteWriter().Text(owner).U8(0).Add(Document(document).body));
    return {"id3 ", tag.Tag()};
}

TEST(OldChunks, HaveADocumentOnceThatStandsInItsChunkAndInATag) {
    const std::string a = "<A>1</A>", other = "<A>2</A>", b = "<B>1</B>";
    const Chunk refused = {"iXML", BytesOf("<BWFXML>")},
                longer = {"id3 ", ByteWriter().Add(Tag({b}).body).Zeros(2)};
    const struct {
        const char* what;
        std::vector<Chunk> chunks;
        bool repeats;
        std::string entries;
    } cases[] = {
        {"the same", {Document(a + b), Tag({a + b})}, true, "A=1|B=1"},
        {"in front", {Tag({a}), Document(a)}, true, "A=1"},
        {"another value", {Document(a), Tag({other})}, false, "A=1|A:2=2"},
        {"another element", {Document(a), Tag({b})}, false, "A=1|B=1"},
        {"more in the tag", {Document(a), Tag({a + b})}, false, "A=1|A:2=1|B=1"},
        {"more in the chunk", {Document(a + b), Tag({a})}, false, "A=1|A:2=1|B=1"},
        {"the same and another", {Document(a), Tag({a, b})}, true, "A=1|B=1"},
        {"another and the same", {Document(a), Tag({b, a})}, true, "A=1|B=1"},
        {"as in the second", {Document(a), Document(b), Tag({b})}, true, "A=1|B=1"},
        {"of nobody's", {Document(a), Tag({a}, "OWNR")}, false, "A=1"},
        {"nothing, beside what is none", {Document(a), refused, Tag({"", b})}, false, "A=1|B=1"},
        {"in what is no chunk of tags", {Document(a), {"axml", Tag({b}).body}}, false, "A=1"},
        {"in a tag that is refused", {Document(a), longer}, false, "A=1"},
    };
    for (const auto& [what, chunks, repeats, entries] : cases) {
        const auto old = Taken(chunks);
        EXPECT_EQ(old.repeatsDocument, repeats) << what;
        EXPECT_EQ(EntriesOf(old.documentEntries), Listed("IXML:", entries)) << what;
    }
}

TEST(OldChunks, HaveTagsInTheOrderInWhichTheirValuesCount) {
    const auto tag = [](const char* title) { return Id3TagWriter(4).Text("TIT2", title).Tag(); };
    const auto longer = [&](const char* title) { return Bytes(ByteWriter().Add(tag(title)).Zeros(2)); };
    const Chunk foreign = {"cart", tag("foreign")};
    const auto old = Taken(
        {{"id3 ", tag("a")}, {"id3 ", longer("b")}, foreign, {"id3 ", longer("c")}, {"id3 ", tag("d")}});
    EXPECT_EQ(old.bodies.at("ID3"), std::vector({longer("c"), longer("b"), tag("a"), tag("d")}));
    EXPECT_EQ(EntriesOf(old.refusedTagEntries), Listed("ID3:", "TIT2=b"));
    EXPECT_EQ(old.refused, ByteWriter().Chunk(foreign.id, foreign.body).Done());
}

}  // namespace
}  // namespace vantor::test
